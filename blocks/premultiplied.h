// Divides colours that are stored premultiplied by alpha, as in DXT2 and DXT4.
#pragma once

#include <cstdint>

#include "blocks/texel.h"

namespace kpx {

// Returns a premultiplied channel divided by alpha: v x 256 / alpha, truncated, or 255 if v >= alpha. With alpha 0 it
// returns v, so that additive texels keep their colour.
constexpr std::uint8_t dividePremultiplied(std::uint8_t v, std::uint8_t alpha) {
    if (alpha == 0) return v;
    return static_cast<std::uint8_t>(v >= alpha ? 255 : v * 256 / alpha);
}

// Sets the alpha of a texel whose colour has been decoded, and divides the colour if it is premultiplied.
inline void setAlpha(A8R8G8B8Colour& texel, std::uint8_t alpha, short premultiplied) {
    texel.a = alpha;
    if (premultiplied == 0) return;
    texel.r = dividePremultiplied(texel.r, alpha);
    texel.g = dividePremultiplied(texel.g, alpha);
    texel.b = dividePremultiplied(texel.b, alpha);
}

}  // namespace kpx
