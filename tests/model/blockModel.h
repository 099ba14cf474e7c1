// Slow, obvious decoders of one 4 by 4 block, written apart from the product for tests and fuzzers to compare with.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace model {

struct Texel {
    std::uint8_t a;
    std::uint8_t r;
    std::uint8_t g;
    std::uint8_t b;
    bool operator==(const Texel&) const = default;
};

// Texel 4 * row + column, row 0 at the top.
using Texels = std::array<Texel, 16>;
// Red, green, blue, alpha of each texel, in the same order.
using FloatTexels = std::array<std::array<float, 4>, 16>;

using Block8 = std::span<const unsigned char, 8>;
using Block16 = std::span<const unsigned char, 16>;

// isDXT1: the block may choose the three-colour mode; false for the colour half of BC2 and BC3.
Texels decodeBC1(Block8 block, bool isDXT1);
// premultiplied: colours are divided by alpha ("DXT2").
Texels decodeBC2(Block16 block, bool premultiplied);
// premultiplied: colours are divided by alpha ("DXT4").
Texels decodeBC3(Block16 block, bool premultiplied);
// Grey.
Texels decodeBC4(Block8 block, bool isSigned);
// Red and green; blue is 0.
Texels decodeBC5(Block16 block, bool isSigned);
// A reserved mode gives opaque black.
FloatTexels decodeBC6H(Block16 block, bool isSigned);
// A first byte of 0 gives opaque black.
Texels decodeBC7(Block16 block);

// A colour value divided by the texel's alpha; 255 where it would exceed a byte, unchanged where alpha is 0.
std::uint8_t divideByAlpha(std::uint8_t value, std::uint8_t alpha);

// True when the texel is the anchor of one of the block's subsets (1 to 3), so that its index has one bit less.
bool isAnchor(int subsets, int partition, int texel);
// (1 - w) * e0 + w * e1 with the weight w of the index, rounded to nearest.
std::int64_t interpolate(std::int64_t e0, std::int64_t e1, int index, int indexBits);
// The low bits of value as a two's-complement number.
std::int64_t signExtend(std::int64_t value, int bits);

}  // namespace model
