// Members that only callers of the class use, for blocks and pictures that they have read; open() needs none of them.
// Each adds the object's size and stride to a pure function of blocks/.
#include <algorithm>

#include "blocks/bc1.h"
#include "blocks/bc2.h"
#include "blocks/bc3.h"
#include "blocks/bc6h.h"
#include "blocks/bc7.h"
#include "dds/checkedSize.h"
#include "reader/TddsReader.h"

namespace kpx {

void TddsReader::convertSnorm() {
    if (m_bitsPerChannel != 8) return;
    // Layouts that masks split may have fewer bytes than channels per pixel.
    const std::uint64_t bytes = saturatingProduct(m_width, m_height, m_numChannels);
    m_kernels.snormToUnorm(m_pixels.data(), std::min(bytes, m_pixels.size()));
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
