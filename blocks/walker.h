// Walks over the blocks of an image, for every block format.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/kernels.h"

namespace kpx {

// An image of 4-byte texels or 16-byte pixels (four floats), without gaps between rows, top row first.
struct BlockTarget {
    unsigned char* pixels;
    std::uint32_t width, height;
    std::size_t texelBytes;  // 4 or 16
};

// Decodes ceil(width / 4) x ceil(height / 4) blocks of blockBytes bytes, left to right and top to bottom, into the
// image. Texels outside the image are dropped.
void walkBlocks(StripKernel kernel, const unsigned char* blocks, std::size_t blockBytes, const BlockTarget& target);

}  // namespace kpx
