// The eight-entry palettes of one interpolated channel: the alpha of BC3, the channels of BC4 and BC5.
#pragma once

#include <array>
#include <cstdint>

namespace kpx {

using AlphaPalette = std::array<std::uint8_t, 8>;

// Entry i between two endpoints, with divisions that truncate toward zero: six interpolated values, or four
// and then the two constants 0 and 255. offset is added to the endpoints and to what lies between them.
constexpr AlphaPalette interpolatedPalette(int e0, int e1, bool eightValues, int offset) {
    AlphaPalette palette{};
    const auto byte = [offset](int v) { return static_cast<std::uint8_t>(v + offset); };
    palette[0] = byte(e0);
    palette[1] = byte(e1);
    if (eightValues) {
        for (int i = 2; i < 8; ++i) palette[static_cast<unsigned>(i)] = byte(((8 - i) * e0 + (i - 1) * e1) / 7);
    } else {
        for (int i = 2; i < 6; ++i) palette[static_cast<unsigned>(i)] = byte(((6 - i) * e0 + (i - 1) * e1) / 5);
        palette[6] = 0;
        palette[7] = 255;
    }
    return palette;
}

constexpr AlphaPalette unsignedPalette(std::uint8_t e0, std::uint8_t e1, bool eightValues) {
    return interpolatedPalette(e0, e1, eightValues, 0);
}

// Signed endpoints in two's complement; -128 is read as -127, and a value v is stored as v + 128.
constexpr AlphaPalette signedPalette(std::uint8_t e0, std::uint8_t e1) {
    const auto read = [](std::uint8_t byte) {
        const int v = static_cast<std::int8_t>(byte);
        return v == -128 ? -127 : v;
    };
    const int s0 = read(e0);
    const int s1 = read(e1);
    return interpolatedPalette(s0, s1, s0 > s1, 128);
}

}  // namespace kpx
