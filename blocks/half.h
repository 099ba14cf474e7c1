// Small floats widened to 32-bit floats, in the way of this format: an exponent field of all ones is
// an ordinary exponent, so that no infinity and no NaN is ever made. Every result is exact.
#pragma once

#include <bit>
#include <cstdint>

namespace kpx {

// A half float (IEEE 754 binary16): 2^(e - 15) x (1 + f / 1024), and f x 2^-24 where e is 0.
// 0x7C00 gives 65536.0, 0x7FFF gives 131008.0, 0x8000 gives -0.0.
inline float halfToFloat(std::uint16_t half) {
    const std::uint32_t magnitude = half & 0x7FFFU;
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000U) << 16;
    // The exponent's bias grows from 15 to 127. Subnormal halfs are normal floats; they come from a product
    // of normal floats, so that a host that flushes subnormals to zero gets the same values.
    const std::uint32_t normal = (magnitude << 13) + (112U << 23);
    const auto subnormal = std::bit_cast<std::uint32_t>(static_cast<float>(static_cast<int>(magnitude)) * 0x1p-24F);
    // Chosen by a mask, of which compilers make vectors.
    const std::uint32_t isSubnormal = 0U - static_cast<std::uint32_t>(magnitude < 0x400U);
    return std::bit_cast<float>((subnormal & isSubnormal) | (normal & ~isSubnormal) | sign);
}

// An unsigned packed float: 2^(exponent - 15) x (1 + mantissa / 2^mantissaBits) for every exponent,
// 0 and 31 included.
inline float packedToFloat(std::uint32_t exponent, std::uint32_t mantissa, int mantissaBits) {
    return std::bit_cast<float>(((exponent + 112U) << 23) | (mantissa << (23 - mantissaBits)));
}

// A mantissa of 9 bits under a shared exponent: 2^(exponent - 15) x (mantissa / 512).
inline float sharedExponentToFloat(std::uint32_t exponent, std::uint32_t mantissa) {
    const float scale = std::bit_cast<float>((exponent + 127U - 24U) << 23);
    return static_cast<float>(static_cast<int>(mantissa)) * scale;
}

}  // namespace kpx
