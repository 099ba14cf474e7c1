#include "tests/model/floatModel.h"

#include <cmath>

namespace model {

namespace {

std::uint32_t field(std::uint32_t word, int first, int count) {
    return (word >> first) & ((1U << count) - 1U);
}

// Returns the unsigned float with mantissaBits bits below five exponent bits that starts at bit first.
float smallFloat(std::uint32_t word, int first, int mantissaBits) {
    const double mantissa = field(word, first, mantissaBits);
    const double exponent = field(word, first + mantissaBits, 5);
    return static_cast<float>(std::pow(2.0, exponent - 15) * (1 + mantissa / std::pow(2.0, mantissaBits)));
}

}  // namespace

float halfToFloat(std::uint16_t half) {
    const double sign = field(half, 15, 1) != 0 ? -1.0 : 1.0;
    const double exponent = field(half, 10, 5);
    const double fraction = field(half, 0, 10) / 1024.0;
    const double magnitude =
        exponent == 0 ? std::pow(2.0, -14) * fraction : std::pow(2.0, exponent - 15) * (1 + fraction);
    return static_cast<float>(sign * magnitude);
}

std::array<float, 3> unpackR11G11B10(std::uint32_t word) {
    return {smallFloat(word, 0, 6), smallFloat(word, 11, 6), smallFloat(word, 22, 5)};
}

std::array<float, 3> unpackR9G9B9E5(std::uint32_t word) {
    const double scale = std::pow(2.0, static_cast<double>(field(word, 27, 5)) - 15) / 512;
    return {static_cast<float>(scale * field(word, 0, 9)), static_cast<float>(scale * field(word, 9, 9)),
            static_cast<float>(scale * field(word, 18, 9))};
}

}  // namespace model
