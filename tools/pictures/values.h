// Values of pictures: floats in rows of bytes, light as sRGB, pixels made of channels.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace kpx::tool {

// Returns the float at place x of a row.
inline float floatAt(const unsigned char* row, std::size_t x) {
    float value = 0.0F;
    std::memcpy(&value, row + x * sizeof value, sizeof value);
    return value;
}

// Writes a float to place x of a row.
inline void putFloat(unsigned char* row, std::size_t x, float value) {
    std::memcpy(row + x * sizeof value, &value, sizeof value);
}

// Returns the value clamped to 0 to largest; NaN becomes 0.
inline double limited(double value, double largest) {
    return value > 0.0 ? std::min(value, largest) : 0.0;
}

// Returns the byte of a value from 0 to 1; others are clamped.
inline unsigned char toByte(double share) {
    return static_cast<unsigned char>(std::lround(255.0 * limited(share, 1.0)));
}

// Joins rows of `width` values, one per channel, to pixels. With a constant count and local pointers, compilers
// vectorise the loop.
template <std::size_t count, typename Value>
void joinRows(const Value* const* rows, std::size_t width, Value* to) {
    std::array<const Value*, count> channels{};
    std::copy_n(rows, count, channels.begin());
    for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t i = 0; i < count; ++i) to[count * x + i] = channels[i][x];
    }
}

// The same for a count of 1 to 4.
template <typename Value>
void joinRows(const Value* const* rows, std::size_t count, std::size_t width, Value* to) {
    if (count == 1) joinRows<1>(rows, width, to);
    if (count == 2) joinRows<2>(rows, width, to);
    if (count == 3) joinRows<3>(rows, width, to);
    if (count == 4) joinRows<4>(rows, width, to);
}

// The sRGB transfer function of IEC 61966-2-1, clamped at 1, and its inverse.
inline double srgbEncoded(double linear) {
    if (linear >= 1.0) return 1.0;
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}
inline double srgbDecoded(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

}  // namespace kpx::tool
