// Sizes of images and files, computed in 64 bits without wrapping. A sum or product that does not fit becomes
// the largest 64-bit number, which exceeds every limit.
#pragma once

#include <cstdint>

namespace kpx {

// The largest block that a loader or the writer allocates: 4 GiB. Larger requests fail like allocations.
inline constexpr std::uint64_t largestBlock = 0x100000000;

constexpr std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) {
    return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

constexpr std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b) {
    std::uint64_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? UINT64_MAX : product;
}

constexpr std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b, std::uint64_t c) {
    return saturatingProduct(saturatingProduct(a, b), c);
}

// Returns a / b, rounded up.
constexpr std::uint64_t ceilQuotient(std::uint32_t a, std::uint32_t b) {
    return (std::uint64_t{a} + b - 1) / b;
}

}  // namespace kpx
