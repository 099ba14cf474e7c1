// The indices of a BC6H or BC7 block in one number, texel t at bit t x width. The index of an anchor is stored without
// its top bit, which is 0; the functions here insert it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/bcTables.h"

namespace kpx {

// The masks of all bits from the missing bit of each anchor upwards. Texel 0 is always an anchor; the partition
// determines up to two others.
constexpr std::uint64_t sparedBitUpwards(int texel, int width) {
    return ~std::uint64_t{0} << (texel * width + width - 1);
}
struct AnchorBits {
    std::uint64_t partition[64][2];
};
constexpr AnchorBits makeAnchorBits(int subsets, int width) {
    AnchorBits bits{};
    for (int partition = 0; partition < 64; ++partition) {
        int count = 0;
        for (int t = 1; t < 16; ++t) {
            if (isFixup(subsets, partition, t)) bits.partition[partition][count++] = sparedBitUpwards(t, width);
        }
    }
    return bits;
}
template <int subsets, int width>
inline constexpr AnchorBits anchorBits = makeAnchorBits(subsets, width);

// Returns the indices of all texels, from the stored bits at the low end of a number. Adding to the number all its bits
// from a missing bit upwards doubles those bits, that is shifts them left by one. Unused bits are shifted out.
template <int subsets, int width>
constexpr std::uint64_t wholeIndices(std::uint64_t stored, std::size_t partition) {
    stored += stored & sparedBitUpwards(0, width);
    for (int i = 0; i < subsets - 1; ++i) stored += stored & anchorBits<subsets, width>.partition[partition][i];
    return stored;
}

}  // namespace kpx
