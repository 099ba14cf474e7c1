// Block-compressed images, and the decoders as members of the reader: each adds the object's size and stride to a
// pure function.
#include <algorithm>

#include "blocks/bc1.h"
#include "blocks/bc2.h"
#include "blocks/bc3.h"
#include "blocks/bc6h.h"
#include "blocks/bc7.h"
#include "blocks/walker.h"
#include "reader/TddsReader.h"
#include "reader/dataSize.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadCompressedImage(std::FILE* stream) {
    DDS_HEADER& header = m_header.header;
    header.ddspf.dwRGBBitCount = 32;
    header.ddspf.dwFlags |= DDPF_ALPHAPIXELS;
    m_numChannels = 4;
    m_pixelLayout = BytesARGB;

    // An unknown code is noticed only after its data has been read, as blocks of 16 bytes.
    const Format* format = findBlockCode(header.ddspf.dwFourCC);
    if (format != nullptr && format->layout == HalfRGBA) {
        m_pixelLayout = HalfRGBA;
        m_bitsPerChannel = 32;
        m_bytesPerPixel = 8;
    }
    m_rowBytes = 4 * m_width;
    if (!allocateImage(compressedRowBytes(format, m_width))) return failWithoutMemory();

    if (!readBlocks(stream, format)) return -1;
    return format == nullptr ? -1 : 0;
}

// Blocks are read and decoded in groups of rows that stay in the processor's cache. What follows the last row of blocks
// is read too, since all that the header declares has to be there.
bool TddsReader::readBlocks(std::FILE* stream, const Format* format) {
    const std::uint32_t blockBytes = blockBytesOf(format);
    const std::uint64_t rowBytes = ceilQuotient(m_width, 4) * blockBytes;
    std::uint64_t left = compressedBytes(m_width, m_height, blockBytes, m_header.header.dwPitchOrLinearSize);
    const std::uint64_t groupRows = rowBytes == 0 ? 1 : std::max<std::uint64_t>(readGroupBytes / rowBytes, 1);
    const std::uint64_t groupBytes = rowBytes == 0 ? readGroupBytes : groupRows * rowBytes;
    LazyBuffer group;
    if (left > largestBlock || !group.allocate(std::min(left, groupBytes))) {
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
            const bool isSignedBC6H = format->kernel == BlockKernel::bc6hUnsigned && isBC6HSigned();
            decompressRows(group.data(), isSignedBC6H ? BlockKernel::bc6hSigned : format->kernel, blockBytes,
                           static_cast<std::uint32_t>(4 * row), 4 * groupRows);
        }
    }
    return true;
}

void TddsReader::decompressRows(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes,
                                std::uint32_t first, std::uint64_t most) {
    const std::size_t pixelBytes = m_pixelLayout == HalfRGBA ? floatPixelBytes : texelBytes;
    const auto rows = static_cast<std::uint32_t>(std::min<std::uint64_t>(most, m_height - first));
    unsigned char* const pixels = m_pixels.data() + first * pixelBytes * m_width;
    walkBlocks(m_kernels.strips[static_cast<std::size_t>(kernel)], blocks, blockBytes,
               {pixels, m_width, rows, pixelBytes});
}

void TddsReader::decompressBlocks(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes) {
    decompressRows(blocks, kernel, blockBytes, 0, m_height);
}

int TddsReader::decompressColourBlock(unsigned char* block, A8R8G8B8Colour* out, short isDXT1) {
    return kpx::decompressColourBlock(block, out, m_width, isDXT1);
}

int TddsReader::decompressNonInterpAlphaBlock(unsigned char* block, A8R8G8B8Colour* out, short premultiplied) {
    return kpx::decompressNonInterpAlphaBlock(block, out, m_width, premultiplied);
}

int TddsReader::decompressInterpAlphaBlock(unsigned char* block, A8R8G8B8Colour* out, short premultiplied) {
    return kpx::decompressInterpAlphaBlock(block, out, m_width, premultiplied);
}

void TddsReader::decompressBC6HBlock(unsigned char* block, float* out) {
    kpx::decompressBC6HBlock(block, out, m_rowBytes, isBC6HSigned());
}

void TddsReader::decompressBC7Block(unsigned char* block, A8R8G8B8Colour* out) {
    kpx::decompressBC7Block(block, out, m_width);
}

void TddsReader::decompressDXT1(unsigned char* data) {
    decompressBlocks(data, BlockKernel::bc1, 8);
}
void TddsReader::decompressDXT2(unsigned char* data) {
    decompressBlocks(data, BlockKernel::bc2Premultiplied, 16);
}
void TddsReader::decompressDXT3(unsigned char* data) {
    decompressBlocks(data, BlockKernel::bc2, 16);
}
void TddsReader::decompressDXT4(unsigned char* data) {
    decompressBlocks(data, BlockKernel::bc3Premultiplied, 16);
}
void TddsReader::decompressDXT5(unsigned char* data) {
    decompressBlocks(data, BlockKernel::bc3, 16);
}

void TddsReader::decompressBC4(unsigned char* data, bool isSigned) {
    decompressBlocks(data, isSigned ? BlockKernel::bc4Signed : BlockKernel::bc4Unsigned, 8);
}

void TddsReader::decompressBC5(unsigned char* data, bool isSigned) {
    decompressBlocks(data, isSigned ? BlockKernel::bc5Signed : BlockKernel::bc5Unsigned, 16);
}

void TddsReader::decompressBC6H(unsigned char* blocks) {
    decompressBlocks(blocks, isBC6HSigned() ? BlockKernel::bc6hSigned : BlockKernel::bc6hUnsigned, 16);
}

void TddsReader::decompressBC7(unsigned char* data) {
    decompressBlocks(data, BlockKernel::bc7, 16);
}

}  // namespace kpx
