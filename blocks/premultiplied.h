// Colours that are stored multiplied by their alpha, as DXT2 and DXT4 have them, and are divided by it again.
#pragma once

#include <cstdint>

#include "blocks/texel.h"

namespace kpx {

// A premultiplied channel divided by alpha: v x 256 / alpha, truncated, for v < alpha. Where v >= alpha the
// quotient does not fit and is 255; alpha 0 leaves v as it is, so that additive texels keep their light.
constexpr std::uint8_t dividePremultiplied(std::uint8_t v, std::uint8_t alpha) {
    if (alpha == 0) return v;
    return static_cast<std::uint8_t>(v >= alpha ? 255 : v * 256 / alpha);
}

// Completes a texel whose colour has been decoded.
inline void setAlpha(A8R8G8B8Colour& texel, std::uint8_t alpha, short premultiplied) {
    texel.a = alpha;
    if (premultiplied == 0) return;
    texel.r = dividePremultiplied(texel.r, alpha);
    texel.g = dividePremultiplied(texel.g, alpha);
    texel.b = dividePremultiplied(texel.b, alpha);
}

}  // namespace kpx
