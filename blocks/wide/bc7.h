// Decodes BC7. Shuffles and multiplications gather the endpoint fields of a block; the sixteen texels are computed in
// words. Each mode is an instance of one routine for its row of the mode table.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/bcIndices.h"
#include "blocks/wide/bc7Tables.h"
#include "blocks/wide/lanes.h"
#include "blocks/wide/modes.h"

namespace {

// Returns the weights 64 - w and w of each texel's endpoints, in the low and the high byte of its word.
template <int width>
KPX_INLINE Wide weightPairs(std::uint64_t indexBits, const kpx::FieldGather& fields, const kpx::WideBytes& weights) {
    const Wide indices = shiftRight16<16 - width>(gather(spread64(indexBits), fields));
    const Wide w = shuffle8(load(&weights), indices);
    return add16(sub16(shiftLeft16<8>(w), w), spread16(64));
}

// Returns one channel of all sixteen texels: (e0 x (64 - w) + e1 x w + 32) >> 6. The shift is a rounding multiplication
// by 2^15 / 64.
KPX_INLINE Wide interpolate(Wide pairs, Wide weights) {
    return mulRound16(mulAddUnsigned8(pairs, weights), spread16(512));
}

// Returns half of a block's endpoints, widened to 8 bits in the high bytes of their words: the field at the top, the
// p-bit below it, then copies of the top bits.
template <int mode>
KPX_INLINE Wide bc7Endpoints(Wide lanes, int half) {
    constexpr const kpx::Bc7FieldLayout& layout = kpx::bc7Wide[mode];
    constexpr const kpx::Bc7Mode& row = kpx::bc7Modes[mode];
    constexpr int pBit = row.pBits == kpx::PBits::none ? 0 : 1;
    Wide ends = gather(lanes, layout.endpoints[half]) & load(&layout.stored[half]);
    if constexpr (pBit != 0) ends = ends | (gather(lanes, layout.pBits[half]) & load(&layout.pBit[half]));
    if constexpr (row.colourBits + pBit < 8) ends = ends | mulHigh16(ends, load(&layout.replicate[half]));
    return ends;
}

// Returns the endpoint pair of each texel, in one channel. The endpoints of one subset are in words, those of more
// subsets in bytes.
template <int mode, int channel>
KPX_INLINE Wide pairsOfTexels(Wide endpoints, Wide subsets) {
    constexpr int slot = kpx::bc7Wide[mode].slot;
    if constexpr (slot == 2) return shuffle8(endpoints, spread16((4 * channel + 1) | (4 * channel + 3) << 8));
    if constexpr (slot == 4) {
        const Wide order = channel % 2 == 0 ? subsets : add16(subsets, spread8(4));
        return shuffle8(spreadHalf<channel / 2 * 2>(endpoints), order);
    }
    // After packing, the lanes hold R, B and G, A.
    return shuffle8(spreadHalf<channel / 2 + channel % 2 * 2>(endpoints), subsets);
}

template <int mode>
KPX_INLINE void bc7Tile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    constexpr const kpx::Bc7FieldLayout& layout = kpx::bc7Wide[mode];
    constexpr const kpx::Bc7Mode& row = kpx::bc7Modes[mode];
    const std::uint64_t header = load64(block) >> (mode + 1);
    const std::size_t partition = header & ((1U << row.partitionBits) - 1);

    const Wide lanes = loadTwice(block);
    Wide endpoints = bc7Endpoints<mode>(lanes, 0);
    if constexpr (layout.slot != 2) {
        const Wide low = shiftRight16<8>(endpoints);
        endpoints = packBytes(low, layout.slot == 8 ? shiftRight16<8>(bc7Endpoints<mode>(lanes, 1)) : low);
    }

    const std::uint64_t primary = kpx::wholeIndices<row.subsets, row.primaryBits>(
        load64(block + layout.primaryByte) >> layout.primaryShift, partition);
    Wide colourWeights = weightPairs<row.primaryBits>(primary, layout.primary, layout.primaryWeights);
    Wide alphaWeights = colourWeights;
    if constexpr (row.secondaryBits != 0) {
        const std::uint64_t secondary =
            kpx::wholeIndices<1, row.secondaryBits>(load64(block + 8) >> layout.secondaryShift, 0);
        alphaWeights = weightPairs<row.secondaryBits>(secondary, layout.secondary, layout.secondaryWeights);
        if (row.selectionBits != 0) {
            const Wide exchange = spread8(-static_cast<int>(header >> row.rotationBits & 1));
            const Wide primaryWeights = colourWeights;
            colourWeights = choose(primaryWeights, alphaWeights, exchange);
            alphaWeights = choose(alphaWeights, primaryWeights, exchange);
        }
    }

    const Wide subsets = load(&layout.subsets[partition]);
    const Wide r = interpolate(pairsOfTexels<mode, 0>(endpoints, subsets), colourWeights);
    const Wide g = interpolate(pairsOfTexels<mode, 1>(endpoints, subsets), colourWeights);
    const Wide b = interpolate(pairsOfTexels<mode, 2>(endpoints, subsets), colourWeights);
    const Wide a =
        row.alphaBits == 0 ? spread16(255) : interpolate(pairsOfTexels<mode, 3>(endpoints, subsets), alphaWeights);

    // Lane 0 holds rows 0 and 1, lane 1 rows 2 and 3.
    const Wide ar = a | shiftLeft16<8>(r);
    const Wide gb = g | shiftLeft16<8>(b);
    Wide rows02 = unpackLow16(ar, gb);
    Wide rows13 = unpackHigh16(ar, gb);
    if constexpr (row.rotationBits != 0) {
        const Wide rotation = load(&kpx::bc7Rotations[header & 3]);
        rows02 = shuffle8(rows02, rotation);
        rows13 = shuffle8(rows13, rotation);
    }
    storeLanes(out, out + 2 * rowBytes, rows02);
    storeLanes(out + rowBytes, out + 3 * rowBytes, rows13);
}

KPX_INLINE void bc7ReservedTile(const unsigned char*, unsigned char* out, std::size_t rowBytes) {
    for (std::size_t r = 0; r < 4; ++r) storeLanes(out + r * rowBytes, out + r * rowBytes, spread32(255));
}

constexpr ModeDecoder bc7Decoders[9] = {
    runOf<bc7Tile<0>, tileRowBytes>, runOf<bc7Tile<1>, tileRowBytes>, runOf<bc7Tile<2>, tileRowBytes>,
    runOf<bc7Tile<3>, tileRowBytes>, runOf<bc7Tile<4>, tileRowBytes>, runOf<bc7Tile<5>, tileRowBytes>,
    runOf<bc7Tile<6>, tileRowBytes>, runOf<bc7Tile<7>, tileRowBytes>, runOf<bc7ReservedTile, tileRowBytes>,
};

KPX_TARGET void bc7Strip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    decodeByModes<9, tileRowBytes>(blocks, count, out, rowBytes, bc7Decoders, [](unsigned char first) {
        return static_cast<std::uint8_t>(__builtin_ctz(first | 0x100U));
    });
}

}  // namespace
