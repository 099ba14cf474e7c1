// Block-compressed images, read and decoded in groups of rows of blocks.
#include <algorithm>

#include "blocks/walker.h"
#include "dds/dataSize.h"
#include "reader/TddsReader.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadCompressedImage(std::FILE* stream) {
    const Format* format = formatFor(Loader::compressed);
    const LoadPlan plan = planFor(Loader::compressed, format);
    if (!begin(plan)) return failWithoutMemory();
    if (!readBlocks(stream, format, plan.bytesExpected)) return -1;
    // An unknown code fails only after its data has been read.
    return format == nullptr ? -1 : 0;
}

// A group of rows of blocks stays in the cache until it is decoded. Data after the last row of blocks is read too,
// since all bytes that the header declares must exist.
bool TddsReader::readBlocks(std::FILE* stream, const Format* format, std::uint64_t left) {
    const std::uint32_t blockBytes = blockBytesOf(format);
    const std::uint64_t rowBytes = ceilQuotient(m_width, 4) * blockBytes;
    const std::uint64_t groupRows = rowBytes == 0 ? 1 : std::max<std::uint64_t>(readGroupBytes / rowBytes, 1);
    const std::uint64_t groupBytes = rowBytes == 0 ? readGroupBytes : groupRows * rowBytes;
    LazyBuffer group;
    if (!group.allocate(std::min(left, groupBytes), Content::unset)) {
        failWithoutMemory();
        return false;
    }
    for (std::uint64_t row = 0; left != 0; row += groupRows) {
        const std::uint64_t bytes = std::min(left, groupBytes);
        if (std::fread(group.data(), 1, bytes, stream) != bytes) {
            failWithoutData();
            return false;
        }
        left -= bytes;
        if (format != nullptr && 4 * row < m_height) {
            decompressRows(group.data(), format->kernel, blockBytes, static_cast<std::uint32_t>(4 * row),
                           4 * groupRows);
        }
    }
    return true;
}

void TddsReader::decompressRows(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes,
                                std::uint32_t first, std::uint64_t most) {
    const std::size_t pixelBytes = m_pixelLayout == HalfRGBA ? floatPixelBytes : texelBytes;
    const auto rows = static_cast<std::uint32_t>(std::min<std::uint64_t>(most, m_height - first));
    unsigned char* const pixels = m_pixels.data() + first * pixelBytes * m_width;
    walkBlocks(m_kernels.strips[kernel], blocks, blockBytes, {pixels, m_width, rows, pixelBytes});
}

}  // namespace kpx
