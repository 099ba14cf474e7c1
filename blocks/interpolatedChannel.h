// One interpolated channel of a tile, stored in eight bytes, and its palette of eight entries. BC3 stores alpha so, BC4
// and BC5 all their channels.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "blocks/littleEndian.h"

namespace kpx {

using ChannelPalette = std::array<std::uint8_t, 8>;

// Returns the palette of two endpoints: six interpolated values, or four followed by the constants 0 and 255. Divisions
// truncate toward zero. offset is added to the endpoints and the interpolated values.
constexpr ChannelPalette interpolatedPalette(int e0, int e1, bool eightValues, int offset) {
    ChannelPalette palette{};
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

constexpr ChannelPalette unsignedPalette(std::uint8_t e0, std::uint8_t e1, bool eightValues) {
    return interpolatedPalette(e0, e1, eightValues, 0);
}

// Returns the palette of two signed endpoints in two's complement. -128 is read as -127; a value v is stored as v +
// 128.
constexpr ChannelPalette signedPalette(std::uint8_t e0, std::uint8_t e1) {
    const auto read = [](std::uint8_t byte) {
        const int v = static_cast<std::int8_t>(byte);
        return v == -128 ? -127 : v;
    };
    const int s0 = read(e0);
    const int s1 = read(e1);
    return interpolatedPalette(s0, s1, s0 > s1, 128);
}

// A block of BC4, or half a block of BC5. The 3-bit index of texel t starts at bit 16 + 3t.
class InterpolatedChannel {
public:
    InterpolatedChannel(const unsigned char* block, bool isSigned)
        : m_palette(isSigned ? signedPalette(block[0], block[1])
                             : unsignedPalette(block[0], block[1], block[0] > block[1])),
          m_indices(load64(block) >> 16) {}

    const ChannelPalette& palette() const { return m_palette; }
    std::size_t index(unsigned t) const { return m_indices >> (3 * t) & 7; }
    std::uint8_t texel(unsigned t) const { return m_palette[index(t)]; }

private:
    ChannelPalette m_palette;
    std::uint64_t m_indices;
};

}  // namespace kpx
