// Decodes BC1 to BC5 two blocks at a time, one per lane. Palettes are computed by exact multiplications instead of
// divisions; shuffles pick the texels from them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "blocks/wide/lanes.h"

namespace {

// Stores row r of both tiles, side by side.
KPX_INLINE void storeRows(unsigned char* out, std::size_t rowBytes, const Wide (&rows)[4]) {
    for (std::size_t r = 0; r < 4; ++r) store(out + r * rowBytes, rows[r]);
}

// Stores four planes, 16 bytes of a channel per lane, as rows of texels a, r, g, b.
KPX_INLINE void storePlanes(unsigned char* out, std::size_t rowBytes, Wide a, Wide r, Wide g, Wide b) {
    const Wide ar0 = unpackLow8(a, r);
    const Wide ar1 = unpackHigh8(a, r);
    const Wide gb0 = unpackLow8(g, b);
    const Wide gb1 = unpackHigh8(g, b);
    storeRows(out, rowBytes,
              {unpackLow16(ar0, gb0), unpackHigh16(ar0, gb0), unpackLow16(ar1, gb1), unpackHigh16(ar1, gb1)});
}

// Returns the four palette colours of a BC1 colour block, which is bytes 0 to 7 of each lane.
//
// Widening a channel c of n bits to floor(c x 255 / (2^n - 1)) takes two multiplications:
// 1. The first aligns the channel to c << 4 (n = 5) or c << 3 (n = 6).
// 2. The second multiplies by s and shifts right by 16. n = 5: s = ceil(255 / 31 x 2^16 / 16) = 33693. n = 6:
//    s = ceil(255 / 63 x 2^16 / 8) = 33159. Since s is rounded up by less than 1 and the aligned channel is at most
//    63 << 3 = 504, the result is too large by less than 504 / 2^16 = 0.008.
// 3. Unless the quotient is whole, the next whole number is at least 1 / 63 = 0.015 above it. The error is smaller, so
//    the whole part is right.
// The blends divide sums of at most 765 by 3 in the same way: 21846 / 2^16 exceeds 1 / 3 by 0.0000102, so the result is
// too large by at most 0.008, less than 1 / 3.
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

// Stores tiles from colour blocks in four-colour mode (bytes 0 to 7 of a lane) and planes of alpha.
KPX_INLINE void storeColourAndAlpha(unsigned char* out, std::size_t rowBytes, Wide colourBlock, Wide alpha) {
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

// Premultiplied colour: a channel v becomes floor(256 x v / a), at most 255; alpha 0 keeps v.
//
// Instead of dividing, v is multiplied by R = ceil(2^24 / a) and shifted right by 16:
// 1. R = 2^24 / a + e with 0 <= e < 1, so v x R / 2^16 = 256 x v / a + v x e / 2^16.
// 2. 256 x v / a is a multiple of 1 / a: unless it is whole, the next whole number is at least 1 / a above it.
// 3. v x e / 2^16 < v / 2^16 < 1 / a, since v x a <= 255 x 255 < 2^16: the sum has the same whole part.
// Alpha 0 has R = 2^16. R of alpha 1 is 2^24, so that R >> 16 = 256 still fits a word.
//
// whole is R >> 16, rest is R mod 2^16. Element 0 is for texels 0 to 7 of each lane, element 1 for texels 8 to 15.
struct Reciprocals {
    Wide whole[2], rest[2];
};

// Returns a plane of a channel, divided by its alphas.
KPX_INLINE Wide dividePlane(Wide plane, const Reciprocals& by) {
    const Wide v[2] = {unpackLow8(plane, zero()), unpackHigh8(plane, zero())};
    Wide quotients[2];
    for (int i = 0; i < 2; ++i) {
        quotients[i] = min16(add16(mulLow16(v[i], by.whole[i]), mulHigh16(v[i], by.rest[i])), spread16(255));
    }
    return packBytes(quotients[0], quotients[1]);
}

// Returns the sixteen 2-bit indices in bytes 4 to 7 of each lane as bytes of 4 x index.
KPX_INLINE Wide fourfoldIndices(Wide block) {
    constexpr LaneBytes rows01{
        {4, zeroByte, 4, zeroByte, 4, zeroByte, 4, zeroByte, 5, zeroByte, 5, zeroByte, 5, zeroByte, 5, zeroByte}};
    constexpr LaneBytes rows23{
        {6, zeroByte, 6, zeroByte, 6, zeroByte, 6, zeroByte, 7, zeroByte, 7, zeroByte, 7, zeroByte, 7, zeroByte}};
    // Multiplying shifts the two bits of column c to the top of a word.
    constexpr LaneWords lift{{1 << 14, 1 << 12, 1 << 10, 1 << 8, 1 << 14, 1 << 12, 1 << 10, 1 << 8}};
    const Wide low = mulLow16(shuffle8(block, loadTwice(&rows01)), loadTwice(&lift));
    const Wide high = mulLow16(shuffle8(block, loadTwice(&rows23)), loadTwice(&lift));
    return shiftLeft16<2>(packBytes(shiftRight16<14>(low), shiftRight16<14>(high)));
}

// Like storeColourAndAlpha, but divides the colours by alpha.
KPX_INLINE void storeDividedColour(unsigned char* out, std::size_t rowBytes, Wide colourBlock, Wide alpha,
                                   const Reciprocals& by) {
    const Wide palette = colourPalette<false, false>(colourBlock);
    const Wide indices = fourfoldIndices(colourBlock);
    const Wide r = dividePlane(shuffle8(palette, indices | spread8(1)), by);
    const Wide g = dividePlane(shuffle8(palette, indices | spread8(2)), by);
    const Wide b = dividePlane(shuffle8(palette, indices | spread8(3)), by);
    storePlanes(out, rowBytes, alpha, r, g, b);
}

// The reciprocals R of the sixteen alphas of BC2, 17 x n: a lookup table for each of the three bytes of R.
struct NibbleReciprocals {
    LaneBytes byte[3];
};
constexpr NibbleReciprocals nibbleReciprocals = [] {
    NibbleReciprocals tables{};
    for (unsigned n = 0; n < 16; ++n) {
        const unsigned reciprocal = n == 0 ? 1U << 16 : ((1U << 24) + 17 * n - 1) / (17 * n);
        for (int b = 0; b < 3; ++b) tables.byte[b].byte[n] = static_cast<std::uint8_t>(reciprocal >> (8 * b));
    }
    return tables;
}();

KPX_INLINE Reciprocals reciprocalsOfNibbles(Wide nibbles) {
    const Wide low = shuffle8(loadTwice(&nibbleReciprocals.byte[0]), nibbles);
    const Wide middle = shuffle8(loadTwice(&nibbleReciprocals.byte[1]), nibbles);
    const Wide high = shuffle8(loadTwice(&nibbleReciprocals.byte[2]), nibbles);
    return {{unpackLow8(high, zero()), unpackHigh8(high, zero())}, {unpackLow8(low, middle), unpackHigh8(low, middle)}};
}

template <bool premultiplied>
KPX_INLINE void bc2Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    const Wide nibble = spread8(15);
    const Wide values = unpackLow8(block & nibble, shiftRight16<4>(block) & nibble);
    const Wide alpha = values | shiftLeft16<4>(values);  // x 17
    if constexpr (premultiplied) {
        storeDividedColour(out, rowBytes, highHalf(block), alpha, reciprocalsOfNibbles(values));
    } else {
        storeColourAndAlpha(out, rowBytes, highHalf(block), alpha);
    }
}

// The weights of interpolated channels. Their sums are divided by multiplication: sum / 7 = sum x 9363 >> 16 for sums
// up to 1785, and sum / 5 = sum x 13108 >> 16 up to 1275. The multipliers exceed 2^16 / 7 and 2^16 / 5 by less than 1,
// so the result is too large by less than 1785 / 2^16 = 0.028, less than 1 / 7.
constexpr LaneBytes weights7{{7, 0, 0, 7, 6, 1, 5, 2, 4, 3, 3, 4, 2, 5, 1, 6}};
constexpr LaneBytes weights5{{5, 0, 0, 5, 4, 1, 3, 2, 2, 3, 1, 4, 0, 0, 0, 0}};
constexpr int seventh = 9363;
constexpr int fifth = 13108;
constexpr LaneWords lastEntry{{0, 0, 0, 0, 0, 0, 0, 255}};
constexpr LaneBytes endpointPairs{{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1}};
// Shuffle masks that copy an endpoint to the high byte of every word.
constexpr LaneBytes firstEndpoint{
    {zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0, zeroByte, 0}};
constexpr LaneBytes secondEndpoint{
    {zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1, zeroByte, 1}};

// Returns the eight entries of a palette, in both halves of each lane.
template <bool equalIsSeven>
KPX_INLINE Wide unsignedPalette(Wide block) {
    const Wide pairs = shuffle8(block, loadTwice(&endpointPairs));
    const Wide eight = mulHigh16(mulAddUnsigned8(pairs, loadTwice(&weights7)), spread16(seventh));
    const Wide six = mulHigh16(mulAddUnsigned8(pairs, loadTwice(&weights5)), spread16(fifth)) | loadTwice(&lastEntry);
    // Shifted right by 1, the endpoints are positive signed words.
    const Wide e0 = shiftRight16<1>(shuffle8(block, loadTwice(&firstEndpoint)));
    const Wide e1 = shiftRight16<1>(shuffle8(block, loadTwice(&secondEndpoint)));
    const Wide entries = equalIsSeven ? choose(eight, six, greater16(e1, e0)) : choose(six, eight, greater16(e0, e1));
    return packBytes(entries, entries);
}

// Divides the magnitudes, so that results are truncated toward zero, then restores the signs. A value v becomes the
// byte v + 128.
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

// Returns, as bytes, the sixteen 3-bit indices that start at bit 16 of each lane.
KPX_INLINE Wide threeBitIndices(Wide block) {
    constexpr LaneBytes low{{2, 3, 2, 3, 2, 3, 3, 4, 3, 4, 3, 4, 4, 5, 4, 5}};
    constexpr LaneBytes high{{5, 6, 5, 6, 5, 6, 6, 7, 6, 7, 6, 7, 7, zeroByte, 7, zeroByte}};
    constexpr LaneWords lift{{1 << 13, 1 << 10, 1 << 7, 1 << 12, 1 << 9, 1 << 6, 1 << 11, 1 << 8}};
    const Wide first = mulLow16(shuffle8(block, loadTwice(&low)), loadTwice(&lift));
    const Wide second = mulLow16(shuffle8(block, loadTwice(&high)), loadTwice(&lift));
    return packBytes(shiftRight16<13>(first), shiftRight16<13>(second));
}

// Returns R of four alphas per lane, as 32-bit words: ceil(2^24 / a) = floor((2^24 - 1) / a) + 1. The float quotient
// (2^24 - 1) / a has the right whole part: unless it is whole, it is at least 1 / a below the next whole number, and
// rounding adds less, since a quotient below 2^24 / a has units in the last place of less than 2 / a.
KPX_INLINE Wide reciprocalsOfWords(Wide alphas) {
    return add32(truncatedFloats(floatQuotients(0x1p24F - 1.0F, alphas)), spread32(1));
}

// Returns the reciprocals of each texel's alpha, from the eight alphas of a palette and the indices as bytes.
KPX_INLINE Reciprocals reciprocalsOfPalette(Wide palette, Wide indices) {
    const Wide alphas = unpackLow8(palette, zero());
    const Wide words = alphas | (equal16(alphas, zero()) & spread16(256));
    const Wide first = reciprocalsOfWords(unpackLow16(words, zero()));
    const Wide second = reciprocalsOfWords(unpackHigh16(words, zero()));
    const Wide low = spread32(0xFFFF);
    const Wide whole = packWords(shiftRight32<16>(first), shiftRight32<16>(second));
    const Wide rest = packWords(first & low, second & low);
    // Shuffle masks that pick both bytes of the word of each index.
    const Wide twofold = shiftLeft16<1>(indices);
    const Wide next = twofold | spread8(1);
    const Wide order[2] = {unpackLow8(twofold, next), unpackHigh8(twofold, next)};
    return {{shuffle8(whole, order[0]), shuffle8(whole, order[1])},
            {shuffle8(rest, order[0]), shuffle8(rest, order[1])}};
}

template <bool premultiplied>
KPX_INLINE void bc3Pair(const unsigned char* blocks, unsigned char* out, std::size_t rowBytes) {
    const Wide block = load(blocks);
    const Wide palette = unsignedPalette<true>(block);
    const Wide indices = threeBitIndices(block);
    const Wide alpha = shuffle8(palette, indices);
    if constexpr (premultiplied) {
        storeDividedColour(out, rowBytes, highHalf(block), alpha, reciprocalsOfPalette(palette, indices));
    } else {
        storeColourAndAlpha(out, rowBytes, highHalf(block), alpha);
    }
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

// Decodes a strip of blocks, two at a time. An odd last block goes through scratch memory.
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
