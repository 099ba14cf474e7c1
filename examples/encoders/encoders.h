// The encoders, which return the data of a file for a picture.
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

// Encode bit fields, by the naming's masks or by those given.
Bytes masked(const Picture& picture, const Naming& naming);
Bytes packed(const Picture& picture, std::uint32_t bitCount, const Masks& masks);
template <std::uint32_t bitCount, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t a>
Bytes fields(const Picture& picture, const Naming& /*naming*/) {
    return packed(picture, bitCount, {r, g, b, a});
}

// Encode a palette of height colours, and the heights of the picture as indices.
Bytes palette8(const Picture& picture, const Naming& naming);
Bytes palette4(const Picture& picture, const Naming& naming);
Bytes palette4Of256(const Picture& picture, const Naming& naming);

// Encode pairs of pixels with a green each and a common red and blue.
Bytes pairsRGBG(const Picture& picture, const Naming& naming);
Bytes pairsGRGB(const Picture& picture, const Naming& naming);

// Encode three floats in a word.
Bytes r11g11b10(const Picture& picture, const Naming& naming);
Bytes r9g9b9e5(const Picture& picture, const Naming& naming);

// Encode blocks of 4 by 4 texels. In BC1, texels with an alpha below 0.5 become transparent.
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
