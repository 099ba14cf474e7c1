// The layouts of a decoded image in memory, and the output channel of each stored unit.
#pragma once

#include <cstdint>

namespace kpx {

enum PixelLayout : std::uint32_t {
    MaskedBits = 0,       // 1 to 4 significant bytes, split by masks
    MaskedAlphaOnly = 1,  // one byte of alpha
    Bytes1 = 2,
    Bytes2 = 3,
    BytesBGR = 4,  // the fourth byte of a 4-byte pixel is skipped
    BytesRGB = 5,
    BytesABGR = 6,
    BytesBGRA = 7,
    BytesARGB = 8,
    BytesRGBA = 9,
    HalfR = 10,  // named after the type in the file; in memory 10 to 17 are all 32-bit floats
    HalfRG = 11,
    HalfRGBA = 13,
    FloatR = 14,
    FloatRG = 15,
    FloatRGB = 16,
    FloatRGBA = 17,
};

// A layout whose pixels consist of units (bytes or floats), one per channel.
struct LayoutRow {
    PixelLayout layout;
    const char* name;
    bool isFloat;
    std::uint8_t units;       // per pixel; 0: masks select the channels
    std::uint8_t channel[4];  // the output channel (0 red to 3 alpha) of each unit
};

inline constexpr LayoutRow layoutRows[] = {
    {MaskedBits, "MaskedBits", false, 0, {}},
    {MaskedAlphaOnly, "MaskedAlphaOnly", false, 0, {}},
    {Bytes1, "Bytes1", false, 1, {0}},
    {Bytes2, "Bytes2", false, 2, {0, 1}},
    {BytesBGR, "BytesBGR", false, 3, {2, 1, 0}},
    {BytesRGB, "BytesRGB", false, 3, {0, 1, 2}},
    {BytesABGR, "BytesABGR", false, 4, {3, 2, 1, 0}},
    {BytesBGRA, "BytesBGRA", false, 4, {2, 1, 0, 3}},
    {BytesARGB, "BytesARGB", false, 4, {3, 0, 1, 2}},
    {BytesRGBA, "BytesRGBA", false, 4, {0, 1, 2, 3}},
    {HalfR, "HalfR", true, 1, {0}},
    {HalfRG, "HalfRG", true, 2, {0, 1}},
    {HalfRGBA, "HalfRGBA", true, 4, {0, 1, 2, 3}},
    {FloatR, "FloatR", true, 1, {0}},
    {FloatRG, "FloatRG", true, 2, {0, 1}},
    {FloatRGB, "FloatRGB", true, 3, {0, 1, 2}},
    {FloatRGBA, "FloatRGBA", true, 4, {0, 1, 2, 3}},
};

// Returns the row of a layout; that of MaskedBits for a value outside the table.
constexpr const LayoutRow& layoutRow(std::uint32_t layout) {
    for (const LayoutRow& row : layoutRows) {
        if (row.layout == layout) return row;
    }
    return layoutRows[0];
}

}  // namespace kpx
