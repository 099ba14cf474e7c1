// The recoding of pixels in formats that are not decoded to formats that are, by the published formulas.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "dds/dataSize.h"

namespace kpx {

// How a field of a pixel becomes a float.
enum class Number : std::uint8_t { unorm, snorm, xrBias };

// Bits of a pixel, from `bit` on, counted from the lowest.
struct Field {
    std::uint8_t bit, bits;
    Number number;
};

// A way of recoding. The pixels of a format are stored in units of several pixels that are recoded together.
struct RecodingRow {
    Recoding recoding;
    std::uint8_t unitWidth, unitHeight, unitBytes;
    std::uint32_t dxgi;       // the format of the recoded pixels: 2 or 6 for floats, 87 for BGRA
    std::uint8_t pixelBytes;  // of a recoded pixel
    const char* words;        // what is done to the values and what is lost, a clause
    // Recodes one unit. Its pixels are written row by row.
    void (*recode)(const Format& format, const RecodingRow& row, const unsigned char* unit, unsigned char* pixels);
    std::array<Field, 4> fields{};  // of pixels that become floats

    // Returns the size of a row of units.
    constexpr std::uint64_t rowBytes(std::uint32_t width) const { return ceilQuotient(width, unitWidth) * unitBytes; }
    // Returns the size of a picture as it is stored; UINT64_MAX also stands for more.
    constexpr std::uint64_t pictureBytes(std::uint32_t width, std::uint32_t height) const {
        return saturatingProduct(rowBytes(width), ceilQuotient(height, unitHeight));
    }
    constexpr std::uint64_t recodedRowBytes(std::uint32_t width) const { return std::uint64_t{width} * pixelBytes; }
};

// Returns how the pixels of a format are recoded; null if the remedy of the format is another.
const RecodingRow* recodingOf(const Format& format);

// Recodes a row of units to its unitHeight rows of pixels of recodedRowBytes each.
void recodeUnits(const Format& format, std::span<const unsigned char> units, std::uint32_t width,
                 std::span<unsigned char> rows);

}  // namespace kpx
