// The tables and small helpers that the BC6H and BC7 decoders share.
#pragma once

#include <cstdint>

namespace kpx {

// The subset (0 to 2) of texel 4 x row + column: [subsets - 2][partition][texel].
extern const std::uint8_t bcPartitions[2][64][16];

// The anchor texels of subsets 0, 1 and 2: [subsets - 2][partition][subset]. Column 2 of two subsets is 0, unused.
extern const std::uint8_t bcAnchors[2][64][3];

// Interpolation weights of 2, 3 and 4 index bits, in 64ths.
extern const std::uint16_t bcWeights2[4];
extern const std::uint16_t bcWeights3[8];
extern const std::uint16_t bcWeights4[16];

// Whether a texel (0 to 15) is the anchor of one of a block's subsets (1 to 3), whose index has one bit less.
bool isFixup(int numSubsets, int partition, int texel);

// One channel of a BC7 texel: the published formula with the weight of index, of indexBits 2, 3 or 4 bits.
int bc7Interpolate(unsigned char e0, unsigned char e1, int index, int indexBits);

// The low bits (1 to 32) of value as a two's-complement number.
constexpr int signExtend(int value, int bits) {
    const int shift = 32 - bits;
    return static_cast<int>(static_cast<std::uint32_t>(value) << shift) >> shift;
}

}  // namespace kpx
