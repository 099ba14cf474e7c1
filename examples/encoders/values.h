// Functions that append a texel's value to the bytes of a file, one for each number format.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "examples/DdsFile.h"

namespace kpx::example {

// Appends the low bytes of value, little-endian.
inline void appendWord(Bytes& bytes, std::uint32_t value, unsigned size) {
    for (unsigned i = 0; i < size; ++i) bytes.push_back(static_cast<unsigned char>(value >> 8 * i));
}

// Scales 0..1 to 0..largest, rounded to nearest.
inline std::uint32_t unorm(float value, std::uint32_t largest) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(double{value}, 0.0, 1.0) * largest));
}

// Scales 0..1 to -largest..largest, rounded to nearest.
inline int snorm(float value, int largest) {
    return static_cast<int>(std::lround((2.0 * std::clamp(double{value}, 0.0, 1.0) - 1.0) * largest));
}

// Returns the nearest half float; magnitudes beyond 65504 become 65504.
inline std::uint16_t halfOf(float value) {
    const std::uint32_t sign = std::signbit(value) ? 0x8000 : 0;
    const double magnitude = std::min(std::fabs(double{value}), 65504.0);
    const int exponent = std::max(magnitude > 0.0 ? std::ilogb(magnitude) : -14, -14);
    // The leading one, and a fraction that rounds up to the next power of two, carry into the exponent.
    const auto units = static_cast<std::uint32_t>(std::lround(std::ldexp(magnitude, 10 - exponent)));
    return static_cast<std::uint16_t>(sign + (static_cast<std::uint32_t>(exponent + 14) << 10) + units);
}

inline void unorm8(Bytes& bytes, float value) {
    appendWord(bytes, unorm(value, 0xFF), 1);
}

inline void unorm16(Bytes& bytes, float value) {
    appendWord(bytes, unorm(value, 0xFFFF), 2);
}

inline void snorm8(Bytes& bytes, float value) {
    appendWord(bytes, static_cast<std::uint32_t>(snorm(value, 0x7F)), 1);
}

inline void snorm16(Bytes& bytes, float value) {
    appendWord(bytes, static_cast<std::uint32_t>(snorm(value, 0x7FFF)), 2);
}

inline void half(Bytes& bytes, float value) {
    appendWord(bytes, halfOf(value), 2);
}

inline void single(Bytes& bytes, float value) {
    appendWord(bytes, std::bit_cast<std::uint32_t>(value), 4);
}

}  // namespace kpx::example
