// Copies in blocks. Each must be read and written whole.
#include "tools/repair/repairFile.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "explain/recoding.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// Empties an open file, to be written from its start.
void restart(int descriptor) {
    const bool isDone = ftruncate(descriptor, 0) == 0 && lseek(descriptor, 0, SEEK_SET) == 0;
    if (!isDone) throw systemError<OutputError>("cannot be written", errno);
}

void writeAll(std::span<const unsigned char> bytes, int descriptor) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw systemError<OutputError>("cannot be written", errno);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

void copyRange(const OpenFile& from, const ByteRange& range, int to) {
    std::array<unsigned char, 1 << 16> buffer;
    for (std::uint64_t done = 0; done < range.count;) {
        stopIfInterrupted();
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(range.count - done, buffer.size()));
        const std::span bytes = std::span(buffer).first(count);
        from.read(range.start + done, bytes);
        writeAll(bytes, to);
        done += count;
    }
}

void recodeSurface(const OpenFile& from, const Format& format, const Surface& surface, int to) {
    checkWidth(surface.width);
    const RecodingRow& recoding = *recodingOf(format);
    const std::uint64_t rowBytes = recoding.recodedRowBytes(surface.width);
    std::vector<unsigned char> units(recoding.rowBytes(surface.width)), rows(rowBytes * recoding.unitHeight);
    std::uint64_t place = surface.start;
    for (std::uint32_t y = 0; y < surface.height; y += recoding.unitHeight, place += units.size()) {
        stopIfInterrupted();
        from.read(place, units);
        recodeUnits(format, units, surface.width, rows);
        writeAll(std::span(rows).first(rowBytes * std::min<std::uint32_t>(recoding.unitHeight, surface.height - y)),
                 to);
    }
}

}  // namespace

void writeParts(const OpenFile& source, std::initializer_list<ByteRange> ranges, std::span<const unsigned char> header,
                int descriptor) {
    restart(descriptor);
    writeAll(header, descriptor);
    for (const ByteRange& range : ranges) copyRange(source, range, descriptor);
    source.checkIsUnchanged();
}

void writeSurface(const OpenFile& source, const SurfaceLayout& layout, const Surface& surface, int descriptor) {
    writeParts(source, {{layout.headerBytes, layout.paletteBytes}, {surface.start, surface.bytes}},
               headerBytes(factsOfSurface(layout, surface)), descriptor);
}

void writeRecoded(const OpenFile& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                  int descriptor, std::uint64_t maxPictures) {
    restart(descriptor);
    writeAll(header, descriptor);
    std::uint64_t written = 0;
    forEachWholeSurface(layout, [&](const Surface& surface) {
        recodeSurface(source, *layout.recoded, surface, descriptor);
        return ++written < maxPictures;
    });
    source.checkIsUnchanged();
}

void writeCopy(const OpenFile& source, const std::string& output, Existing existing,
               const std::function<void(int descriptor)>& write) {
    writeWhole(output, source.status().st_mode & 0777, existing, [&](const PendingFile& pending) {
        if (pending.replaces(source.status())) throw OutputError("is the input itself");
        write(pending.descriptor());
    });
}

}  // namespace kpx::tool
