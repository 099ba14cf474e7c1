// BC2 (DXT2, DXT3) and BC3 (DXT4, DXT5): an 8-byte alpha block and a BC1 colour block that is always in
// four-colour mode. DXT2 and DXT4 hold colours premultiplied by alpha; they are divided by it.
#pragma once

#include <cstddef>

#include "blocks/texel.h"

namespace kpx {

// Decode one 16-byte block of explicit (BC2) or interpolated (BC3) alpha into the tile whose row r starts at
// out + r x stride (in texels). Return 16, the bytes consumed.
int decompressNonInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                                  short premultiplied);
int decompressInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                               short premultiplied);

// A premultiplied channel divided by alpha: v x 256 / alpha, truncated, for v < alpha. Where v >= alpha the
// quotient does not fit and is 255; alpha 0 leaves v as it is, so that additive texels keep their light.
constexpr std::uint8_t dividePremultiplied(std::uint8_t v, std::uint8_t alpha) {
    if (alpha == 0) return v;
    return static_cast<std::uint8_t>(v >= alpha ? 255 : v * 256 / alpha);
}

}  // namespace kpx
