// BC2 (DXT2, DXT3): 8 bytes of explicit alpha of 4 bits and a BC1 colour block that is always in four-colour mode. DXT2
// holds colours premultiplied by alpha; they are divided by it.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decodes one 16-byte block into the tile whose row r starts at out + r x stride (in texels). Returns 16, the bytes
// consumed.
int decompressNonInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                                  short premultiplied);

}  // namespace kpx
