// Lookup tables of the wide kernels for BC7: the positions of the fields, computed at compile time from the mode table
// that the plain decoder uses.
#pragma once

#include <cstdint>

#include "blocks/bc7Modes.h"
#include "blocks/bcTables.h"
#include "blocks/wide/vectors.h"

namespace kpx {

// How a BC7 block of one mode is parsed. Endpoint fields become words: each channel, R to A, has a slot of 2, 4 or 8
// words for one, two or three subsets. A vector has 16 words; slots of 2 are the same in both lanes.
struct Bc7FieldLayout {
    int slot;
    FieldGather endpoints[2];        // the second (B and A) only for slots of 8
    WideWords stored[2];             // the bits of a shifted field that are stored in the block
    WideWords replicate[2];          // multiplying by this shifts the field right by its width, in the high 16 bits
    FieldGather pBits[2];            // shifted to just below the stored bits, the same for every channel
    WideWords pBit[2];               // the bit of a p-bit after shifting
    FieldGather primary, secondary;  // indices, from a lane with two equal halves
    WideBytes primaryWeights, secondaryWeights;     // by index, for each lane
    const WideBytes* subsets;                       // by partition: bytes 2s and 2s + 1 for each texel of subset s
    int primaryByte, primaryShift, secondaryShift;  // where in the block the indices start
};

constexpr int pBitCount(const Bc7Mode& mode) {
    return mode.pBits == PBits::perEndpoint ? 2 * mode.subsets : mode.pBits == PBits::perSubset ? mode.subsets : 0;
}

constexpr WideBytes weightsOf(int width) {
    WideBytes weights{};
    for (int i = 0; i < 1 << width; ++i) {
        const std::uint16_t weight = width == 2 ? bcWeights2[i] : width == 3 ? bcWeights3[i] : bcWeights4[i];
        weights.byte[i] = weights.byte[16 + i] = static_cast<std::uint8_t>(weight);
    }
    return weights;
}

struct SubsetTable {
    WideBytes rows[64];
};

inline constexpr SubsetTable makeSubsets(int subsets) {
    SubsetTable table{};
    for (int partition = 0; partition < 64; ++partition) {
        for (int t = 0; t < 16; ++t) {
            const int subset = subsets == 1 ? 0 : bcPartitions[subsets - 2][partition][t];
            table.rows[partition].byte[2 * t] = static_cast<std::uint8_t>(2 * subset);
            table.rows[partition].byte[2 * t + 1] = static_cast<std::uint8_t>(2 * subset + 1);
        }
    }
    return table;
}

inline constexpr SubsetTable oneSubset = makeSubsets(1);
inline constexpr SubsetTable twoSubsets = makeSubsets(2);
inline constexpr SubsetTable threeSubsets = makeSubsets(3);
constexpr const WideBytes* subsetsOf(const Bc7Mode& mode) {
    return mode.subsets == 1 ? oneSubset.rows : mode.subsets == 2 ? twoSubsets.rows : threeSubsets.rows;
}

constexpr Bc7FieldLayout makeBc7Wide(int number) {
    const Bc7Mode& mode = bc7Modes[number];
    const int pBit = mode.pBits == PBits::none ? 0 : 1;
    Bc7FieldLayout wide{};
    wide.slot = mode.subsets == 1 ? 2 : mode.subsets == 2 ? 4 : 8;
    for (int half = 0; half < 2; ++half) wide.endpoints[half] = wide.pBits[half] = emptyGather();

    int bit = number + 1 + mode.partitionBits + mode.rotationBits + mode.selectionBits;
    const int firstPBit = bit + 2 * mode.subsets * (3 * mode.colourBits + mode.alphaBits);
    for (int channel = 0; channel < 4; ++channel) {
        const int width = channel < 3 ? mode.colourBits : mode.alphaBits;
        for (int e = 0; e < 2 * mode.subsets && width != 0; ++e, bit += width) {
            const int word = channel * wide.slot + e;
            for (int copy = word; copy < (wide.slot == 2 ? 16 : word + 1); copy += 8) {
                const int half = copy / 16;
                const int w = copy % 16;
                gatherField(wide.endpoints[half], w, bit, width, 15);
                wide.stored[half].word[w] = static_cast<std::uint16_t>(0xFFFFU << (16 - width));
                wide.replicate[half].word[w] = static_cast<std::uint16_t>(1U << (16 - width - pBit));
                if (pBit == 0) continue;
                gatherField(wide.pBits[half], w, firstPBit + (mode.pBits == PBits::perSubset ? e / 2 : e), 1,
                            15 - width);
                wide.pBit[half].word[w] = static_cast<std::uint16_t>(1U << (15 - width));
            }
        }
    }
    bit += pBitCount(mode);

    wide.primary = gatherIndices(mode.primaryBits);
    wide.primaryWeights = weightsOf(mode.primaryBits);
    wide.primaryByte = bit < 64 ? bit / 8 : 8;
    wide.primaryShift = bit - 8 * wide.primaryByte;
    bit += 16 * mode.primaryBits - mode.subsets;
    if (mode.secondaryBits != 0) {
        wide.secondary = gatherIndices(mode.secondaryBits);
        wide.secondaryWeights = weightsOf(mode.secondaryBits);
        wide.secondaryShift = bit - 64;
    }
    wide.subsets = subsetsOf(mode);
    return wide;
}

inline constexpr Bc7FieldLayout bc7Wide[8] = {makeBc7Wide(0), makeBc7Wide(1), makeBc7Wide(2), makeBc7Wide(3),
                                              makeBc7Wide(4), makeBc7Wide(5), makeBc7Wide(6), makeBc7Wide(7)};

// Returns the byte order that swaps alpha with a colour channel of texels a, r, g, b, for rotation 0 to 3.
constexpr WideBytes makeRotation(int exchanged) {
    WideBytes order{};
    for (int i = 0; i < 32; ++i) {
        const int channel = i % 4 == 0 ? exchanged : i % 4 == exchanged ? 0 : i % 4;
        order.byte[i] = static_cast<std::uint8_t>(i % 16 / 4 * 4 + channel);
    }
    return order;
}
inline constexpr WideBytes bc7Rotations[4] = {makeRotation(0), makeRotation(1), makeRotation(2), makeRotation(3)};

}  // namespace kpx
