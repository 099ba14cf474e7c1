// Loads palette-indexed images, expanded to R, G, B, A bytes.
#include "dds/dataSize.h"
#include "reader/TddsReader.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadPalletisedImage(std::FILE* stream) {
    const Format& format = *formatFor(Loader::palettised);
    const LoadPlan plan = planFor(Loader::palettised, &format);
    const std::uint64_t indexBytes = indexRowBytes(format, m_width);
    RecordReader rows(indexBytes, m_height);
    if (!begin(plan) || !rows.allocate()) return failWithoutMemory();
    unsigned char palette[largestPaletteBytes];
    if (std::fread(palette, 1, paletteBytes(format), stream) != paletteBytes(format)) return failWithoutData();

    const auto pick = format.has(nibbleIndices) ? m_kernels.pickNibbleEntries : m_kernels.pickByteEntries;
    unsigned char* pixels = m_pixels.data();
    const std::uint64_t wholeRows = rows.read(stream, [&](const unsigned char* row, std::uint64_t count) {
        for (; count != 0; --count, row += indexBytes, pixels += plan.storedRowBytes) {
            pick(row, m_width, palette, pixels);
        }
    });
    // A picture without columns has empty rows.
    return indexBytes == 0 || wholeRows == m_height ? 0 : failWithoutData();
}

}  // namespace kpx
