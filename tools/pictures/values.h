// Single values of pictures: floats in rows of bytes, light as sRGB.
#pragma once

#include <algorithm>
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

// Returns the value, or the nearest one in 0 to largest. What is not a number becomes 0.
inline double limited(double value, double largest) {
    return value > 0.0 ? std::min(value, largest) : 0.0;
}

// Returns a share of full intensity as a byte.
inline unsigned char toByte(double share) {
    return static_cast<unsigned char>(std::lround(255.0 * limited(share, 1.0)));
}

// The sRGB transfer function of IEC 61966-2-1, up to full intensity, and its inverse.
inline double srgbEncoded(double linear) {
    if (linear >= 1.0) return 1.0;
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}
inline double srgbDecoded(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

}  // namespace kpx::tool
