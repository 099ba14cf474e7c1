// Where the values of a pixel lie in formats that the reader does not decode and a recoder can: as data, for one walker
// over fields and one over YUV planes.
#pragma once

#include <array>
#include <cstdint>

namespace kpx {

enum class Number : std::uint8_t { none, unorm, snorm, unsignedInteger, signedInteger, float32, extendedRange };

// Bits of a pixel, counted from the lowest.
struct Field {
    std::uint8_t bit, bits;
    Number number;
};

// Pixels that are fields of a little-endian unit.
struct FieldLayout {
    std::uint8_t pixelBytes;
    std::array<Field, 4> fields;  // red, green, blue and alpha, of which the last ones may be missing
    const char* words;            // what becomes of the values, a clause
};

// Where values lie in a plane: neighbours are `step` bits apart, the highest eight bits of each begin at `bit`.
struct Samples {
    std::uint8_t plane, step, bit;
};

struct YuvLayout {
    std::uint8_t xShift, yShift;  // of colour: 1 where two pixels share it
    Samples y, u, v;
    std::uint8_t alphaBit, alphaBits;  // in the pixel; 0 bits: no alpha
    std::uint8_t bits;                 // of a value
};

}  // namespace kpx
