// The encoders: a picture in, the data of its file out.
#pragma once

#include <cstddef>

#include "examples/DdsFile.h"
#include "examples/encoders/values.h"

namespace kpx::example {

// Some channels of each texel (0 red to 3 alpha) as values of one number format: channels<unorm8, 0, 3>.
template <void (*append)(Bytes&, float), std::size_t... channel>
Bytes channels(const Picture& picture, const Naming& /*naming*/) {
    Bytes bytes;
    for (const Texel& texel : picture.texels) (append(bytes, texel[channel]), ...);
    return bytes;
}

// Bit fields, by the naming's masks or by those given.
Bytes masked(const Picture& picture, const Naming& naming);
Bytes packed(const Picture& picture, std::uint32_t bitCount, const Masks& masks);
template <std::uint32_t bitCount, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t a>
Bytes fields(const Picture& picture, const Naming& /*naming*/) {
    return packed(picture, bitCount, {r, g, b, a});
}

// A palette of colours of heights, and the heights of the picture as indices into it.
Bytes palette8(const Picture& picture, const Naming& naming);
Bytes palette4(const Picture& picture, const Naming& naming);
Bytes palette4Of256(const Picture& picture, const Naming& naming);

// Pairs of pixels with a green each and common red and blue.
Bytes pairsRGBG(const Picture& picture, const Naming& naming);
Bytes pairsGRGB(const Picture& picture, const Naming& naming);

// Three floats in a word.
Bytes r11g11b10(const Picture& picture, const Naming& naming);
Bytes r9g9b9e5(const Picture& picture, const Naming& naming);

// Blocks of 4 by 4 texels. Texels with an alpha below 0.5 become the transparent ones of BC1.
Bytes bc1(const Picture& picture, const Naming& naming);
Bytes bc2(const Picture& picture, const Naming& naming);
Bytes bc2Premultiplied(const Picture& picture, const Naming& naming);
Bytes bc3(const Picture& picture, const Naming& naming);
Bytes bc3Premultiplied(const Picture& picture, const Naming& naming);
Bytes bc4Unsigned(const Picture& picture, const Naming& naming);
Bytes bc4Signed(const Picture& picture, const Naming& naming);
Bytes bc5Unsigned(const Picture& picture, const Naming& naming);
Bytes bc5Signed(const Picture& picture, const Naming& naming);
Bytes bc6hUnsigned(const Picture& picture, const Naming& naming);
Bytes bc6hSigned(const Picture& picture, const Naming& naming);
Bytes bc7(const Picture& picture, const Naming& naming);

}  // namespace kpx::example
