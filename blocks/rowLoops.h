// Loops over pixels that the compiler turns into vector code for whichever instructions the kernel around them may
// use. Each is inlined into that kernel, and none exists by itself.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "blocks/half.h"
#include "blocks/kernels.h"
#include "blocks/littleEndian.h"

#define KPX_LOOP [[gnu::always_inline]] static inline

namespace kpx {

template <typename Unit>
KPX_LOOP void splitUnits2(const Unit* __restrict pixels, std::size_t count, Unit* __restrict row0,
                          Unit* __restrict row1) {
    for (std::size_t x = 0; x < count; ++x) {
        row0[x] = pixels[2 * x];
        row1[x] = pixels[2 * x + 1];
    }
}

template <typename Unit>
KPX_LOOP void splitUnits3(const Unit* __restrict pixels, std::size_t count, Unit* __restrict row0,
                          Unit* __restrict row1, Unit* __restrict row2) {
    for (std::size_t x = 0; x < count; ++x) {
        row0[x] = pixels[3 * x];
        row1[x] = pixels[3 * x + 1];
        row2[x] = pixels[3 * x + 2];
    }
}

template <typename Unit>
KPX_LOOP void splitUnits4(const Unit* __restrict pixels, std::size_t count, Unit* __restrict row0,
                          Unit* __restrict row1, Unit* __restrict row2, Unit* __restrict row3) {
    for (std::size_t x = 0; x < count; ++x) {
        row0[x] = pixels[4 * x];
        row1[x] = pixels[4 * x + 1];
        row2[x] = pixels[4 * x + 2];
        row3[x] = pixels[4 * x + 3];
    }
}

// Four bytes a pixel, of which the last is skipped.
KPX_LOOP void splitUnits3Of4(const unsigned char* __restrict pixels, std::size_t count, unsigned char* __restrict row0,
                             unsigned char* __restrict row1, unsigned char* __restrict row2) {
    for (std::size_t x = 0; x < count; ++x) {
        row0[x] = pixels[4 * x];
        row1[x] = pixels[4 * x + 1];
        row2[x] = pixels[4 * x + 2];
    }
}

// One channel of bit-mask pixels by its multiplier.
template <typename Word>
KPX_LOOP void extractField(const unsigned char* __restrict pixels, std::size_t count, MaskField field,
                           unsigned char* __restrict row) {
    const std::uint32_t mask = field.fieldMask;
    const std::uint32_t multiplier = field.multiplier;
    const int shift = field.fieldShift;
    for (std::size_t x = 0; x < count; ++x) {
        Word word;
        std::memcpy(&word, pixels + x * sizeof word, sizeof word);
        const std::uint32_t value = (std::uint32_t{word} >> shift & mask) * multiplier >> 24;
        row[x] = static_cast<unsigned char>(value);
    }
}

KPX_LOOP void widenHalfs(const unsigned char* __restrict halfs, std::size_t count, float* __restrict out) {
    for (std::size_t i = 0; i < count; ++i) out[i] = halfToFloat(load16(halfs + 2 * i));
}

KPX_LOOP void keepHighBytes(const unsigned char* values, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i) out[i] = values[2 * i + 1];
}

// (s + 127) x 255 / 254 = t + t / 254 for t = s + 127 of 0 to 254, and t / 254 is 1 for t = 254 alone.
KPX_LOOP void unsignBytes(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = static_cast<unsigned char>(bytes[i] + 127);
        bytes[i] = static_cast<unsigned char>(offset == 254 ? 255 : offset == 255 ? 0 : offset);
    }
}

// Divides the colours of premultiplied texels (a, r, g, b) by their alpha. The quotient of two whole numbers below
// 2^16 and 2^8 is at least 1 / 255 away from the next whole number, or is that number, so that a correctly rounded
// float division truncates to the same value.
KPX_LOOP void divideTexels(unsigned char* __restrict texels, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const std::uint32_t texel = load32(texels + 4 * x);
        const auto alpha = static_cast<int>(texel & 255);
        const float divisor = static_cast<float>(alpha == 0 ? 1 : alpha);
        std::uint32_t result = texel & 255;
        for (int shift = 8; shift < 32; shift += 8) {
            const auto v = static_cast<int>(texel >> shift & 255);
            const int quotient = static_cast<int>(static_cast<float>(v * 256) / divisor);
            const int divided = v >= alpha ? 255 : quotient;
            result |= static_cast<std::uint32_t>(alpha == 0 ? v : divided) << shift;
        }
        std::memcpy(texels + 4 * x, &result, sizeof result);
    }
}

}  // namespace kpx
