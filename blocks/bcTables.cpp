// The small helpers that read the tables of BC6H and BC7.
#include "blocks/bcTables.h"

namespace kpx {

bool isFixup(int numSubsets, int partition, int texel) {
    if (numSubsets == 1) return texel == 0;
    if (numSubsets <= 0) return false;
    const std::uint8_t* anchors = bcAnchors[numSubsets - 2][partition];
    return texel == anchors[0] || texel == anchors[1] || (numSubsets > 2 && texel == anchors[2]);
}

int bc7Interpolate(unsigned char e0, unsigned char e1, int index, int indexBits) {
    const std::uint16_t* weights = indexBits == 2 ? bcWeights2 : indexBits == 3 ? bcWeights3 : bcWeights4;
    const int w = weights[index];
    return ((64 - w) * e0 + w * e1 + 32) >> 6;
}

}  // namespace kpx
