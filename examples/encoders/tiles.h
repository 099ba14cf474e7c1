// Tiles of 4 by 4 texels, and functions that the block encoders share.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "examples/DdsFile.h"

namespace kpx::example {

using Tile = std::array<Texel, 16>;  // row by row

// Appends the block of each tile, made by encodeTile(bytes, tile), to the data. Beyond the edges of the picture, its
// last texels are repeated.
template <typename EncodeTile>
Bytes encodeTiles(const Picture& picture, EncodeTile encodeTile) {
    Bytes bytes;
    for (unsigned y = 0; y < picture.height; y += 4) {
        for (unsigned x = 0; x < picture.width; x += 4) {
            Tile tile;
            for (unsigned t = 0; t < tile.size(); ++t) {
                tile[t] = picture.at(std::min(x + t % 4, picture.width - 1), std::min(y + t / 4, picture.height - 1));
            }
            encodeTile(bytes, tile);
        }
    }
    return bytes;
}

// A set of texels of a tile, one bit per texel.
using TexelSet = std::uint16_t;
inline constexpr TexelSet allTexels = 0xFFFF;

constexpr bool contains(TexelSet set, std::size_t texel) {
    return (set >> texel & 1) != 0;
}

// Points of a colour space, as many as a tile has texels.
template <std::size_t dimensions>
using Points = std::array<std::array<double, dimensions>, 16>;

// Returns the squared distance in dimensions first to last - 1.
template <std::size_t dimensions>
double squaredDistance(const std::array<double, dimensions>& a, const std::array<double, dimensions>& b,
                       std::size_t first = 0, std::size_t last = dimensions) {
    double sum = 0.0;
    for (std::size_t d = first; d < last; ++d) sum += (a[d] - b[d]) * (a[d] - b[d]);
    return sum;
}

// Returns the two points of the set that are farthest apart, which are good endpoints of a block's colours. Both are
// the same texel if there is only one colour.
template <std::size_t dimensions>
std::pair<std::size_t, std::size_t> farthestPair(const Points<dimensions>& points, TexelSet set, std::size_t first = 0,
                                                 std::size_t last = dimensions) {
    const auto start = static_cast<std::size_t>(std::countr_zero(set));
    std::pair<std::size_t, std::size_t> ends{start, start};
    double farthest = 0.0;
    for (std::size_t i = start; i < points.size(); ++i) {
        for (std::size_t j = i + 1; j < points.size(); ++j) {
            if (!contains(set, i) || !contains(set, j)) continue;
            const double apart = squaredDistance(points[i], points[j], first, last);
            if (apart > farthest) {
                farthest = apart;
                ends = {i, j};
            }
        }
    }
    return ends;
}

// Returns the published interpolation weight of BC6H and BC7, in 64ths.
constexpr int weight(int index, int indexBits) {
    const int largest = (1 << indexBits) - 1;
    return (64 * index + largest / 2) / largest;
}

constexpr int interpolate(int from, int to, int index, int indexBits) {
    const int w = weight(index, indexBits);
    return ((64 - w) * from + w * to + 32) >> 6;
}

// A block of 128 bits, filled from bit 0 upwards.
class BitWriter {
public:
    void put(std::uint32_t value, int bits) {
        for (int i = 0; i < bits; ++i, ++m_position) {
            m_block[m_position / 8] |= static_cast<unsigned char>((value >> i & 1) << m_position % 8);
        }
    }
    void putInt(int value, int bits) { put(static_cast<std::uint32_t>(value), bits); }
    const std::array<unsigned char, 16>& block() const { return m_block; }

private:
    std::array<unsigned char, 16> m_block{};
    std::size_t m_position = 0;
};

}  // namespace kpx::example
