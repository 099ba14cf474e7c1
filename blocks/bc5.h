// BC5, unsigned and signed: two interpolated channels, decoded as red and green. Blue is 0, alpha 255.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decodes one block of 16 bytes into the tile whose row r starts at out + r x stride (in texels).
void decompressBC5Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned);

}  // namespace kpx
