// BC1 (DXT1): two RGB565 endpoints and sixteen 2-bit indices in 8 bytes. Also decodes the colour half of BC2 and BC3.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decodes one block into the tile whose row r starts at out + r x stride (in texels). If isDXT1 is not 0, the
// three-colour mode with its transparent texel is allowed. Returns 8, the bytes consumed.
int decompressColourBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, short isDXT1);

}  // namespace kpx
