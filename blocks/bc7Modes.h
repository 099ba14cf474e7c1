// The published table of BC7 modes.
#pragma once

#include <cstdint>

namespace kpx {

enum class PBits : std::uint8_t { none, perEndpoint, perSubset };

// A row of the published mode table. Widths are in bits; 0: the mode has no such field.
struct Bc7Mode {
    std::uint8_t subsets, partitionBits, rotationBits, selectionBits;
    std::uint8_t colourBits, alphaBits;  // of an endpoint channel as stored, without its p-bit
    PBits pBits;
    std::uint8_t primaryBits, secondaryBits;  // of an index
};

// Modes 0 to 7. A reserved block has no mode.
inline constexpr Bc7Mode bc7Modes[8] = {
    {3, 4, 0, 0, 4, 0, PBits::perEndpoint, 3, 0},  //
    {2, 6, 0, 0, 6, 0, PBits::perSubset, 3, 0},    //
    {3, 6, 0, 0, 5, 0, PBits::none, 2, 0},         //
    {2, 6, 0, 0, 7, 0, PBits::perEndpoint, 2, 0},  //
    {1, 0, 2, 1, 5, 6, PBits::none, 2, 3},         //
    {1, 0, 2, 0, 7, 8, PBits::none, 2, 2},         //
    {1, 0, 0, 0, 7, 7, PBits::perEndpoint, 4, 0},  //
    {2, 6, 0, 0, 5, 5, PBits::perEndpoint, 2, 0},  //
};

// Returns the bits that a mode uses, including its mode bits. Every mode uses all 128.
constexpr int spentBits(const Bc7Mode& m, int mode) {
    const int endpoints = 2 * m.subsets;
    const int pBits = m.pBits == PBits::perEndpoint ? endpoints : m.pBits == PBits::perSubset ? m.subsets : 0;
    const int indices = 16 * m.primaryBits - m.subsets + (m.secondaryBits != 0 ? 16 * m.secondaryBits - 1 : 0);
    return mode + 1 + m.partitionBits + m.rotationBits + m.selectionBits +
           endpoints * (3 * m.colourBits + m.alphaBits) + pBits + indices;
}
static_assert(
    [] {
        for (int mode = 0; mode < 8; ++mode) {
            if (spentBits(bc7Modes[mode], mode) != 128) return false;
        }
        return true;
    }(),
    "a block spends all its bits");

}  // namespace kpx
