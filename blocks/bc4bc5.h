// BC4 and BC5, unsigned and signed: one or two interpolated channels. BC4 becomes grey; BC5 fills red and
// green, with blue 0. Alpha is 255.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decode one block of 8 (BC4) or 16 bytes (BC5) into the tile whose row r starts at out + r x stride (in texels).
void decompressBC4Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned);
void decompressBC5Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned);

}  // namespace kpx
