// Copies in blocks, of which each must arrive.
#include "tools/files/ddsCopy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "tools/files/PendingFile.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void write(std::FILE* file, const unsigned char* bytes, std::size_t count) {
    if (std::fwrite(bytes, 1, count, file) == count) return;
    throw OutputError(std::string("cannot be written: ") + std::strerror(errno));
}

void copyRange(std::FILE* from, const ByteRange& range, std::FILE* to) {
    std::array<unsigned char, 1 << 16> buffer;
    if (fseeko(from, static_cast<off_t>(range.start), SEEK_SET) != 0) {
        throw FileError(std::string("cannot read the file: ") + std::strerror(errno));
    }
    for (std::uint64_t left = range.count; left > 0;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
        if (std::fread(buffer.data(), 1, wanted, from) != wanted) {
            throw FileError(std::ferror(from) != 0 ? std::string("cannot read the file: ") + std::strerror(errno)
                                                   : "has become shorter while it was read");
        }
        write(to, buffer.data(), wanted);
        left -= wanted;
    }
}

}  // namespace

void writeParts(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
                const std::string& path) {
    const File from(std::fopen(source.c_str(), "rb"), std::fclose);
    if (from == nullptr) throw FileError(std::string("cannot open the file: ") + std::strerror(errno));
    File to(std::fopen(path.c_str(), "wb"), std::fclose);
    if (to == nullptr) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
    write(to.get(), header.data(), header.size());
    for (const ByteRange& range : ranges) copyRange(from.get(), range, to.get());
    if (std::fclose(to.release()) != 0) throw OutputError(std::string("cannot be written: ") + std::strerror(errno));
}

void writeCopy(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
               const std::string& destination) {
    std::error_code error;
    if (std::filesystem::equivalent(source, destination, error)) throw OutputError("is the input itself");
    PendingFile pending(destination);
    writeParts(source, ranges, header, pending.path());
    pending.commit();
}

}  // namespace kpx::tool
