// The block kernels for two 128-bit lanes, written once over the operations of wideSse41.h or wideAvx2.h, one of which
// the including file has included before. BC1 to BC5 decode two blocks side by side, one a lane; BC7 holds the sixteen
// texels of one block in words; BC6H holds two palette entries. Every kernel writes what its plain twin writes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "blocks/bc6hLayout.h"
#include "blocks/bc7Modes.h"
#include "blocks/bcTables.h"
#include "blocks/kernels.h"
#include "blocks/littleEndian.h"
#include "blocks/rowLoops.h"
#include "blocks/wideTables.h"

namespace {

using kpx::load64;

// Constants of a lane, the same in both.
struct LaneBytes {
    alignas(16) std::uint8_t byte[16];
};
struct LaneWords {
    alignas(16) std::uint16_t word[8];
};
constexpr std::uint8_t none = 0x80;  // a byte order that gives 0

constexpr std::size_t tileRowBytes = 16;

// Both tiles' row r, side by side.
KPX_TARGET inline void storeRows(unsigned char* out, std::size_t rowBytes, const Wide (&rows)[4]) {
    for (std::size_t r = 0; r < 4; ++r) store(out + r * rowBytes, rows[r]);
}

// Four planes of a tile, 16 bytes of each channel a lane, as rows of texels a, r, g, b.
KPX_TARGET inline void storePlanes(unsigned char* out, std::size_t rowBytes, Wide a, Wide r, Wide g, Wide b) {
    const Wide ar0 = unpackLow8(a, r);
    const Wide ar1 = unpackHigh8(a, r);
    const Wide gb0 = unpackLow8(g, b);
    const Wide gb1 = unpackHigh8(g, b);
    storeRows(out, rowBytes,
              {unpackLow16(ar0, gb0), unpackHigh16(ar0, gb0), unpackLow16(ar1, gb1), unpackHigh16(ar1, gb1)});
}

// The four texels of a BC1 colour block, bytes 0 to 7 of each lane.
//
// A channel c of n bits is widened to floor(c x 255 / (2^n - 1)): it is brought to c << 4 (n = 5) or c << 3 (n = 6) by
// one multiplication, and a second by the quotient scaled by 2^16 and rounded up leaves an error below 0.007, less
// than the distance 1 / (2^n - 1) of a quotient from the next whole number. The blends divide sums of at most 765 by 3
// in the same way: 21846 / 65536 exceeds 1 / 3 by 0.00001, which is 0.008 at most.
template <bool opaque, bool isDXT1>
KPX_TARGET inline Wide colourPalette(Wide block) {
    constexpr LaneBytes fieldBytes{{none, none, 0, 1, 0, 1, none, 0, none, none, 2, 3, 2, 3, none, 2}};
    constexpr LaneWords fieldMasks{{0, 0xF800, 0x07E0, 0x1F00, 0, 0xF800, 0x07E0, 0x1F00}};
    constexpr LaneWords align{{0, 1 << 9, 1 << 14, 1 << 12, 0, 1 << 9, 1 << 14, 1 << 12}};
    constexpr LaneWords scale{{0, 33694, 33159, 33694, 0, 33694, 33159, 33694}};
    constexpr LaneWords alpha{{255, 0, 0, 0, 255, 0, 0, 0}};
    const Wide fields = shuffle8(block, loadTwice(&fieldBytes)) & loadTwice(&fieldMasks);
    Wide ends = mulHigh16(mulHigh16(fields, loadTwice(&align)), loadTwice(&scale));
    if (opaque) ends = ends | loadTwice(&alpha);
    const Wide swapped = swapHalves(ends);
    Wide blends = mulHigh16(add16(add16(ends, ends), swapped), spread16(21846));
    if (isDXT1) {
        constexpr LaneBytes first{{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1}};
        constexpr LaneBytes second{{2, 3, 2, 3, 2, 3, 2, 3, 2, 3, 2, 3, 2, 3, 2, 3}};
        constexpr LaneWords lowHalf{{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 0, 0, 0}};
        const Wide colour0 = shuffle8(block, loadTwice(&first));
        const Wide threeColours = equal16(min16(colour0, shuffle8(block, loadTwice(&second))), colour0);
        const Wide middle = shiftRight16<1>(add16(ends, swapped)) & loadTwice(&lowHalf);
        blends = choose(blends, middle, threeColours);
    }
    return packBytes(ends, blends);
}

KPX_TARGET inline void bc1Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = loadHalves(blocks);
    const Wide palette = colourPalette<true, true>(block);
    const TexelIndices indices = texelIndices(block);
    storeRows(out, rowBytes,
              {pickTexels<0>(palette, indices), pickTexels<1>(palette, indices), pickTexels<2>(palette, indices),
               pickTexels<3>(palette, indices)});
}

// Stores tiles from colour blocks (bytes 0 to 7 of a lane, four-colour mode) and planes of alpha.
KPX_TARGET inline void storeColourAndAlpha(unsigned char* out, std::size_t rowBytes, Wide colourBlock, Wide alpha) {
    const Wide palette = colourPalette<false, false>(colourBlock);
    const TexelIndices indices = texelIndices(colourBlock);
    const Wide low = unpackLow8(alpha, zero());
    const Wide high = unpackHigh8(alpha, zero());
    storeRows(out, rowBytes,
              {pickTexels<0>(palette, indices) | unpackLow16(low, zero()),
               pickTexels<1>(palette, indices) | unpackHigh16(low, zero()),
               pickTexels<2>(palette, indices) | unpackLow16(high, zero()),
               pickTexels<3>(palette, indices) | unpackHigh16(high, zero())});
}

KPX_TARGET inline void bc2Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    const Wide nibble = spread8(15);
    const Wide values = unpackLow8(block & nibble, shiftRight16<4>(block) & nibble);
    storeColourAndAlpha(out, rowBytes, highHalf(block), values | shiftLeft16<4>(values));  // x 17
}

// The sums of interpolated channels, and their divisions: sum / 7 = sum x 9363 >> 16 for sums up to 1785, and
// sum / 5 = sum x 13108 >> 16 up to 1275; the multipliers exceed 2^16 / 7 and 2^16 / 5 by less than 1, so that the
// error stays below 0.028, less than 1 / 7.
constexpr LaneBytes weights7{{7, 0, 0, 7, 6, 1, 5, 2, 4, 3, 3, 4, 2, 5, 1, 6}};
constexpr LaneBytes weights5{{5, 0, 0, 5, 4, 1, 3, 2, 2, 3, 1, 4, 0, 0, 0, 0}};
constexpr int seventh = 9363;
constexpr int fifth = 13108;
constexpr LaneWords lastEntry{{0, 0, 0, 0, 0, 0, 0, 255}};
constexpr LaneBytes endpointPairs{{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1}};
// An endpoint in the high byte of every word.
constexpr LaneBytes firstEndpoint{{none, 0, none, 0, none, 0, none, 0, none, 0, none, 0, none, 0, none, 0}};
constexpr LaneBytes secondEndpoint{{none, 1, none, 1, none, 1, none, 1, none, 1, none, 1, none, 1, none, 1}};

// Eight bytes, in both halves of each lane.
template <bool equalIsSeven>
KPX_TARGET inline Wide unsignedPalette(Wide block) {
    const Wide pairs = shuffle8(block, loadTwice(&endpointPairs));
    const Wide eight = mulHigh16(mulAddBytes(pairs, loadTwice(&weights7)), spread16(seventh));
    const Wide six = mulHigh16(mulAddBytes(pairs, loadTwice(&weights5)), spread16(fifth)) | loadTwice(&lastEntry);
    // Halved, endpoints are positive words.
    const Wide e0 = shiftRight16<1>(shuffle8(block, loadTwice(&firstEndpoint)));
    const Wide e1 = shiftRight16<1>(shuffle8(block, loadTwice(&secondEndpoint)));
    const Wide entries = equalIsSeven ? choose(eight, six, greater16(e1, e0)) : choose(six, eight, greater16(e0, e1));
    return packBytes(entries, entries);
}

// Magnitudes are divided and get their sign back, which truncates toward zero; a value v becomes the byte v + 128.
KPX_TARGET inline Wide signedPalette(Wide block) {
    constexpr LaneWords interpolated{{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 0}};
    const Wide endpoints = maxSigned8(block, spread8(-127));
    const Wide pairs = shuffle8(endpoints, loadTwice(&endpointPairs));
    const Wide sum7 = mulAddBytes(loadTwice(&weights7), pairs);
    const Wide sum5 = mulAddBytes(loadTwice(&weights5), pairs);
    const Wide middle = spread16(128);
    const Wide eight = add16(sign16(mulHigh16(abs16(sum7), spread16(seventh)), sum7), middle);
    const Wide four = add16(sign16(mulHigh16(abs16(sum5), spread16(fifth)), sum5), middle);
    const Wide six = (four & loadTwice(&interpolated)) | loadTwice(&lastEntry);
    const Wide e0 = shuffle8(endpoints, loadTwice(&firstEndpoint));
    const Wide e1 = shuffle8(endpoints, loadTwice(&secondEndpoint));
    const Wide entries = choose(six, eight, greater16(e0, e1));
    return packBytes(entries, entries);
}

// Sixteen 3-bit indices from bit 16 of each lane, a byte each.
KPX_TARGET inline Wide threeBitIndices(Wide block) {
    constexpr LaneBytes low{{2, 3, 2, 3, 2, 3, 3, 4, 3, 4, 3, 4, 4, 5, 4, 5}};
    constexpr LaneBytes high{{5, 6, 5, 6, 5, 6, 6, 7, 6, 7, 6, 7, 7, none, 7, none}};
    constexpr LaneWords lift{{1 << 13, 1 << 10, 1 << 7, 1 << 12, 1 << 9, 1 << 6, 1 << 11, 1 << 8}};
    const Wide first = mulLow16(shuffle8(block, loadTwice(&low)), loadTwice(&lift));
    const Wide second = mulLow16(shuffle8(block, loadTwice(&high)), loadTwice(&lift));
    return packBytes(shiftRight16<13>(first), shiftRight16<13>(second));
}

KPX_TARGET inline void bc3Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    storeColourAndAlpha(out, rowBytes, highHalf(block), shuffle8(unsignedPalette<true>(block), threeBitIndices(block)));
}

template <bool isSigned>
KPX_TARGET inline Wide channelPlane(Wide block) {
    return shuffle8(isSigned ? signedPalette(block) : unsignedPalette<false>(block), threeBitIndices(block));
}

template <bool isSigned>
KPX_TARGET inline void bc4Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide grey = channelPlane<isSigned>(loadHalves(blocks));
    storePlanes(out, rowBytes, spread8(-1), grey, grey, grey);
}

template <bool isSigned>
KPX_TARGET inline void bc5Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    storePlanes(out, rowBytes, spread8(-1), channelPlane<isSigned>(block), channelPlane<isSigned>(highHalf(block)),
                zero());
}

// A strip of blocks, two at a time. A last single block goes through scratch memory.
#define KPX_PAIR_STRIP(name, blockBytes, decodePair)                                                                 \
    KPX_TARGET void name(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) { \
        for (; count >= 2; count -= 2, blocks += 2 * (blockBytes), out += 2 * tileRowBytes) {                        \
            decodePair(blocks, out, rowBytes);                                                                       \
        }                                                                                                            \
        if (count != 0) {                                                                                            \
            unsigned char twoBlocks[2 * (blockBytes)] = {};                                                          \
            unsigned char tiles[4][2 * tileRowBytes];                                                                \
            std::memcpy(twoBlocks, blocks, blockBytes);                                                              \
            decodePair(twoBlocks, tiles[0], sizeof tiles[0]);                                                        \
            for (std::size_t r = 0; r < 4; ++r) std::memcpy(out + r * rowBytes, tiles[r], tileRowBytes);             \
        }                                                                                                            \
    }

KPX_PAIR_STRIP(bc1Strip, 8, bc1Pair)
KPX_PAIR_STRIP(bc2Strip, 16, bc2Pair)
KPX_PAIR_STRIP(bc3Strip, 16, bc3Pair)
KPX_PAIR_STRIP(bc4UnsignedStrip, 8, bc4Pair<false>)
KPX_PAIR_STRIP(bc4SignedStrip, 8, bc4Pair<true>)
KPX_PAIR_STRIP(bc5UnsignedStrip, 16, bc5Pair<false>)
KPX_PAIR_STRIP(bc5SignedStrip, 16, bc5Pair<true>)

// Divides the colours of premultiplied texels (a, r, g, b) by their alpha. The quotient of two whole numbers below 2^16
// and 2^8 is a whole number or at least 1 / 255 away from one, so that a correctly rounded float division truncates to
// the same value.
KPX_TARGET inline Wide divideTexels(Wide texels) {
    const Wide byte = spread32(255);
    const Wide alpha = texels & byte;
    const Wide divisor = max32(alpha, spread32(1));
    const Wide transparent = equal32(alpha, zero());
    Wide result = alpha;
    for (int shift = 8; shift < 32; shift += 8) {
        const Wide v = shiftRight32(texels, shift) & byte;
        const Wide quotient = choose(byte, divide32(shiftLeft32<8>(v), divisor), greater32(alpha, v));
        result = result | shiftLeft32(choose(quotient, v, transparent), shift);
    }
    return result;
}

// Eight texels, two blocks' row, at a time; of a last single block four.
KPX_TARGET void divideStrip(std::size_t count, unsigned char* out, std::size_t rowBytes) {
    for (std::size_t r = 0; r < 4; ++r) {
        unsigned char* row = out + r * rowBytes;
        for (std::size_t i = 0; i + 2 <= count; i += 2, row += 2 * tileRowBytes) store(row, divideTexels(load(row)));
        if (count % 2 != 0) {
            unsigned char unused[tileRowBytes];
            storeLanes(row, unused, divideTexels(loadTwice(row)));
        }
    }
}

KPX_TARGET void bc2PremultipliedStrip(const unsigned char* blocks, std::size_t count, unsigned char* out,
                                      std::size_t rowBytes) {
    bc2Strip(blocks, count, out, rowBytes);
    divideStrip(count, out, rowBytes);
}

KPX_TARGET void bc3PremultipliedStrip(const unsigned char* blocks, std::size_t count, unsigned char* out,
                                      std::size_t rowBytes) {
    bc3Strip(blocks, count, out, rowBytes);
    divideStrip(count, out, rowBytes);
}

// The fields of a lane, each in a word.
KPX_TARGET inline Wide gather(Wide lanes, const kpx::FieldGather& fields) {
    return mulLow16(shuffle8(lanes, load(&fields.bytes)), load(&fields.lift));
}

// For each texel the weights 64 - w and w of the two endpoints, in the low and the high byte of its word.
template <int width>
KPX_TARGET inline Wide weightPairs(std::uint64_t indexBits, const kpx::FieldGather& fields,
                                   const kpx::WideBytes& weights) {
    const Wide indices = shiftRight16<16 - width>(gather(spread64(indexBits), fields));
    const Wide w = shuffle8(load(&weights), indices);
    return add16(sub16(shiftLeft16<8>(w), w), spread16(64));
}

// One channel of all sixteen texels: (e0 x (64 - w) + e1 x w + 32) >> 6, the shift by a rounding multiplication with
// 2^15 / 64.
KPX_TARGET inline Wide interpolate(Wide pairs, Wide weights) {
    return mulRound16(mulAddBytes(pairs, weights), spread16(512));
}

// Half of a block's endpoints, widened to 8 bits: fields at the top of their words, p-bits below them, and then the
// replication of the top bits.
template <int mode>
KPX_TARGET inline Wide bc7Endpoints(Wide lanes, int half) {
    constexpr const kpx::Bc7Wide& layout = kpx::bc7Wide[mode];
    constexpr const kpx::Bc7Mode& row = kpx::bc7Modes[mode];
    constexpr int pBit = row.pBits == kpx::PBits::none ? 0 : 1;
    Wide ends = gather(lanes, layout.endpoints[half]) & load(&layout.stored[half]);
    if constexpr (pBit != 0) ends = ends | (gather(lanes, layout.pBits[half]) & load(&layout.pBit[half]));
    if constexpr (row.colourBits + pBit < 8) ends = ends | mulHigh16(ends, load(&layout.replicate[half]));
    return shiftRight16<8>(ends);
}

// The endpoint pair of each texel, in one channel.
template <int mode, int channel>
KPX_TARGET inline Wide pairsOfTexels(Wide endpoints, Wide subsets) {
    constexpr int slot = kpx::bc7Wide[mode].slot;
    if constexpr (slot == 2) return shuffle8(endpoints, spread16(2 * channel | (2 * channel + 1) << 8));
    if constexpr (slot == 4) {
        const Wide order = channel % 2 == 0 ? subsets : add16(subsets, spread8(4));
        return shuffle8(spreadHalf<channel / 2 * 2>(endpoints), order);
    }
    // Packed, the lanes hold R, B and G, A.
    return shuffle8(spreadHalf<channel / 2 + channel % 2 * 2>(endpoints), subsets);
}

template <int mode>
KPX_TARGET inline void bc7Tile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    constexpr const kpx::Bc7Wide& layout = kpx::bc7Wide[mode];
    constexpr const kpx::Bc7Mode& row = kpx::bc7Modes[mode];
    const std::uint64_t header = load64(block) >> (mode + 1);
    const std::size_t partition = header & ((1U << row.partitionBits) - 1);

    const Wide lanes = loadTwice(block);
    const Wide ends = bc7Endpoints<mode>(lanes, 0);
    const Wide endpoints = packBytes(ends, layout.slot == 8 ? bc7Endpoints<mode>(lanes, 1) : ends);

    std::uint64_t primary = load64(block + layout.primaryByte) >> layout.primaryShift;
    primary += primary & layout.primaryAnchor;
    if constexpr (row.subsets > 1) primary += primary & layout.anchors[partition][0];
    if constexpr (row.subsets > 2) primary += primary & layout.anchors[partition][1];
    Wide colourWeights = weightPairs<row.primaryBits>(primary, layout.primary, layout.primaryWeights);
    Wide alphaWeights = colourWeights;
    if constexpr (row.secondaryBits != 0) {
        std::uint64_t secondary = load64(block + 8) >> layout.secondaryShift;
        secondary += secondary & layout.secondaryAnchor;
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
    constexpr LaneBytes interleave{{0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15}};
    const Wide ar = shuffle8(packBytes(a, r), loadTwice(&interleave));
    const Wide gb = shuffle8(packBytes(g, b), loadTwice(&interleave));
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

KPX_TARGET inline void bc7ReservedTile(const unsigned char*, unsigned char* out, std::size_t rowBytes) {
    for (std::size_t r = 0; r < 4; ++r) storeLanes(out + r * rowBytes, out + r * rowBytes, spread32(255));
}

// Blocks of formats with modes are decoded in stretches, in each the blocks of one mode after the other: a choice of
// the mode from block to block would be mispredicted half the time.
constexpr std::size_t stretch = 64;

// Decodes the blocks that the order names, all of one mode.
using ModeRun = void (*)(const unsigned char* blocks, const std::uint8_t* order, std::size_t count, unsigned char* out,
                         std::size_t rowBytes);

template <auto tile, std::size_t tileBytes>
KPX_TARGET void runOf(const unsigned char* blocks, const std::uint8_t* order, std::size_t count, unsigned char* out,
                      std::size_t rowBytes) {
    for (std::size_t i = 0; i < count; ++i) tile(blocks + 16 * order[i], out + tileBytes * order[i], rowBytes);
}

struct FileOrder {
    std::uint8_t index[stretch];
};
constexpr FileOrder fileOrder = [] {
    FileOrder order{};
    for (std::size_t i = 0; i < stretch; ++i) order.index[i] = static_cast<std::uint8_t>(i);
    return order;
}();

template <std::size_t modes, std::size_t tileBytes, typename ModeOf>
KPX_TARGET inline void decodeByModes(const unsigned char* blocks, std::size_t count, unsigned char* out,
                                     std::size_t rowBytes, const ModeRun (&runs)[modes], ModeOf modeOf) {
    for (std::size_t n = 0; count != 0; count -= n, blocks += 16 * n, out += tileBytes * n) {
        n = std::min(count, stretch);
        std::uint8_t mode[stretch];
        unsigned differences = 0;
        for (std::size_t i = 0; i < n; ++i) {
            mode[i] = modeOf(blocks[16 * i]);
            differences |= mode[i] ^ unsigned { mode[0] };
        }
        if (differences == 0) {
            runs[mode[0]](blocks, fileOrder.index, n, out, rowBytes);
            continue;
        }
        std::uint8_t order[modes][stretch];
        std::size_t counts[modes] = {};
        for (std::size_t i = 0; i < n; ++i) order[mode[i]][counts[mode[i]]++] = static_cast<std::uint8_t>(i);
        for (std::size_t m = 0; m < modes; ++m) {
            if (counts[m] != 0) runs[m](blocks, order[m], counts[m], out, rowBytes);
        }
    }
}

constexpr ModeRun bc7Runs[9] = {
    runOf<bc7Tile<0>, tileRowBytes>, runOf<bc7Tile<1>, tileRowBytes>, runOf<bc7Tile<2>, tileRowBytes>,
    runOf<bc7Tile<3>, tileRowBytes>, runOf<bc7Tile<4>, tileRowBytes>, runOf<bc7Tile<5>, tileRowBytes>,
    runOf<bc7Tile<6>, tileRowBytes>, runOf<bc7Tile<7>, tileRowBytes>, runOf<bc7ReservedTile, tileRowBytes>,
};

KPX_TARGET void bc7Strip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    decodeByModes<9, tileRowBytes>(blocks, count, out, rowBytes, bc7Runs, [](unsigned char first) {
        return static_cast<std::uint8_t>(__builtin_ctz(first | 0x100U));
    });
}

constexpr std::size_t pixelBytes = 16;
constexpr std::size_t floatTileBytes = 4 * pixelBytes;

// The bits of one run, in their place.
template <kpx::Bc6Run run>
KPX_TARGET inline std::int32_t runBits(std::uint64_t low, std::uint64_t high) {
    constexpr std::uint32_t mask = (1U << run.count) - 1;
    const std::uint64_t from = run.firstBit >= 64               ? high >> (run.firstBit - 64)
                               : run.firstBit + run.count <= 64 ? low >> run.firstBit
                                                                : low >> run.firstBit | high << (64 - run.firstBit);
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(from) & mask) << run.shift);
}

// One endpoint channel of a mode, from all its runs.
template <int mode, int field, std::size_t... runs>
KPX_TARGET inline std::int32_t fieldBits(std::uint64_t low, std::uint64_t high, std::index_sequence<runs...>) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    return (0 | ... | (row.runs[runs].field == field ? runBits<row.runs[runs]>(low, high) : 0));
}

constexpr std::size_t runCount(const kpx::Bc6Mode& mode) {
    std::size_t count = 0;
    while (mode.runs[count].count != 0) ++count;
    return count;
}

// Endpoints first and first + 1 as stored, one a lane: R, G, B and 0.
template <int mode, int first>
KPX_TARGET inline Wide gatherEndpoints(std::uint64_t low, std::uint64_t high) {
    constexpr auto runs = std::make_index_sequence<runCount(kpx::bc6Modes[mode])>();
    constexpr int field = 3 * first;
    // From registers: words that went through memory one by one could not be loaded as a vector without a long wait.
    return fromWords(fieldBits<mode, field>(low, high, runs), fieldBits<mode, field + 1>(low, high, runs),
                     fieldBits<mode, field + 2>(low, high, runs), fieldBits<mode, field + 3>(low, high, runs),
                     fieldBits<mode, field + 4>(low, high, runs), fieldBits<mode, field + 5>(low, high, runs));
}

// The top bits of four channels of given widths; a width of 0 has none.
constexpr std::int32_t topBit(int width) {
    return width == 0 ? 0 : static_cast<std::int32_t>(1U << (width - 1));
}
KPX_TARGET inline Wide topBits(int r0, int g0, int b0, int r1, int g1, int b1) {
    return fromWords(topBit(r0), topBit(g0), topBit(b0), topBit(r1), topBit(g1), topBit(b1));
}
// Numbers without bits above the top bit, read as two's complement.
KPX_TARGET inline Wide signExtend(Wide value, Wide top) {
    return sub32(value ^ top, top);
}

struct EndpointPairs {
    Wide region[2];
};

// All endpoints of a block, sign-extended and with the transform undone.
template <int mode, bool isSigned>
KPX_TARGET inline EndpointPairs bc6Endpoints(std::uint64_t low, std::uint64_t high) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    constexpr int r = row.deltaBits[0];
    constexpr int g = row.deltaBits[1];
    constexpr int b = row.deltaBits[2];
    constexpr int whole = isSigned ? row.precision : 0;
    Wide first = gatherEndpoints<mode, 0>(low, high);
    Wide second = row.regions == 2 ? gatherEndpoints<mode, 2>(low, high) : zero();
    if constexpr (isSigned || row.transformed) {
        first = signExtend(first, topBits(whole, whole, whole, r, g, b));
        second = signExtend(second, topBits(r, g, b, r, g, b));
    }
    if constexpr (row.transformed) {
        const Wide mask = spread32(static_cast<std::int32_t>((1U << row.precision) - 1));
        second = add32(second, spreadLane<0>(first)) & mask;
        first = add32(first, raiseLane(first)) & mask;
        if constexpr (isSigned) {
            const Wide top = topBits(whole, whole, whole, whole, whole, whole);
            first = signExtend(first, top);
            second = signExtend(second, top);
        }
    }
    return {{first, second}};
}

// Two endpoints' channels widened to 16 bits, or to 15 bits and a sign.
template <int precision, bool isSigned>
KPX_TARGET inline Wide unquantize(Wide value) {
    if constexpr (precision >= (isSigned ? 16 : 15)) return value;
    if constexpr (!isSigned) {
        const Wide widened = shiftRight32<precision>(add32(shiftLeft32<16>(value), spread32(0x8000)));
        const Wide most = choose(widened, spread32(0xFFFF), equal32(value, spread32((1 << precision) - 1)));
        return choose(most, zero(), equal32(value, zero()));
    }
    constexpr int maximum = (1 << (precision - 1)) - 1;
    const Wide magnitude = abs32(value);
    const Wide widened = shiftRight32<precision - 1>(add32(shiftLeft32<15>(magnitude), spread32(0x4000)));
    const Wide most = choose(widened, spread32(0x7FFF), greater32(magnitude, spread32(maximum - 1)));
    return sign32(most, value);
}

// Interpolated values as the bits of floats: scaled by 31 / 64 or 31 / 32 to half floats and widened. Half floats
// below 0x400 are subnormal: whole multiples of 2^-24.
template <bool isSigned>
KPX_TARGET inline Wide finishColours(Wide values) {
    const Wide magnitude = isSigned ? abs32(values) : values;
    const Wide by31 = sub32(shiftLeft32<5>(magnitude), magnitude);
    const Wide half = isSigned ? shiftRight32<5>(by31) : shiftRight32<6>(by31);
    const Wide normal = add32(shiftLeft32<13>(half), spread32(112 << 23));
    const Wide bits = choose(normal, scaledFloats(half, 0x1p-24F), greater32(spread32(0x400), half));
    if (!isSigned) return bits;
    const Wide negative = greater32(zero(), values) & greater32(half, zero());
    return bits | (negative & spread32(static_cast<int>(0x80000000U)));
}

// Interpolation weights of two entries of a palette, each in all words of its lane.
struct PairWeights {
    alignas(32) std::int32_t word[8];
};
template <std::size_t entries>
struct PaletteWeights {
    PairWeights pairs[entries / 2];
};
template <std::size_t entries>
constexpr PaletteWeights<entries> paletteWeights(const std::uint16_t (&weights)[entries]) {
    PaletteWeights<entries> all{};
    for (std::size_t i = 0; i < entries; ++i) {
        for (std::size_t k = 0; k < 4; ++k) all.pairs[i / 2].word[i % 2 * 4 + k] = weights[i];
    }
    return all;
}
constexpr auto paletteWeights3 = paletteWeights(kpx::bcWeights3);
constexpr auto paletteWeights4 = paletteWeights(kpx::bcWeights4);

// The colours of one region between the endpoints of two lanes; alpha is 1.0.
template <bool isSigned, std::size_t entries>
KPX_TARGET inline void makePalette(Wide ends, const PaletteWeights<entries>& weights, float (*palette)[4]) {
    alignas(16) constexpr std::uint32_t alphaMask[4] = {0, 0, 0, 0xFFFFFFFF};
    const Wide e0 = spreadLane<0>(ends);
    const Wide difference = sub32(spreadLane<1>(ends), e0);
    // (64 - w) x e0 + w x e1 + 32 = 64 x e0 + 32 + w x (e1 - e0)
    const Wide base = add32(shiftLeft32<6>(e0), spread32(32));
    for (std::size_t i = 0; i < entries / 2; ++i) {
        const Wide values = shiftRightSigned32<6>(add32(base, mulLow32(difference, load(&weights.pairs[i]))));
        store(palette[2 * i], choose(finishColours<isSigned>(values), spread32(0x3F800000), loadTwice(alphaMask)));
    }
}

template <int mode, bool isSigned>
KPX_TARGET inline void bc6hTile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    alignas(32) float palette[16][4];
    const std::uint64_t high = load64(block + 8);
    const EndpointPairs ends = bc6Endpoints<mode, isSigned>(load64(block), high);

    constexpr int width = row.regions == 2 ? 3 : 4;
    constexpr std::uint64_t indexMask = (1U << width) - 1;
    std::uint64_t indices = high >> (row.regions == 2 ? 18 : 1);
    indices += indices & ~(indexMask >> 1);
    const std::uint8_t* regions = nullptr;
    if constexpr (row.regions == 2) {
        const std::size_t partition = high >> 13 & 31;
        indices += indices & kpx::twoSubsets3.rows[partition][0];
        regions = kpx::bcPartitions[0][partition];
        makePalette<isSigned>(unquantize<row.precision, isSigned>(ends.region[0]), paletteWeights3, palette);
        makePalette<isSigned>(unquantize<row.precision, isSigned>(ends.region[1]), paletteWeights3, palette + 8);
    } else {
        makePalette<isSigned>(unquantize<row.precision, isSigned>(ends.region[0]), paletteWeights4, palette);
    }
    for (std::size_t t = 0; t < 16; ++t) {
        std::size_t entry = indices >> (width * t) & indexMask;
        if constexpr (row.regions == 2) entry += 8 * std::size_t{regions[t]};
        std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, palette[entry], pixelBytes);
    }
}

KPX_TARGET inline void bc6hReservedTile(const unsigned char*, unsigned char* out, std::size_t rowBytes) {
    const float black[4] = {0.0F, 0.0F, 0.0F, 1.0F};
    for (std::size_t t = 0; t < 16; ++t) std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, black, pixelBytes);
}

template <bool isSigned, std::size_t... modes>
constexpr auto makeBc6hRuns(std::index_sequence<modes...>) {
    struct {
        ModeRun runs[sizeof...(modes) + 1];
    } table{{runOf<bc6hTile<static_cast<int>(modes), isSigned>, floatTileBytes>...,
             runOf<bc6hReservedTile, floatTileBytes>}};
    return table;
}
template <bool isSigned>
constexpr auto bc6hRuns = makeBc6hRuns<isSigned>(std::make_index_sequence<14>());

// Rows of bc6Modes by the low five bits of a block, of which the first two modes take two; 14 for reserved blocks.
struct Bc6ModeRows {
    std::uint8_t row[32];
};
constexpr Bc6ModeRows bc6ModeRows = [] {
    Bc6ModeRows rows{};
    for (unsigned value = 0; value < 32; ++value) {
        const unsigned low = value & 3;
        const unsigned high = value >> 2;
        rows.row[value] = static_cast<std::uint8_t>(low < 2 ? low : low == 2 ? 2 + high : high < 4 ? 10 + high : 14);
    }
    return rows;
}();

template <bool isSigned>
KPX_TARGET void bc6hStrip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    decodeByModes<15, floatTileBytes>(blocks, count, out, rowBytes, bc6hRuns<isSigned>.runs,
                                      [](unsigned char first) { return bc6ModeRows.row[first & 31]; });
}

// Rows. What remains of a row after whole vectors goes to the plain kernels.

// What is left of a row from pixel x on.
inline kpx::PixelRow restOf(const kpx::PixelRow& row, std::size_t x, std::size_t bytesPerPixel) {
    return {row.pixels + x * bytesPerPixel, row.count - x, row.next};
}

// Brings bytes of the next row nearer, as many as are read of this row meanwhile.
template <std::size_t bytes>
KPX_TARGET inline void fetchNext(const kpx::PixelRow& row, std::size_t at) {
    for (std::size_t line = 0; line < bytes; line += 64) fetch(row.next + at + line);
}

template <typename Unit>
KPX_TARGET void split2(const kpx::PixelRow& row, Unit* const* rows) {
    kpx::splitUnits2(reinterpret_cast<const Unit*>(row.pixels), row.count, rows[0], rows[1]);
}
KPX_TARGET void splitFloats3(const kpx::PixelRow& row, float* const* rows) {
    kpx::splitUnits3(reinterpret_cast<const float*>(row.pixels), row.count, rows[0], rows[1], rows[2]);
}

constexpr std::size_t laneBytes = 16;

// Lane 0 takes the bytes from pixels, lane 1 those that lie apart bytes further, 16 at a time for each of the vectors.
template <int vectors>
KPX_TARGET inline void loadApart(const void* pixels, std::size_t apart, Wide (&to)[vectors]) {
    const auto* from = static_cast<const unsigned char*>(pixels);
    for (std::size_t i = 0; i < vectors; ++i) to[i] = loadLanes(from + i * laneBytes, from + apart + i * laneBytes);
}

// Transposes the 4 by 4 words of each lane.
KPX_TARGET inline void transpose(Wide (&w)[4]) {
    const Wide low01 = unpackLow32(w[0], w[1]);
    const Wide low23 = unpackLow32(w[2], w[3]);
    const Wide high01 = unpackHigh32(w[0], w[1]);
    const Wide high23 = unpackHigh32(w[2], w[3]);
    w[0] = unpackLow64(low01, low23);
    w[1] = unpackHigh64(low01, low23);
    w[2] = unpackLow64(high01, high23);
    w[3] = unpackHigh64(high01, high23);
}

template <int channels>
KPX_TARGET inline void splitFourBytes(const kpx::PixelRow& row, unsigned char* const* rows) {
    constexpr LaneBytes byChannel{{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
    std::size_t x = 0;
    for (; x + 32 <= row.count; x += 32) {
        fetchNext<128>(row, 4 * x);
        Wide w[4];
        loadApart(row.pixels + 4 * x, 64, w);
        for (Wide& four : w) four = shuffle8(four, loadTwice(&byChannel));
        transpose(w);
        for (int c = 0; c < channels; ++c) store(rows[c] + x, w[c]);
    }
    unsigned char* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, channels == 4 ? rows[3] + x : nullptr};
    kpx::plainKernels.splitBytes4(restOf(row, x, 4), rest);
}
KPX_TARGET void splitBytes4(const kpx::PixelRow& row, unsigned char* const* rows) {
    if (rows[3] != nullptr) {
        splitFourBytes<4>(row, rows);
    } else {
        splitFourBytes<3>(row, rows);
    }
}

// From which bytes of vector v the sixteen bytes of a channel come, of pixels of three bytes.
constexpr LaneBytes threeByteOrder(int vector, int channel) {
    LaneBytes order{};
    for (int i = 0; i < 16; ++i) {
        const int from = 3 * i + channel - 16 * vector;
        order.byte[i] = from >= 0 && from < 16 ? static_cast<std::uint8_t>(from) : none;
    }
    return order;
}
constexpr LaneBytes threeByteOrders[3][3] = {
    {threeByteOrder(0, 0), threeByteOrder(0, 1), threeByteOrder(0, 2)},
    {threeByteOrder(1, 0), threeByteOrder(1, 1), threeByteOrder(1, 2)},
    {threeByteOrder(2, 0), threeByteOrder(2, 1), threeByteOrder(2, 2)},
};
KPX_TARGET void splitBytes3(const kpx::PixelRow& row, unsigned char* const* rows) {
    std::size_t x = 0;
    for (; x + 32 <= row.count; x += 32) {
        fetchNext<96>(row, 3 * x);
        Wide w[3];
        loadApart(row.pixels + 3 * x, 48, w);
        for (int c = 0; c < 3; ++c) {
            store(rows[c] + x, shuffle8(w[0], loadTwice(&threeByteOrders[0][c])) |
                                   shuffle8(w[1], loadTwice(&threeByteOrders[1][c])) |
                                   shuffle8(w[2], loadTwice(&threeByteOrders[2][c])));
        }
    }
    unsigned char* const rest[3] = {rows[0] + x, rows[1] + x, rows[2] + x};
    kpx::plainKernels.splitBytes3(restOf(row, x, 3), rest);
}

KPX_TARGET void splitFloats4(const kpx::PixelRow& row, float* const* rows) {
    std::size_t x = 0;
    for (; x + 8 <= row.count; x += 8) {
        fetchNext<128>(row, 16 * x);
        Wide w[4];
        loadApart(row.pixels + 16 * x, 64, w);
        transpose(w);
        for (int c = 0; c < 4; ++c) store(rows[c] + x, w[c]);
    }
    float* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x};
    kpx::plainKernels.splitFloats4(restOf(row, x, 16), rest);
}

// 32 pixels of 2 or 4 bytes as words of 32 bits: vector v holds pixels 4v to 4v + 3, and 16 further on.
template <std::size_t bytesPerPixel>
KPX_TARGET inline void loadPixels(const unsigned char* pixels, Wide (&words)[4]) {
    if constexpr (bytesPerPixel == 4) {
        loadApart(pixels, 64, words);
    } else {
        Wide halves[2];
        loadApart(pixels, 32, halves);
        for (int i = 0; i < 2; ++i) {
            words[2 * i] = unpackLow16(halves[i], zero());
            words[2 * i + 1] = unpackHigh16(halves[i], zero());
        }
    }
}

KPX_TARGET inline Wide scaleField(Wide pixel, const kpx::MaskField& field) {
    const Wide q = shiftRight32(pixel, field.fieldShift) & spread32(static_cast<int>(field.fieldMask));
    return shiftRight32<24>(mulLow32(q, spread32(static_cast<int>(field.multiplier))));
}

template <std::size_t bytesPerPixel>
KPX_TARGET inline void extractFields(const kpx::PixelRow& row, const kpx::MaskField* fields, std::size_t fieldCount,
                                     unsigned char* const* rows) {
    std::size_t x = 0;
    for (; x + 32 <= row.count; x += 32) {
        fetchNext<32 * bytesPerPixel>(row, bytesPerPixel * x);
        Wide words[4];
        loadPixels<bytesPerPixel>(row.pixels + bytesPerPixel * x, words);
        for (std::size_t f = 0; f < fieldCount; ++f) {
            const Wide low = packWords(scaleField(words[0], fields[f]), scaleField(words[1], fields[f]));
            const Wide high = packWords(scaleField(words[2], fields[f]), scaleField(words[3], fields[f]));
            store(rows[f] + x, packBytes(low, high));
        }
    }
    unsigned char* rest[4] = {};
    for (std::size_t f = 0; f < fieldCount; ++f) rest[f] = rows[f] + x;
    kpx::plainKernels.extractMasks(restOf(row, x, bytesPerPixel), bytesPerPixel, fields, fieldCount, rest);
}

// Fields that are no fields of up to 12 bits in a row have only the division. A mask of 0 has the multiplier 0, which
// gives 0 as it should.
KPX_TARGET void extractMasks(const kpx::PixelRow& row, std::size_t bytesPerPixel, const kpx::MaskField* fields,
                             std::size_t fieldCount, unsigned char* const* rows) {
    const bool multiplied = std::all_of(fields, fields + fieldCount, [](const kpx::MaskField& field) {
        return field.multiplier != 0 || field.mask == 0;
    });
    if (multiplied && bytesPerPixel == 4) {
        extractFields<4>(row, fields, fieldCount, rows);
    } else if (multiplied && bytesPerPixel == 2) {
        extractFields<2>(row, fields, fieldCount, rows);
    } else {
        kpx::plainKernels.extractMasks(row, bytesPerPixel, fields, fieldCount, rows);
    }
}

KPX_TARGET inline Wide widenHalfs(Wide words) {
    const Wide magnitude = words & spread32(0x7FFF);
    const Wide sign = shiftLeft32<16>(words & spread32(0x8000));
    const Wide normal = add32(shiftLeft32<13>(magnitude), spread32(112 << 23));
    const Wide subnormal = greater32(spread32(0x400), magnitude);
    return choose(normal, scaledFloats(magnitude, 0x1p-24F), subnormal) | sign;
}

KPX_TARGET void halfsToFloats(const unsigned char* halfs, std::size_t count, float* out) {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const Wide words = load(halfs + 2 * i);
        storeLanes(out + i, out + i + 8, widenHalfs(unpackLow16(words, zero())));
        storeLanes(out + i + 4, out + i + 12, widenHalfs(unpackHigh16(words, zero())));
    }
    kpx::plainKernels.halfsToFloats(halfs + 2 * i, count - i, out + i);
}

// The packed words are rare, and the plain loops are fast enough.
void r11g11b10ToFloats(const unsigned char* words, std::size_t count, float* out) {
    kpx::plainKernels.r11g11b10ToFloats(words, count, out);
}
void r9g9b9e5ToFloats(const unsigned char* words, std::size_t count, float* out) {
    kpx::plainKernels.r9g9b9e5ToFloats(words, count, out);
}

// Reads run ahead of writes, so that out may be the start of values.
KPX_TARGET void highBytes(const unsigned char* values, std::size_t count, unsigned char* out) {
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        Wide words[2];
        loadApart(values + 2 * i, 32, words);
        store(out + i, packBytes(shiftRight16<8>(words[0]), shiftRight16<8>(words[1])));
    }
    kpx::plainKernels.highBytes(values + 2 * i, count - i, out + i);
}

KPX_TARGET void snormToUnorm(unsigned char* bytes, std::size_t count) {
    kpx::unsignBytes(bytes, count);
}

constexpr kpx::KernelSet makeWideSet(const char* name, bool (*runsHere)()) {
    return {
        name,
        runsHere,
        {nullptr, bc1Strip, bc2Strip, bc2PremultipliedStrip, bc3Strip, bc3PremultipliedStrip, bc4UnsignedStrip,
         bc4SignedStrip, bc5UnsignedStrip, bc5SignedStrip, bc6hStrip<false>, bc6hStrip<true>, bc7Strip},
        split2<unsigned char>,
        splitBytes3,
        splitBytes4,
        split2<float>,
        splitFloats3,
        splitFloats4,
        extractMasks,
        halfsToFloats,
        r11g11b10ToFloats,
        r9g9b9e5ToFloats,
        highBytes,
        snormToUnorm,
    };
}

}  // namespace
