// BC1 to BC5 two blocks at a time, one a lane. Palettes are made with exact multiplications in place of divisions, and
// texels are picked from them by shuffles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "blocks/wide/lanes.h"

namespace {

// Both tiles' row r, side by side.
KPX_INLINE void storeRows(unsigned char* out, std::size_t rowBytes, const Wide (&rows)[4]) {
    for (std::size_t r = 0; r < 4; ++r) store(out + r * rowBytes, rows[r]);
}

// Four planes of a tile, 16 bytes of each channel a lane, as rows of texels a, r, g, b.
KPX_INLINE void storePlanes(unsigned char* out, std::size_t rowBytes, Wide a, Wide r, Wide g, Wide b) {
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
KPX_INLINE Wide colourPalette(Wide block) {
    constexpr LaneBytes fieldBytes{
        {zeroByte, zeroByte, 0, 1, 0, 1, zeroByte, 0, zeroByte, zeroByte, 2, 3, 2, 3, zeroByte, 2}};
    constexpr LaneWords fieldMasks{{0, 0xF800, 0x07E0, 0x1F00, 0, 0xF800, 0x07E0, 0x1F00}};
    constexpr LaneWords align{{0, 1 << 9, 1 << 14, 1 << 12, 0, 1 << 9, 1 << 14, 1 << 12}};
    constexpr LaneWords scale{{0, 33693, 33159, 33693, 0, 33693, 33159, 33693}};
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

KPX_INLINE void bc1Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = loadHalves(blocks);
    const Wide palette = colourPalette<true, true>(block);
    const TexelIndices indices = texelIndices(block);
    storeRows(out, rowBytes,
              {pickTexels<0>(palette, indices), pickTexels<1>(palette, indices), pickTexels<2>(palette, indices),
               pickTexels<3>(palette, indices)});
}

// Divides the colours of premultiplied texels (a, r, g, b) by their alpha: 256 x v / a is truncated, and 255 where it
// is more. A float quotient is multiplied, 2^-20 larger than its due, so that the two roundings cannot bring a product
// below its due; products below 256 exceed it by 0.0003, less than the distance 1 / 255 to the next whole number. A
// divisor of 256 stands for the alpha 0 and leaves v as it is.
KPX_INLINE Wide divideTexels(Wide texels) {
    constexpr LaneBytes texelOrder{{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
    const Wide byte = spread32(255);
    const Wide alpha = texels & byte;
    const Wide divisor = alpha | (equal32(alpha, zero()) & spread32(256));
    const Wide factor = floatQuotients(256.0F * (1.0F + 0x1p-20F), divisor);
    // Two of the channels by shuffles, which other ports of a processor do than shifts and conversions.
    constexpr LaneBytes reds{{1, zeroByte, zeroByte, zeroByte, 5, zeroByte, zeroByte, zeroByte, 9, zeroByte, zeroByte,
                              zeroByte, 13, zeroByte, zeroByte, zeroByte}};
    constexpr LaneBytes greens{{2, zeroByte, zeroByte, zeroByte, 6, zeroByte, zeroByte, zeroByte, 10, zeroByte,
                                zeroByte, zeroByte, 14, zeroByte, zeroByte, zeroByte}};
    const Wide r = truncatedFloats(scaledFloats(shuffle8(texels, loadTwice(&reds)), factor));
    const Wide g = truncatedFloats(scaledFloats(shuffle8(texels, loadTwice(&greens)), factor));
    const Wide b = truncatedFloats(scaledFloats(shiftRight32<24>(texels), factor));
    // The packing cuts at 32767, and then at 255.
    return shuffle8(packBytes(packSignedWords(alpha, r), packSignedWords(g, b)), loadTwice(&texelOrder));
}

// Stores tiles from colour blocks (bytes 0 to 7 of a lane, four-colour mode) and planes of alpha.
template <bool premultiplied>
KPX_INLINE void storeColourAndAlpha(unsigned char* out, std::size_t rowBytes, Wide colourBlock, Wide alpha) {
    const Wide palette = colourPalette<false, false>(colourBlock);
    const TexelIndices indices = texelIndices(colourBlock);
    const Wide low = unpackLow8(alpha, zero());
    const Wide high = unpackHigh8(alpha, zero());
    Wide rows[4] = {
        pickTexels<0>(palette, indices) | unpackLow16(low, zero()),
        pickTexels<1>(palette, indices) | unpackHigh16(low, zero()),
        pickTexels<2>(palette, indices) | unpackLow16(high, zero()),
        pickTexels<3>(palette, indices) | unpackHigh16(high, zero()),
    };
    if constexpr (premultiplied) {
        for (Wide& row : rows) row = divideTexels(row);
    }
    storeRows(out, rowBytes, rows);
}

template <bool premultiplied>
KPX_INLINE void bc2Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    const Wide nibble = spread8(15);
    const Wide values = unpackLow8(block & nibble, shiftRight16<4>(block) & nibble);
    storeColourAndAlpha<premultiplied>(out, rowBytes, highHalf(block), values | shiftLeft16<4>(values));  // x 17
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
constexpr LaneBytes firstEndpoint{
    {zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0}};
constexpr LaneBytes secondEndpoint{
    {zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1}};

// Eight bytes, in both halves of each lane.
template <bool equalIsSeven>
KPX_INLINE Wide unsignedPalette(Wide block) {
    const Wide pairs = shuffle8(block, loadTwice(&endpointPairs));
    const Wide eight = mulHigh16(mulAddUnsigned8(pairs, loadTwice(&weights7)), spread16(seventh));
    const Wide six = mulHigh16(mulAddUnsigned8(pairs, loadTwice(&weights5)), spread16(fifth)) | loadTwice(&lastEntry);
    // Halved, endpoints are positive words.
    const Wide e0 = shiftRight16<1>(shuffle8(block, loadTwice(&firstEndpoint)));
    const Wide e1 = shiftRight16<1>(shuffle8(block, loadTwice(&secondEndpoint)));
    const Wide entries = equalIsSeven ? choose(eight, six, greater16(e1, e0)) : choose(six, eight, greater16(e0, e1));
    return packBytes(entries, entries);
}

// Magnitudes are divided and get their sign back, which truncates toward zero; a value v becomes the byte v + 128.
KPX_INLINE Wide signedPalette(Wide block) {
    constexpr LaneWords interpolated{{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 0}};
    const Wide endpoints = maxSigned8(block, spread8(-127));
    const Wide pairs = shuffle8(endpoints, loadTwice(&endpointPairs));
    const Wide sum7 = mulAddSigned8(loadTwice(&weights7), pairs);
    const Wide sum5 = mulAddSigned8(loadTwice(&weights5), pairs);
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
KPX_INLINE Wide threeBitIndices(Wide block) {
    constexpr LaneBytes low{{2, 3, 2, 3, 2, 3, 3, 4, 3, 4, 3, 4, 4, 5, 4, 5}};
    constexpr LaneBytes high{{5, 6, 5, 6, 5, 6, 6, 7, 6, 7, 6, 7, 7, zeroByte, 7, zeroByte}};
    constexpr LaneWords lift{{1 << 13, 1 << 10, 1 << 7, 1 << 12, 1 << 9, 1 << 6, 1 << 11, 1 << 8}};
    const Wide first = mulLow16(shuffle8(block, loadTwice(&low)), loadTwice(&lift));
    const Wide second = mulLow16(shuffle8(block, loadTwice(&high)), loadTwice(&lift));
    return packBytes(shiftRight16<13>(first), shiftRight16<13>(second));
}

template <bool premultiplied>
KPX_INLINE void bc3Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    storeColourAndAlpha<premultiplied>(out, rowBytes, highHalf(block),
                                       shuffle8(unsignedPalette<true>(block), threeBitIndices(block)));
}

template <bool isSigned>
KPX_INLINE Wide channelPlane(Wide block) {
    return shuffle8(isSigned ? signedPalette(block) : unsignedPalette<false>(block), threeBitIndices(block));
}

template <bool isSigned>
KPX_INLINE void bc4Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide grey = channelPlane<isSigned>(loadHalves(blocks));
    storePlanes(out, rowBytes, spread8(-1), grey, grey, grey);
}

template <bool isSigned>
KPX_INLINE void bc5Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    storePlanes(out, rowBytes, spread8(-1), channelPlane<isSigned>(block), channelPlane<isSigned>(highHalf(block)),
                zero());
}

// A strip of blocks, two at a time. A last single block goes through scratch memory.
template <std::size_t blockBytes, auto decodePair>
KPX_TARGET void pairStrip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    for (; count >= 2; count -= 2, blocks += 2 * blockBytes, out += 2 * tileRowBytes) decodePair(blocks, out, rowBytes);
    if (count == 0) return;
    unsigned char twoBlocks[2 * blockBytes] = {};
    unsigned char tiles[4][2 * tileRowBytes];
    std::memcpy(twoBlocks, blocks, blockBytes);
    decodePair(twoBlocks, tiles[0], sizeof tiles[0]);
    for (std::size_t r = 0; r < 4; ++r) std::memcpy(out + r * rowBytes, tiles[r], tileRowBytes);
}

}  // namespace
