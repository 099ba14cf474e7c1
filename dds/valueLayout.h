// Describes, as data, the pixels of formats that the reader does not decode but `recode` converts: bit fields and YUV
// planes.
#pragma once

#include <array>
#include <cstdint>

namespace kpx {

enum class Number : std::uint8_t { none, unorm, snorm, unsignedInteger, signedInteger, float32, extendedRange };

// A bit field of a pixel; bit 0 is the lowest.
struct Field {
    std::uint8_t bit, bits;
    Number number;
};

// Pixels that are bit fields of a little-endian unit.
struct FieldLayout {
    std::uint8_t pixelBytes;
    std::array<Field, 4> fields;  // red, green, blue, alpha; trailing ones may be absent
    const char* words;            // how the values are converted, as a clause
};

// The samples of a plane. Neighbours are `step` bits apart; the highest eight bits of each start at `bit`.
struct Samples {
    std::uint8_t plane, step, bit;
};

struct YuvLayout {
    std::uint8_t xShift, yShift;  // subsampling of colour: 1 if two pixels share a sample
    Samples y, u, v;
    std::uint8_t alphaBit, alphaBits;  // in the pixel; 0 bits: no alpha
    std::uint8_t bits;                 // of a value
};

}  // namespace kpx
