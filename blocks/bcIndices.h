// The indices of a BC6H or BC7 block in one number, texel t at bit t x width. An anchor's index is stored without its
// top bit, which is 0: the blocks' decoders make room for it again.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/bcTables.h"

namespace kpx {

// All bits from the spared one of each anchor upwards, in the order of the anchors: of texel 0, which is always one,
// then of up to two others, by partition.
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

// The indices of all texels, from the stored bits in the low end of a number. Adding the bits from a spared one upwards
// to the whole doubles them, which moves them up by one. Bits that no index needs fall off the top.
template <int subsets, int width>
constexpr std::uint64_t wholeIndices(std::uint64_t stored, std::size_t partition) {
    stored += stored & sparedBitUpwards(0, width);
    for (int i = 0; i < subsets - 1; ++i) stored += stored & anchorBits<subsets, width>.partition[partition][i];
    return stored;
}

}  // namespace kpx
