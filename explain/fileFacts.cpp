// The one place of this folder that reads a file: its first bytes, and nothing else.
#include "explain/fileFacts.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include "explain/FileError.h"
#include "reader/loadPlan.h"

namespace kpx {

FileFacts factsOf(std::span<const unsigned char> start, std::uint64_t fileBytes) {
    FileFacts facts{};
    facts.fileBytes = fileBytes;
    const auto header = start.first(std::min(start.size(), sizeof facts.header));
    if (!header.empty()) std::memcpy(&facts.header, header.data(), header.size());
    const auto rest = start.subspan(header.size());
    if (!rest.empty()) std::memcpy(&facts.dx10Header, rest.data(), std::min(rest.size(), sizeof facts.dx10Header));
    return facts;
}

bool hasDx10Header(const FileFacts& facts) {
    return chooseLoader(facts.header.header).loader == Loader::dx10 && facts.fileBytes >= factBytes;
}

std::vector<unsigned char> headerBytes(const FileFacts& facts) {
    std::vector<unsigned char> bytes(hasDx10Header(facts) ? factBytes : sizeof(DdsFileHeader));
    std::memcpy(bytes.data(), &facts.header, sizeof facts.header);
    const std::size_t rest = bytes.size() - sizeof facts.header;
    if (rest != 0) std::memcpy(bytes.data() + sizeof facts.header, &facts.dx10Header, rest);
    return bytes;
}

FileFacts readFacts(int descriptor) {
    struct stat status {};
    std::array<unsigned char, factBytes> start{};
    const ssize_t count = fstat(descriptor, &status) == 0 ? pread(descriptor, start.data(), start.size(), 0) : -1;
    if (count < 0) throw systemError("cannot be read", errno);
    return factsOf(std::span(start).first(static_cast<std::size_t>(count)), static_cast<std::uint64_t>(status.st_size));
}

}  // namespace kpx
