// The block kernels for two 128-bit lanes, written once over the operations of wideSse41.h or wideAvx2.h, one of which
// the including file has included before. BC1 to BC5 decode two blocks side by side, one a lane; BC7 holds the sixteen
// texels of one block in words; BC6H holds two palette entries. Every kernel writes what its plain twin writes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

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

KPX_TARGET void divideStrip(std::size_t count, unsigned char* out, std::size_t rowBytes) {
    for (std::size_t r = 0; r < 4; ++r) kpx::divideTexels(out + r * rowBytes, 4 * count);
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
KPX_TARGET inline Wide weightPairs(std::uint64_t indexBits, const kpx::FieldGather& fields, const kpx::WideWords& width,
                                   const std::uint8_t* weights) {
    const Wide indices = mulHigh16(gather(spread64(indexBits), fields), load(&width));
    const Wide w = shuffle8(load(weights), indices);
    return add16(sub16(shiftLeft16<8>(w), w), spread16(64));
}

// One channel of all sixteen texels: (e0 x (64 - w) + e1 x w + 32) >> 6, the shift by a rounding multiplication with
// 2^15 / 64.
KPX_TARGET inline Wide interpolate(Wide endpoints, Wide subsets, Wide pairs) {
    return mulRound16(mulAddBytes(shuffle8(endpoints, subsets), pairs), spread16(512));
}

KPX_TARGET inline void bc7Tile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    const std::uint64_t low = load64(block);
    const auto mode = static_cast<unsigned>(__builtin_ctz(static_cast<unsigned>(low & 0xFF) | 0x100U));
    const kpx::Bc7Wide& layout = kpx::bc7Wide[mode];
    const std::uint64_t header = low >> (mode + 1);
    const std::size_t partition = header & layout.partitionMask;

    // Endpoints, lifted to the top of their words; p-bits below them; then the widening to 8 bits by replication.
    const Wide lanes = loadTwice(block);
    const Wide pBits = gather(lanes, layout.pBits) & load(&layout.pBit);
    Wide ends[2];
    for (int half = 0; half < 2; ++half) {
        const Wide stored = (gather(lanes, layout.endpoints[half]) & load(&layout.stored[half])) | pBits;
        const Wide widened = stored | mulHigh16(stored, load(&layout.replicate[half]));
        ends[half] = shiftRight16<8>(widened | load(&layout.filled[half]));
    }
    const Wide endpoints = packBytes(ends[0], ends[1]);  // lanes R, B and G, A

    std::uint64_t primary = load64(block + layout.primaryByte) >> layout.primaryShift;
    primary += primary & layout.primaryAnchor;
    primary += primary & layout.anchors[partition][0];
    primary += primary & layout.anchors[partition][1];
    Wide colourPairs = weightPairs(primary, layout.primary, layout.primaryWidth, layout.primaryWeights);
    Wide alphaPairs = colourPairs;
    if (layout.hasSecondary) {
        std::uint64_t secondary = load64(block + 8) >> layout.secondaryShift;
        secondary += secondary & layout.secondaryAnchor;
        alphaPairs = weightPairs(secondary, layout.secondary, layout.secondaryWidth, layout.secondaryWeights);
        // Mode 4 alone has a selection bit, the one after its rotation.
        if (mode == 4 && (header >> 2 & 1) != 0) std::swap(colourPairs, alphaPairs);
    }

    const Wide subsets = load(&layout.subsets[partition]);
    const Wide r = interpolate(spreadHalf<0>(endpoints), subsets, colourPairs);
    const Wide b = interpolate(spreadHalf<1>(endpoints), subsets, colourPairs);
    const Wide g = interpolate(spreadHalf<2>(endpoints), subsets, colourPairs);
    const Wide a = interpolate(spreadHalf<3>(endpoints), subsets, alphaPairs);

    // Lane 0 holds rows 0 and 1, lane 1 rows 2 and 3.
    constexpr LaneBytes interleave{{0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15}};
    const Wide ar = shuffle8(packBytes(a, r), loadTwice(&interleave));
    const Wide gb = shuffle8(packBytes(g, b), loadTwice(&interleave));
    Wide rows02 = unpackLow16(ar, gb);
    Wide rows13 = unpackHigh16(ar, gb);
    if (layout.hasSecondary) {
        const Wide rotation = load(&kpx::bc7Rotations[header & 3]);
        rows02 = shuffle8(rows02, rotation);
        rows13 = shuffle8(rows13, rotation);
    }
    storeLanes(out, out + 2 * rowBytes, rows02);
    storeLanes(out + rowBytes, out + 3 * rowBytes, rows13);
}

KPX_TARGET void bc7Strip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    for (std::size_t i = 0; i < count; ++i) bc7Tile(blocks + 16 * i, out + tileRowBytes * i, rowBytes);
}

constexpr std::size_t pixelBytes = 16;

// The endpoint channels of a BC6H block, in order E0 to E3, each R, G, B and 0.
struct Bc6Endpoints {
    alignas(32) std::int32_t value[16];
};

inline std::int32_t signExtended(std::int32_t value, int lift) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << lift) >> lift;
}

// Sign extension and the inverse of the transform.
template <bool isSigned>
KPX_TARGET inline void finishEndpoints(Bc6Endpoints& ends, const kpx::Bc6Wide& mode) {
    const int lift = 32 - mode.precision;
    if (isSigned) {
        for (int c = 0; c < 3; ++c) ends.value[c] = signExtended(ends.value[c], lift);
    }
    if (!isSigned && !mode.transformed) return;
    for (int e = 4; e < 16; ++e) ends.value[e] = signExtended(ends.value[e], mode.deltaLift[e % 4]);
    if (!mode.transformed) return;
    const std::int32_t mask = static_cast<std::int32_t>((1U << mode.precision) - 1);
    for (int e = 4; e < 16; ++e) {
        const std::int32_t whole = (ends.value[e] + ends.value[e % 4]) & mask;
        ends.value[e] = isSigned ? signExtended(whole, lift) : whole;
    }
}

// All channels widened to 16 bits, or to 15 bits and a sign.
template <bool isSigned>
KPX_TARGET inline void unquantize(Bc6Endpoints& ends, int precision) {
    if (precision >= (isSigned ? 16 : 15)) return;
    if (!isSigned) {
        const std::int32_t maximum = (1 << precision) - 1;
        for (std::int32_t& value : ends.value) {
            const std::int32_t widened = ((value << 16) + 0x8000) >> precision;
            value = value == 0 ? 0 : value == maximum ? 0xFFFF : widened;
        }
        return;
    }
    const std::int32_t maximum = (1 << (precision - 1)) - 1;
    for (std::int32_t& value : ends.value) {
        const std::int32_t magnitude = value < 0 ? -value : value;
        const std::int32_t widened = ((magnitude << 15) + 0x4000) >> (precision - 1);
        const std::int32_t result = magnitude == 0 ? 0 : magnitude >= maximum ? 0x7FFF : widened;
        value = value < 0 ? -result : result;
    }
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

// The colours of one region, as many as there are weights; alpha is 1.0.
template <bool isSigned>
KPX_TARGET inline void makePalette(const std::int32_t* ends, const std::uint16_t* weights, int count, float* palette) {
    alignas(16) constexpr std::uint32_t alphaMask[4] = {0, 0, 0, 0xFFFFFFFF};
    const Wide e0 = loadTwice(ends);
    const Wide difference = sub32(loadTwice(ends + 4), e0);
    // (64 - w) x e0 + w x e1 + 32 = 64 x e0 + 32 + w x (e1 - e0)
    const Wide base = add32(shiftLeft32<6>(e0), spread32(32));
    const Wide one = spread32(0x3F800000);
    for (int i = 0; i < count; i += 2) {
        const std::int32_t w0 = weights[i];
        const std::int32_t w1 = weights[i + 1];
        alignas(32) const std::int32_t w[8] = {w0, w0, w0, w0, w1, w1, w1, w1};
        const Wide values = shiftRightSigned32<6>(add32(base, mulLow32(difference, load(w))));
        store(palette + 4 * i, choose(finishColours<isSigned>(values), one, loadTwice(alphaMask)));
    }
}

template <bool isSigned>
KPX_TARGET inline void bc6hTile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    alignas(32) float palette[16][4];
    const kpx::Bc6Wide* mode = kpx::bc6WideByValue[block[0] & 31];
    if (mode == nullptr) {
        const float black[4] = {0.0F, 0.0F, 0.0F, 1.0F};
        for (std::size_t t = 0; t < 16; ++t)
            std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, black, pixelBytes);
        return;
    }
    Bc6Endpoints ends{};
    for (int i = 0; i < mode->runCount; ++i) {
        const kpx::Bc6Gather& run = mode->runs[i];
        const auto bits = static_cast<std::uint32_t>(load64(block + run.firstByte) >> run.shift) & run.mask;
        ends.value[run.field] |= static_cast<std::int32_t>(bits << run.place);
    }
    finishEndpoints<isSigned>(ends, *mode);
    unquantize<isSigned>(ends, mode->precision);

    const auto* entries = reinterpret_cast<const unsigned char*>(palette);
    const std::uint64_t high = load64(block + 8);
    if (mode->twoRegions) {
        const std::size_t partition = high >> 13 & 31;
        makePalette<isSigned>(ends.value, kpx::bcWeights3, 8, palette[0]);
        makePalette<isSigned>(ends.value + 8, kpx::bcWeights3, 8, palette[8]);
        std::uint64_t indices = high >> 18;
        indices += indices & ~std::uint64_t{3};
        indices += indices & kpx::bc6Anchors[partition][0];
        const std::uint8_t* regions = kpx::bcPartitions[0][partition];
        for (std::size_t t = 0; t < 16; ++t) {
            const std::size_t entry = 8 * std::size_t{regions[t]} + (indices >> (3 * t) & 7);
            std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, entries + entry * pixelBytes, pixelBytes);
        }
    } else {
        makePalette<isSigned>(ends.value, kpx::bcWeights4, 16, palette[0]);
        std::uint64_t indices = high >> 1;
        indices += indices & ~std::uint64_t{7};
        for (std::size_t t = 0; t < 16; ++t) {
            const std::size_t entry = indices >> (4 * t) & 15;
            std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, entries + entry * pixelBytes, pixelBytes);
        }
    }
}

template <bool isSigned>
KPX_TARGET void bc6hStrip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    for (std::size_t i = 0; i < count; ++i) bc6hTile<isSigned>(blocks + 16 * i, out + 4 * pixelBytes * i, rowBytes);
}

// Rows, by the compiler's own vector code.

template <typename Unit>
KPX_TARGET void split2(const Unit* pixels, std::size_t count, Unit* const* rows) {
    kpx::splitUnits2(pixels, count, rows[0], rows[1]);
}
template <typename Unit>
KPX_TARGET void split3(const Unit* pixels, std::size_t count, Unit* const* rows) {
    kpx::splitUnits3(pixels, count, rows[0], rows[1], rows[2]);
}
template <typename Unit>
KPX_TARGET void split4(const Unit* pixels, std::size_t count, Unit* const* rows) {
    kpx::splitUnits4(pixels, count, rows[0], rows[1], rows[2], rows[3]);
}
KPX_TARGET void splitBytes4(const unsigned char* pixels, std::size_t count, unsigned char* const* rows) {
    if (rows[3] == nullptr) {
        kpx::splitUnits3Of4(pixels, count, rows[0], rows[1], rows[2]);
    } else {
        kpx::splitUnits4(pixels, count, rows[0], rows[1], rows[2], rows[3]);
    }
}

KPX_TARGET void extractMasks(const unsigned char* pixels, std::size_t count, std::size_t bytesPerPixel,
                             const kpx::MaskField* fields, std::size_t fieldCount, unsigned char* const* rows) {
    for (std::size_t f = 0; f < fieldCount; ++f) {
        if (fields[f].multiplier != 0 && bytesPerPixel == 4) {
            kpx::extractField<std::uint32_t>(pixels, count, fields[f], rows[f]);
        } else if (fields[f].multiplier != 0 && bytesPerPixel == 2) {
            kpx::extractField<std::uint16_t>(pixels, count, fields[f], rows[f]);
        } else {
            kpx::plainKernels.extractMasks(pixels, count, bytesPerPixel, fields + f, 1, rows + f);
        }
    }
}

KPX_TARGET void halfsToFloats(const unsigned char* halfs, std::size_t count, float* out) {
    kpx::widenHalfs(halfs, count, out);
}
KPX_TARGET void r11g11b10ToFloats(const unsigned char* words, std::size_t count, float* out) {
    kpx::plainKernels.r11g11b10ToFloats(words, count, out);
}
KPX_TARGET void r9g9b9e5ToFloats(const unsigned char* words, std::size_t count, float* out) {
    kpx::plainKernels.r9g9b9e5ToFloats(words, count, out);
}
KPX_TARGET void highBytes(const unsigned char* values, std::size_t count, unsigned char* out) {
    kpx::keepHighBytes(values, count, out);
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
        split3<unsigned char>,
        splitBytes4,
        split2<float>,
        split3<float>,
        split4<float>,
        extractMasks,
        halfsToFloats,
        r11g11b10ToFloats,
        r9g9b9e5ToFloats,
        highBytes,
        snormToUnorm,
    };
}

}  // namespace
