// BC4, unsigned and signed: one interpolated channel, decoded as grey. Alpha is 255.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decodes one block of 8 bytes into the tile whose row r starts at out + r x stride (in texels).
void decompressBC4Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned);

}  // namespace kpx
