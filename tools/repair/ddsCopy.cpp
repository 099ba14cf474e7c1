// Copies in blocks, of which each must arrive.
#include "tools/repair/ddsCopy.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

// Writes an open file from its start.
class Writer {
public:
    explicit Writer(int descriptor) : m_descriptor(descriptor) {
        if (ftruncate(descriptor, 0) != 0) fail();
    }

    void write(std::span<const unsigned char> bytes) {
        while (!bytes.empty()) {
            const ssize_t count = pwrite(m_descriptor, bytes.data(), bytes.size(), m_place);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) fail();
            m_place += count;
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
    }

private:
    [[noreturn]] static void fail() { throw systemError<OutputError>("cannot be written", errno); }

    int m_descriptor;
    off_t m_place = 0;
};

void copyRange(const OpenFile& from, const ByteRange& range, Writer& to) {
    std::array<unsigned char, 1 << 16> buffer;
    for (std::uint64_t done = 0; done < range.count;) {
        stopIfInterrupted();
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(range.count - done, buffer.size()));
        const std::span bytes = std::span(buffer).first(count);
        from.read(range.start + done, bytes);
        to.write(bytes);
        done += count;
    }
}

// Reads what a row is made from, unless the row before was made from the same.
void convertSurface(const OpenFile& from, const SurfaceLayout& layout, const Surface& surface, Writer& to) {
    const Conversion& conversion = *layout.conversion;
    std::vector<unsigned char> bytes, row(conversion.convertedRowBytes(surface.width));
    Conversion::Bytes read{};
    for (std::uint32_t y = 0; y < surface.height; ++y) {
        stopIfInterrupted();
        const Conversion::Bytes wanted = conversion.bytesOfRow(surface.width, surface.height, y);
        if (wanted != read) {
            bytes.resize(wanted.count);
            from.read(surface.start + wanted.start, bytes);
            read = wanted;
        }
        conversion.convertRow(bytes, surface.width, surface.height, y, row);
        to.write(row);
    }
}

}  // namespace

void writeParts(const OpenFile& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
                int descriptor) {
    Writer to(descriptor);
    to.write(header);
    for (const ByteRange& range : ranges) copyRange(source, range, to);
    source.checkIsUnchanged();
}

void writeConverted(const OpenFile& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                    int descriptor, std::uint64_t mostPictures) {
    Writer to(descriptor);
    to.write(header);
    std::uint64_t written = 0;
    forEachWholeSurface(layout, [&](const Surface& surface) {
        convertSurface(source, layout, surface, to);
        return ++written < mostPictures;
    });
    source.checkIsUnchanged();
}

mode_t permissionsOfCopy(const OpenFile& source) {
    return source.status().st_mode & 0777;
}

}  // namespace kpx::tool
