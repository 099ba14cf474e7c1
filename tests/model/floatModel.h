// Slow, obvious conversions of the small floating-point formats.
#pragma once

#include <array>
#include <cstdint>

namespace model {

// Exponent 31 is an ordinary exponent: no infinity, no NaN.
float halfToFloat(std::uint16_t half);
// Returns red, green and blue of a packed word. Exponent 0 is an ordinary exponent, so a zero field is 2^-15.
std::array<float, 3> unpackR11G11B10(std::uint32_t word);
// Returns red, green and blue of a word with three mantissas and one exponent.
std::array<float, 3> unpackR9G9B9E5(std::uint32_t word);

}  // namespace model
