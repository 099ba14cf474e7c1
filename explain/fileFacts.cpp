// The one place of this folder that opens a file: its first bytes are read, and nothing else.
#include "explain/fileFacts.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

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

void checkIsNoPipe(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) throw FileError("is not a regular file");
}

FileFacts readFacts(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw FileError(std::string("cannot open the file: ") + std::strerror(errno));
    checkIsNoPipe(path);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) throw FileError(std::string("cannot open the file: ") + std::strerror(errno));
    std::array<unsigned char, factBytes> start{};
    const size_t count = std::fread(start.data(), 1, start.size(), file.get());
    if (std::ferror(file.get()) != 0) throw FileError(std::string("cannot read the file: ") + std::strerror(errno));
    return factsOf(std::span(start).first(count), static_cast<uint64_t>(status.st_size));
}

}  // namespace kpx
