// Slow, obvious decoders of one 4 by 4 block, written independently of the product, for comparison in tests and
// fuzzers.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace model {

// Texel 4 * row + column, row 0 at the top: bytes of alpha, red, green and blue, or floats of red, green, blue and
// alpha.
using Tile = std::vector<unsigned char>;

struct BlockFormat {
    const char* name;
    std::size_t blockBytes, texelBytes;
    Tile (*decode)(std::span<const unsigned char> block);
};

// bc1, bc2, bc2Premultiplied, bc3, bc3Premultiplied, bc4Unsigned, bc4Signed, bc5Unsigned, bc5Signed, bc6hUnsigned,
// bc6hSigned and bc7. A reserved mode of BC6H and a first byte of 0 in BC7 decode to opaque black.
std::span<const BlockFormat> blockFormats();

// Returns a colour value divided by alpha: 255 if it would exceed a byte, unchanged if alpha is 0.
std::uint8_t divideByAlpha(std::uint8_t value, std::uint8_t alpha);

// Returns whether the texel is the anchor of one of the block's subsets (1 to 3), so that its index has one bit less.
bool isAnchor(int subsets, int partition, int texel);
// Returns (1 - w) * e0 + w * e1 with the weight w of the index, rounded to nearest.
std::int64_t interpolate(std::int64_t e0, std::int64_t e1, int index, int indexBits);
// Returns the low bits of value as a two's-complement number.
std::int64_t signExtend(std::int64_t value, int bits);

}  // namespace model
