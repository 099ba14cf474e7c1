// Converts rows of a file to rows of the picture: palettes, pixel pairs, floats, 16-bit values. The plain kernels
// convert the rest of a row after its last whole vector.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "blocks/kernels.h"
#include "blocks/rowLoops.h"
#include "blocks/wide/lanes.h"
#include "blocks/wide/rows.h"

namespace {

KPX_TARGET void pickByteEntries(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                                unsigned char* pixels) {
    std::size_t x = 0;
    for (; x + 8 <= count; x += 8) store(pixels + 4 * x, pickWords(entries, indices + x));
    kpx::plainKernels.pickByteEntries(indices + x, count - x, entries, pixels + 4 * x);
}

// Sixteen entries fill one lane for each of their bytes.
KPX_TARGET void pickNibbleEntries(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                                  unsigned char* pixels) {
    constexpr LaneBytes byUnit{{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
    Wide units[4];
    for (std::size_t i = 0; i < 4; ++i) units[i] = shuffle8(loadTwice(entries + 16 * i), loadTwice(&byUnit));
    transpose(units);
    const Wide nibble = spread8(15);
    std::size_t x = 0;
    for (; x + 64 <= count; x += 64) {
        const Wide pairs = load(indices + x / 2);
        const Wide first = pairs & nibble;
        const Wide second = shiftRight16<4>(pairs) & nibble;
        const Wide halves[2] = {unpackLow8(first, second), unpackHigh8(first, second)};
        for (std::size_t half = 0; half < 2; ++half) {
            unsigned char* const to = pixels + 4 * x + 64 * half;
            storePixels(to, to + 128, shuffle8(units[0], halves[half]), shuffle8(units[1], halves[half]),
                        shuffle8(units[2], halves[half]), shuffle8(units[3], halves[half]));
        }
    }
    kpx::plainKernels.pickNibbleEntries(indices + x / 2, count - x, entries, pixels + 4 * x);
}

// Returns the bytes of vector `from` of pairs that become vector `to` of pixels.
constexpr LaneBytes pairOrder(bool greenFirst, int to, int from) {
    constexpr int sources[2][6] = {{0, 1, 2, 0, 3, 2}, {1, 0, 3, 1, 2, 3}};
    LaneBytes order{};
    for (int i = 0; i < 16; ++i) {
        const int at = 16 * to + i;
        const int source = 4 * (at / 6) + sources[greenFirst ? 1 : 0][at % 6] - 16 * from;
        order.byte[i] = source >= 0 && source < 16 ? static_cast<std::uint8_t>(source) : zeroByte;
    }
    return order;
}
struct PairOrders {
    LaneBytes first, secondFromFirst, secondFromSecond, third;
};
constexpr PairOrders pairOrders(bool greenFirst) {
    return {pairOrder(greenFirst, 0, 0), pairOrder(greenFirst, 1, 0), pairOrder(greenFirst, 1, 1),
            pairOrder(greenFirst, 2, 1)};
}
constexpr PairOrders orderOfPairs[2] = {pairOrders(false), pairOrders(true)};
KPX_TARGET void expandPairs(const unsigned char* pairs, std::size_t count, bool greenFirst, unsigned char* pixels) {
    const PairOrders& orders = orderOfPairs[greenFirst ? 1 : 0];
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        Wide w[2];
        loadApart(pairs + 2 * x, 32, w);
        unsigned char* const to = pixels + 3 * x;
        storeLanes(to, to + 48, shuffle8(w[0], loadTwice(&orders.first)));
        storeLanes(
            to + 16, to + 64,
            shuffle8(w[0], loadTwice(&orders.secondFromFirst)) | shuffle8(w[1], loadTwice(&orders.secondFromSecond)));
        storeLanes(to + 32, to + 80, shuffle8(w[1], loadTwice(&orders.third)));
    }
    kpx::plainKernels.expandPairs(pairs + 2 * x, count - x, greenFirst, pixels + 3 * x);
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

// Stores three channels of eight pixels, as 32-bit words interleaved by pixel.
KPX_INLINE void storeThrees(float* out, Wide a, Wide b, Wide c) {
    constexpr LaneBytes firstToLast{{zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte,
                                     zeroByte, zeroByte, zeroByte, zeroByte, 0, 1, 2, 3}};
    constexpr LaneBytes lastTwoToFront{
        {4, 5, 6, 7, 8, 9, 10, 11, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte}};
    constexpr LaneBytes firstTwoToBack{
        {zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, 0, 1, 2, 3, 4, 5, 6, 7}};
    constexpr LaneBytes lastToFront{{8, 9, 10, 11, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte, zeroByte,
                                     zeroByte, zeroByte, zeroByte, zeroByte, zeroByte}};
    constexpr LaneBytes threeToBack{{zeroByte, zeroByte, zeroByte, zeroByte, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
    Wide pixels[4] = {a, b, c, zero()};
    transpose(pixels);
    storeLanes(out, out + 12, pixels[0] | shuffle8(pixels[1], loadTwice(&firstToLast)));
    storeLanes(out + 4, out + 16,
               shuffle8(pixels[1], loadTwice(&lastTwoToFront)) | shuffle8(pixels[2], loadTwice(&firstTwoToBack)));
    storeLanes(out + 8, out + 20,
               shuffle8(pixels[2], loadTwice(&lastToFront)) | shuffle8(pixels[3], loadTwice(&threeToBack)));
}

// Exponent and mantissa are adjacent, as in a float.
KPX_TARGET void r11g11b10ToFloats(const unsigned char* words, std::size_t count, float* out) {
    const Wide bias = spread32(112 << 23);
    const Wide elevenBits = spread32(0x7FF << 17);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const Wide word = load(words + 4 * i);
        storeThrees(out + 3 * i, add32(shiftLeft32<17>(word) & elevenBits, bias),
                    add32(shiftLeft32<6>(word) & elevenBits, bias),
                    add32(shiftLeft32<18>(shiftRight32<22>(word)), bias));
    }
    kpx::plainKernels.r11g11b10ToFloats(words + 4 * i, count - i, out + 3 * i);
}
KPX_TARGET void r9g9b9e5ToFloats(const unsigned char* words, std::size_t count, float* out) {
    const Wide nineBits = spread32(511);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const Wide word = load(words + 4 * i);
        const Wide scale = shiftLeft32<23>(add32(shiftRight32<27>(word), spread32(127 - 24)));
        storeThrees(out + 3 * i, scaledFloats(word & nineBits, scale),
                    scaledFloats(shiftRight32<9>(word) & nineBits, scale),
                    scaledFloats(shiftRight32<18>(word) & nineBits, scale));
    }
    kpx::plainKernels.r9g9b9e5ToFloats(words + 4 * i, count - i, out + 3 * i);
}

// Reads are always ahead of writes, so out may equal values.
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

}  // namespace
