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
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void write(std::FILE* file, const unsigned char* bytes, std::size_t count) {
    if (std::fwrite(bytes, 1, count, file) == count) return;
    throw OutputError(std::string("cannot be written: ") + std::strerror(errno));
}

void seek(std::FILE* file, std::uint64_t place) {
    if (fseeko(file, static_cast<off_t>(place), SEEK_SET) == 0) return;
    throw FileError(std::string("cannot read the file: ") + std::strerror(errno));
}

void read(std::FILE* file, unsigned char* bytes, std::size_t count) {
    if (std::fread(bytes, 1, count, file) == count) return;
    throw FileError(std::ferror(file) != 0 ? std::string("cannot read the file: ") + std::strerror(errno)
                                           : "has become shorter while it was read");
}

void copyRange(std::FILE* from, const ByteRange& range, std::FILE* to) {
    std::array<unsigned char, 1 << 16> buffer;
    seek(from, range.start);
    for (std::uint64_t left = range.count; left > 0;) {
        stopIfInterrupted();
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
        read(from, buffer.data(), count);
        write(to, buffer.data(), count);
        left -= count;
    }
}

// A picture is held as it is in the file, of which it is a part, and written row by row.
void convertSurface(std::FILE* from, const SurfaceLayout& layout, const Surface& surface, std::FILE* to) {
    std::vector<unsigned char> picture(surface.bytes);
    std::vector<unsigned char> row(layout.conversion->convertedRowBytes(surface.width));
    seek(from, surface.start);
    read(from, picture.data(), picture.size());
    for (std::uint32_t y = 0; y < surface.height; ++y) {
        stopIfInterrupted();
        layout.conversion->convertRow(picture, surface.width, surface.height, y, row);
        write(to, row.data(), row.size());
    }
}

// Writes the header, and then has the rest written.
template <typename WriteData>
void writeFile(const std::string& source, std::span<const unsigned char> header, const std::string& path,
               WriteData writeData) {
    const File from(std::fopen(source.c_str(), "rb"), std::fclose);
    if (from == nullptr) throw FileError(std::string("cannot open the file: ") + std::strerror(errno));
    File to(std::fopen(path.c_str(), "wb"), std::fclose);
    if (to == nullptr) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
    write(to.get(), header.data(), header.size());
    writeData(from.get(), to.get());
    if (std::fclose(to.release()) != 0) throw OutputError(std::string("cannot be written: ") + std::strerror(errno));
}

}  // namespace

void writeParts(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
                const std::string& path) {
    writeFile(source, header, path, [&](std::FILE* from, std::FILE* to) {
        for (const ByteRange& range : ranges) copyRange(from, range, to);
    });
}

void writeConverted(const std::string& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                    const std::string& path, std::uint64_t mostPictures) {
    std::uint64_t written = 0;
    writeFile(source, header, path, [&](std::FILE* from, std::FILE* to) {
        forEachWholeSurface(layout, [&](const Surface& surface) {
            convertSurface(from, layout, surface, to);
            return ++written < mostPictures;
        });
    });
}

void checkIsNotInput(const std::string& source, const std::string& destination) {
    std::error_code error;
    if (std::filesystem::equivalent(source, destination, error)) throw OutputError("is the input itself");
}

void writeCopy(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
               const std::string& destination) {
    checkIsNotInput(source, destination);
    PendingFile pending(destination);
    writeParts(source, ranges, header, pending.path());
    pending.commit();
}

}  // namespace kpx::tool
