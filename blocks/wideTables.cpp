// Constants of the wide kernels, computed at compile time.
#include "blocks/wideTables.h"

#include "blocks/bc6hLayout.h"
#include "blocks/bc7Modes.h"
#include "blocks/bcTables.h"

namespace kpx {
namespace {

constexpr std::uint8_t nothing = 0x80;  // a byte order that gives 0

// Gathers a field of a block, its bits first to first + width - 1, into word w so that its top bit is bit top.
constexpr void gatherField(FieldGather& gather, int w, int first, int width, int top) {
    const int byte = first / 8;
    gather.bytes.byte[2 * w] = static_cast<std::uint8_t>(byte);
    // The window's second byte; past the block's end there is nothing that the field needs.
    gather.bytes.byte[2 * w + 1] = byte < 15 ? static_cast<std::uint8_t>(byte + 1) : nothing;
    gather.lift.word[w] = static_cast<std::uint16_t>(1U << (top + 1 - width - first % 8));
}

constexpr FieldGather emptyGather() {
    FieldGather gather{};
    for (auto& byte : gather.bytes.byte) byte = nothing;
    return gather;
}

constexpr int pBitCount(const Bc7Mode& mode) {
    return mode.pBits == PBits::perEndpoint ? 2 * mode.subsets : mode.pBits == PBits::perSubset ? mode.subsets : 0;
}

// Sixteen indices of a 64-bit word, a word each with the index on top.
constexpr FieldGather gatherIndices(int width) {
    FieldGather gather = emptyGather();
    for (int t = 0; t < 16; ++t) {
        gatherField(gather, t, t * width, width, 15);
        // The 64-bit word is repeated, and no index needs the repetition.
        if (gather.bytes.byte[2 * t + 1] > 7) gather.bytes.byte[2 * t + 1] = nothing;
    }
    return gather;
}

constexpr void fillWeights(std::uint8_t (&weights)[32], int width) {
    for (int i = 0; i < 1 << width; ++i) {
        const std::uint16_t weight = width == 2 ? bcWeights2[i] : width == 3 ? bcWeights3[i] : bcWeights4[i];
        weights[i] = weights[16 + i] = static_cast<std::uint8_t>(weight);
    }
}

constexpr std::uint64_t bitsFrom(int bit) {
    return ~((std::uint64_t{1} << bit) - 1);
}

struct SubsetTable {
    WideBytes rows[64];
};

constexpr SubsetTable makeSubsets(int subsets) {
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

struct AnchorTable {
    std::uint64_t rows[64][2];
};

// Adding the bits above an anchor's index to the whole makes room for the top bit that the anchor does not store:
// low + high + high = low + 2 x high. Bits that no later index needs fall off the top.
constexpr AnchorTable makeAnchors(int subsets, int width) {
    AnchorTable table{};
    for (int partition = 0; partition < 64; ++partition) {
        int first = bcAnchors[subsets - 2][partition][1];
        int second = subsets == 3 ? bcAnchors[1][partition][2] : 16;
        if (first > second) {
            const int larger = first;
            first = second;
            second = larger;
        }
        table.rows[partition][0] = bitsFrom(first * width + width - 1);
        table.rows[partition][1] = second == 16 ? 0 : bitsFrom(second * width + width - 1);
    }
    return table;
}

constexpr SubsetTable oneSubset = makeSubsets(1);
constexpr SubsetTable twoSubsets = makeSubsets(2);
constexpr SubsetTable threeSubsets = makeSubsets(3);
constexpr AnchorTable noAnchors{};
constexpr AnchorTable twoSubsets2 = makeAnchors(2, 2);
constexpr AnchorTable twoSubsets3 = makeAnchors(2, 3);
constexpr AnchorTable threeSubsets2 = makeAnchors(3, 2);
constexpr AnchorTable threeSubsets3 = makeAnchors(3, 3);

constexpr const WideBytes* subsetsOf(const Bc7Mode& mode) {
    return mode.subsets == 1 ? oneSubset.rows : mode.subsets == 2 ? twoSubsets.rows : threeSubsets.rows;
}

constexpr const std::uint64_t (*anchorsOf(const Bc7Mode& mode))[2] {
    if (mode.subsets == 1) return noAnchors.rows;
    if (mode.subsets == 2) return mode.primaryBits == 2 ? twoSubsets2.rows : twoSubsets3.rows;
    return mode.primaryBits == 2 ? threeSubsets2.rows : threeSubsets3.rows;
}

constexpr Bc7Wide makeBc7(int number) {
    const Bc7Mode& mode = bc7Modes[number];
    const int endpoints = 2 * mode.subsets;
    const int pBit = mode.pBits == PBits::none ? 0 : 1;
    Bc7Wide wide{};
    int bit = number + 1 + mode.partitionBits + mode.rotationBits + mode.selectionBits;
    for (int channel = 0; channel < 4; ++channel) {
        const int width = channel < 3 ? mode.colourBits : mode.alphaBits;
        const int half = channel / 2;
        const int lane = channel % 2 * 8;
        if (lane == 0) wide.endpoints[half] = emptyGather();
        for (int e = 0; e < 8; ++e) {
            if (width == 0) {
                wide.filled[half].word[lane + e] = channel == 3 ? 0xFF00 : 0;
                continue;
            }
            wide.stored[half].word[lane + e] = static_cast<std::uint16_t>(0xFFFFU << (16 - width));
            wide.replicate[half].word[lane + e] = static_cast<std::uint16_t>(1U << (16 - width - pBit));
            if (e >= endpoints) continue;
            gatherField(wide.endpoints[half], lane + e, bit, width, 15);
            bit += width;
        }
    }
    wide.pBits = emptyGather();
    for (int e = 0; e < 8; ++e) {
        const int top = 15 - mode.colourBits;
        wide.pBit.word[e] = wide.pBit.word[8 + e] = static_cast<std::uint16_t>(pBit << top);
        if (e >= endpoints || pBit == 0) continue;
        const int stored = bit + (mode.pBits == PBits::perSubset ? e / 2 : e);
        gatherField(wide.pBits, e, stored, 1, top);
        gatherField(wide.pBits, 8 + e, stored, 1, top);
    }
    bit += pBitCount(mode);

    wide.primary = gatherIndices(mode.primaryBits);
    for (auto& word : wide.primaryWidth.word) word = static_cast<std::uint16_t>(1U << mode.primaryBits);
    fillWeights(wide.primaryWeights, mode.primaryBits);
    wide.primaryAnchor = bitsFrom(mode.primaryBits - 1);
    wide.primaryByte = static_cast<std::uint8_t>(bit < 64 ? bit / 8 : 8);
    wide.primaryShift = static_cast<std::uint8_t>(bit - 8 * wide.primaryByte);
    bit += 16 * mode.primaryBits - mode.subsets;

    wide.hasSecondary = mode.secondaryBits != 0;
    if (wide.hasSecondary) {
        wide.secondary = gatherIndices(mode.secondaryBits);
        for (auto& word : wide.secondaryWidth.word) word = static_cast<std::uint16_t>(1U << mode.secondaryBits);
        fillWeights(wide.secondaryWeights, mode.secondaryBits);
        wide.secondaryAnchor = bitsFrom(mode.secondaryBits - 1);
        wide.secondaryShift = static_cast<std::uint8_t>(bit - 64);
    }
    wide.subsets = subsetsOf(mode);
    wide.anchors = anchorsOf(mode);
    wide.partitionMask = static_cast<std::uint8_t>((1U << mode.partitionBits) - 1);
    return wide;
}

constexpr WideBytes makeRotation(int exchanged) {
    WideBytes order{};
    for (int i = 0; i < 32; ++i) {
        const int channel = i % 4 == 0 ? exchanged : i % 4 == exchanged ? 0 : i % 4;
        order.byte[i] = static_cast<std::uint8_t>(i % 16 / 4 * 4 + channel);
    }
    return order;
}

constexpr Bc6Wide makeBc6(const Bc6Mode& mode) {
    Bc6Wide wide{};
    for (const Bc6Run* run = mode.runs; run->count != 0; ++run) {
        const int byte = run->firstBit / 8 < 8 ? run->firstBit / 8 : 8;
        Bc6Gather& gather = wide.runs[wide.runCount++];
        gather.firstByte = static_cast<std::uint8_t>(byte);
        gather.shift = static_cast<std::uint8_t>(run->firstBit - 8 * byte);
        // Endpoints become vectors of four words.
        gather.field = static_cast<std::uint8_t>(run->field / 3 * 4 + run->field % 3);
        gather.place = run->shift;
        gather.mask = (1U << run->count) - 1;
    }
    wide.precision = mode.precision;
    wide.twoRegions = mode.regions == 2;
    wide.transformed = mode.transformed;
    for (int channel = 0; channel < 3; ++channel) wide.deltaLift[channel] = 32 - mode.deltaBits[channel];
    return wide;
}

constexpr Bc6Wide bc6Wide[14] = {
    makeBc6(bc6Modes[0]),  makeBc6(bc6Modes[1]),  makeBc6(bc6Modes[2]),  makeBc6(bc6Modes[3]),  makeBc6(bc6Modes[4]),
    makeBc6(bc6Modes[5]),  makeBc6(bc6Modes[6]),  makeBc6(bc6Modes[7]),  makeBc6(bc6Modes[8]),  makeBc6(bc6Modes[9]),
    makeBc6(bc6Modes[10]), makeBc6(bc6Modes[11]), makeBc6(bc6Modes[12]), makeBc6(bc6Modes[13]),
};

// The mode of the low five bits: two of them name the first two modes.
constexpr const Bc6Wide* bc6Of(int value) {
    if ((value & 3) < 2) return &bc6Wide[value & 3];
    if ((value & 3) == 2) return &bc6Wide[2 + (value >> 2)];
    return value >> 2 < 4 ? &bc6Wide[10 + (value >> 2)] : nullptr;
}

}  // namespace

constexpr Bc7Wide bc7Wide[9] = {makeBc7(0), makeBc7(1), makeBc7(2), makeBc7(3), makeBc7(4),
                                makeBc7(5), makeBc7(6), makeBc7(7), makeBc7(8)};

constexpr WideBytes bc7Rotations[4] = {makeRotation(0), makeRotation(1), makeRotation(2), makeRotation(3)};

constexpr const Bc6Wide* const bc6WideByValue[32] = {
    bc6Of(0),  bc6Of(1),  bc6Of(2),  bc6Of(3),  bc6Of(4),  bc6Of(5),  bc6Of(6),  bc6Of(7),
    bc6Of(8),  bc6Of(9),  bc6Of(10), bc6Of(11), bc6Of(12), bc6Of(13), bc6Of(14), bc6Of(15),
    bc6Of(16), bc6Of(17), bc6Of(18), bc6Of(19), bc6Of(20), bc6Of(21), bc6Of(22), bc6Of(23),
    bc6Of(24), bc6Of(25), bc6Of(26), bc6Of(27), bc6Of(28), bc6Of(29), bc6Of(30), bc6Of(31)};

constexpr const std::uint64_t (*const bc6Anchors)[2] = twoSubsets3.rows;

}  // namespace kpx
