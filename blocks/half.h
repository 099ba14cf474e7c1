// Widens small floats to 32-bit floats. As DDS readers do, an exponent of all ones is treated as an ordinary exponent,
// so the result is never infinity or NaN. Every result is exact.
#pragma once

#include <bit>
#include <cstdint>

namespace kpx {

// Returns the value of a half float (IEEE 754 binary16): 2^(e - 15) x (1 + f / 1024), or f x 2^-24 if e is 0. 0x7C00 is
// 65536.0, 0x7FFF is 131008.0, 0x8000 is -0.0.
inline float halfToFloat(std::uint16_t half) {
    const std::uint32_t magnitude = half & 0x7FFFU;
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000U) << 16;
    // The bias of the exponent grows from 15 to 127. Subnormal halves become normal floats, computed as a product of
    // normal floats, so that a host that flushes subnormals to zero gets the same values.
    const std::uint32_t normal = (magnitude << 13) + (112U << 23);
    const auto subnormal = std::bit_cast<std::uint32_t>(static_cast<float>(static_cast<int>(magnitude)) * 0x1p-24F);
    // Selected by a mask, which compilers can vectorise.
    const std::uint32_t isSubnormal = 0U - static_cast<std::uint32_t>(magnitude < 0x400U);
    return std::bit_cast<float>((subnormal & isSubnormal) | (normal & ~isSubnormal) | sign);
}

// Returns the value of an unsigned packed float: 2^(exponent - 15) x (1 + mantissa / 2^mantissaBits) for every
// exponent, including 0 and 31.
inline float packedToFloat(std::uint32_t exponent, std::uint32_t mantissa, int mantissaBits) {
    return std::bit_cast<float>(((exponent + 112U) << 23) | (mantissa << (23 - mantissaBits)));
}

// Returns the value of a 9-bit mantissa with a shared exponent: 2^(exponent - 15) x (mantissa / 512).
inline float sharedExponentToFloat(std::uint32_t exponent, std::uint32_t mantissa) {
    const float scale = std::bit_cast<float>((exponent + 127U - 24U) << 23);
    return static_cast<float>(static_cast<int>(mantissa)) * scale;
}

}  // namespace kpx
