// Block-compressed images, and the decoders as members of the reader: each adds the object's size and stride to a
// pure function.
#include "blocks/bc1.h"
#include "blocks/bc2bc3.h"
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

    const std::uint32_t blockBytes = blockBytesOf(format);
    const std::uint64_t bytes = compressedBytes(m_width, m_height, blockBytes, header.dwPitchOrLinearSize);
    LazyBuffer blocks;
    if (!blocks.allocate(bytes)) return failWithoutMemory();
    if (std::fread(blocks.data(), 1, bytes, stream) != bytes) return failWithoutData();
    if (format == nullptr) return -1;

    const bool isSignedBC6H = format->kernel == BlockKernel::bc6hUnsigned && isBC6HSigned();
    decompressBlocks(blocks.data(), isSignedBC6H ? BlockKernel::bc6hSigned : format->kernel, blockBytes);
    return 0;
}

void TddsReader::decompressBlocks(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes) {
    const std::size_t pixelBytes = m_pixelLayout == HalfRGBA ? floatPixelBytes : texelBytes;
    walkBlocks(m_kernels.strips[static_cast<std::size_t>(kernel)], blocks, blockBytes,
               {m_pixels.data(), m_width, m_height, pixelBytes});
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
