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

// Rows. What remains of a row after whole vectors goes to the plain kernels.

template <typename Unit>
KPX_TARGET void split2(const Unit* pixels, std::size_t count, Unit* const* rows) {
    kpx::splitUnits2(pixels, count, rows[0], rows[1]);
}
KPX_TARGET void splitFloats3(const float* pixels, std::size_t count, float* const* rows) {
    kpx::splitUnits3(pixels, count, rows[0], rows[1], rows[2]);
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
KPX_TARGET inline void splitFourBytes(const unsigned char* pixels, std::size_t count, unsigned char* const* rows) {
    constexpr LaneBytes byChannel{{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        Wide w[4];
        loadApart(pixels + 4 * x, 64, w);
        for (Wide& four : w) four = shuffle8(four, loadTwice(&byChannel));
        transpose(w);
        for (int c = 0; c < channels; ++c) store(rows[c] + x, w[c]);
    }
    unsigned char* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, channels == 4 ? rows[3] + x : nullptr};
    kpx::plainKernels.splitBytes4(pixels + 4 * x, count - x, rest);
}
KPX_TARGET void splitBytes4(const unsigned char* pixels, std::size_t count, unsigned char* const* rows) {
    if (rows[3] != nullptr) {
        splitFourBytes<4>(pixels, count, rows);
    } else {
        splitFourBytes<3>(pixels, count, rows);
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
KPX_TARGET void splitBytes3(const unsigned char* pixels, std::size_t count, unsigned char* const* rows) {
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        Wide w[3];
        loadApart(pixels + 3 * x, 48, w);
        for (int c = 0; c < 3; ++c) {
            store(rows[c] + x, shuffle8(w[0], loadTwice(&threeByteOrders[0][c])) |
                                   shuffle8(w[1], loadTwice(&threeByteOrders[1][c])) |
                                   shuffle8(w[2], loadTwice(&threeByteOrders[2][c])));
        }
    }
    unsigned char* const rest[3] = {rows[0] + x, rows[1] + x, rows[2] + x};
    kpx::plainKernels.splitBytes3(pixels + 3 * x, count - x, rest);
}

KPX_TARGET void splitFloats4(const float* pixels, std::size_t count, float* const* rows) {
    std::size_t x = 0;
    for (; x + 8 <= count; x += 8) {
        Wide w[4];
        loadApart(pixels + 4 * x, 64, w);
        transpose(w);
        for (int c = 0; c < 4; ++c) store(rows[c] + x, w[c]);
    }
    float* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x};
    kpx::plainKernels.splitFloats4(pixels + 4 * x, count - x, rest);
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
KPX_TARGET inline void extractFields(const unsigned char* pixels, std::size_t count, const kpx::MaskField* fields,
                                     std::size_t fieldCount, unsigned char* const* rows) {
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        Wide words[4];
        loadPixels<bytesPerPixel>(pixels + bytesPerPixel * x, words);
        for (std::size_t f = 0; f < fieldCount; ++f) {
            const Wide low = packWords(scaleField(words[0], fields[f]), scaleField(words[1], fields[f]));
            const Wide high = packWords(scaleField(words[2], fields[f]), scaleField(words[3], fields[f]));
            store(rows[f] + x, packBytes(low, high));
        }
    }
    unsigned char* rest[4] = {};
    for (std::size_t f = 0; f < fieldCount; ++f) rest[f] = rows[f] + x;
    kpx::plainKernels.extractMasks(pixels + bytesPerPixel * x, count - x, bytesPerPixel, fields, fieldCount, rest);
}

// Fields that are no fields of up to 12 bits in a row have only the division. A mask of 0 has the multiplier 0, which
// gives 0 as it should.
KPX_TARGET void extractMasks(const unsigned char* pixels, std::size_t count, std::size_t bytesPerPixel,
                             const kpx::MaskField* fields, std::size_t fieldCount, unsigned char* const* rows) {
    const bool multiplied = std::all_of(fields, fields + fieldCount, [](const kpx::MaskField& field) {
        return field.multiplier != 0 || field.mask == 0;
    });
    if (multiplied && bytesPerPixel == 4) {
        extractFields<4>(pixels, count, fields, fieldCount, rows);
    } else if (multiplied && bytesPerPixel == 2) {
        extractFields<2>(pixels, count, fields, fieldCount, rows);
    } else {
        kpx::plainKernels.extractMasks(pixels, count, bytesPerPixel, fields, fieldCount, rows);
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
