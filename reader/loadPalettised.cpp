// Palette-indexed images, expanded to R, G, B, A bytes.
#include <cstring>

#include "reader/TddsReader.h"
#include "reader/dataSize.h"
#include "reader/loading.h"

namespace kpx {
namespace {

void copyEntry(const unsigned char* palette, unsigned index, unsigned char* pixel) {
    std::memcpy(pixel, palette + index * paletteEntryBytes, paletteEntryBytes);
}

}  // namespace

int TddsReader::loadPalletisedImage(std::FILE* stream) {
    DDS_PIXELFORMAT& pixelFormat = m_header.header.ddspf;
    const Format& format = findPalette(pixelFormat.dwFlags);
    pixelFormat.dwRGBBitCount = 8 * paletteEntryBytes;
    applyFormat(format);
    m_bytesPerPixel = paletteEntryBytes;

    const std::uint64_t rowBytes = palettisedRowBytes(m_width);
    if (!allocateImage(rowBytes)) return failWithoutMemory();
    m_rowBytes = static_cast<std::uint32_t>(rowBytes);

    const std::uint64_t dataBytes = palettisedBytes(format, m_width, m_height);
    LazyBuffer data;
    if (!data.allocate(dataBytes)) return failWithoutMemory();
    if (std::fread(data.data(), 1, dataBytes, stream) != dataBytes) return failWithoutData();

    // A picture without columns may have four thousand million rows.
    if (m_width == 0) return 0;
    const unsigned char* palette = data.data();
    const unsigned char* index = palette + paletteBytes(format);
    unsigned char* pixel = m_pixels.data();
    for (std::uint64_t y = 0; y < m_height; ++y) {
        if (format.has(nibbleIndices)) {
            for (std::uint64_t x = 0; x < m_width; ++x, pixel += paletteEntryBytes) {
                copyEntry(palette, (x & 1) == 0 ? index[x / 2] & 15U : index[x / 2] >> 4U, pixel);
            }
            index += ceilQuotient(m_width, 2);
        } else {
            for (std::uint64_t x = 0; x < m_width; ++x, pixel += paletteEntryBytes) copyEntry(palette, *index++, pixel);
        }
    }
    return 0;
}

}  // namespace kpx
