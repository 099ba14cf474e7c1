// BC3 (DXT4, DXT5): 8 bytes of interpolated alpha and a BC1 colour block that is always in four-colour mode. The
// colours of DXT4 are premultiplied by alpha; decoding divides them by it.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decodes one 16-byte block into the tile whose row r starts at out + r x stride (in texels). Returns 16, the bytes
// consumed.
int decompressInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                               short premultiplied);

}  // namespace kpx
