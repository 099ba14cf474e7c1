// Encoders of BC1 to BC5.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "examples/encoders/encoders.h"
#include "examples/encoders/tiles.h"

namespace kpx::example {
namespace {

using Colour = std::array<double, 3>;  // red, green, blue, 0 to 255

std::uint32_t to565(const Colour& colour) {
    const auto channel = [](double value, int largest) {
        return static_cast<std::uint32_t>(std::lround(value * largest / 255.0));
    };
    return channel(colour[0], 31) << 11 | channel(colour[1], 63) << 5 | channel(colour[2], 31);
}

Colour from565(std::uint32_t word) {
    return {(word >> 11) * 255.0 / 31.0, (word >> 5 & 63) * 255.0 / 63.0, (word & 31) * 255.0 / 31.0};
}

Colour between(const Colour& from, const Colour& to, double share) {
    Colour colour{};
    for (std::size_t c = 0; c < colour.size(); ++c) colour[c] = from[c] + share * (to[c] - from[c]);
    return colour;
}

Points<3> coloursOf(const Tile& tile) {
    Points<3> colours{};
    for (std::size_t t = 0; t < tile.size(); ++t) {
        for (std::size_t c = 0; c < 3; ++c) colours[t][c] = 255.0 * std::clamp(double{tile[t][c]}, 0.0, 1.0);
    }
    return colours;
}

constexpr std::uint32_t transparentIndex = 3;

// Encodes two endpoints of 5:6:5 bits and sixteen indices. Unless all texels are opaque, the first endpoint does not
// exceed the second, which selects three colours and a transparent index.
void encodeColours(Bytes& bytes, const Tile& tile, TexelSet opaque) {
    const Points<3> colours = coloursOf(tile);
    std::uint32_t ends[2] = {0, 0};
    if (opaque != 0) {
        const auto [one, other] = farthestPair(colours, opaque);
        ends[0] = to565(colours[one]);
        ends[1] = to565(colours[other]);
    }
    const bool isFourColour = opaque == allTexels;
    // Equal endpoints select three equal colours; only the first is used.
    if ((ends[0] < ends[1]) == isFourColour) std::swap(ends[0], ends[1]);

    const Colour from = from565(ends[0]);
    const Colour to = from565(ends[1]);
    const double shares[] = {0.0, 1.0, isFourColour ? 1.0 / 3.0 : 0.5, 2.0 / 3.0};
    std::uint32_t indices = 0;
    for (std::uint32_t t = 0; t < tile.size(); ++t) {
        std::uint32_t best = contains(opaque, t) ? 0 : transparentIndex;
        const std::uint32_t candidates = ends[0] == ends[1] || !contains(opaque, t) ? 1 : isFourColour ? 4 : 3;
        for (std::uint32_t i = 1; i < candidates; ++i) {
            const auto error = [&](std::uint32_t index) {
                return squaredDistance(colours[t], between(from, to, shares[index]));
            };
            if (error(i) < error(best)) best = i;
        }
        indices |= best << 2 * t;
    }
    appendWord(bytes, ends[0], 2);
    appendWord(bytes, ends[1], 2);
    appendWord(bytes, indices, 4);
}

void encodeNibbleAlpha(Bytes& bytes, const Tile& tile) {
    for (std::size_t t = 0; t < tile.size(); t += 2) {
        appendWord(bytes, unorm(tile[t][3], 15) | unorm(tile[t + 1][3], 15) << 4, 1);
    }
}

// Two endpoints and 3-bit indices of one channel. If from > to, there are six values between the endpoints; if
// from < to, there are four, and the least and the greatest value.
struct ChannelFit {
    int from, to;
    std::uint64_t indices = 0;
    long error = 0;
};

using Values = std::array<int, 16>;

ChannelFit fitIndices(const Values& values, int from, int to, int least, int greatest) {
    ChannelFit fit{from, to};
    const int steps = from > to ? 7 : 5;
    for (std::size_t t = 0; t < values.size(); ++t) {
        int best = 0;
        const auto error = [&](int index) {
            const int value = index == 0   ? from
                              : index == 1 ? to
                              : steps == 7 ? ((8 - index) * from + (index - 1) * to) / 7
                              : index == 6 ? least
                              : index == 7 ? greatest
                                           : ((6 - index) * from + (index - 1) * to) / 5;
            const long off = values[t] - value;
            return off * off;
        };
        for (int i = 1; from != to && i < 8; ++i) {
            if (error(i) < error(best)) best = i;
        }
        fit.indices |= static_cast<std::uint64_t>(best) << 3 * t;
        fit.error += error(best);
    }
    return fit;
}

// Values from least to greatest.
void encodeValues(Bytes& bytes, const Values& values, int least, int greatest) {
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    ChannelFit best = fitIndices(values, *high, *low, least, greatest);
    int innerLow = greatest;
    int innerHigh = least;
    for (const int value : values) {
        if (value == least || value == greatest) continue;
        innerLow = std::min(innerLow, value);
        innerHigh = std::max(innerHigh, value);
    }
    if (innerLow < innerHigh) {
        const ChannelFit other = fitIndices(values, innerLow, innerHigh, least, greatest);
        if (other.error < best.error) best = other;
    }
    bytes.push_back(static_cast<unsigned char>(best.from));
    bytes.push_back(static_cast<unsigned char>(best.to));
    for (unsigned i = 0; i < 6; ++i) bytes.push_back(static_cast<unsigned char>(best.indices >> 8 * i));
}

void encodeUnsigned(Bytes& bytes, const Tile& tile, std::size_t channel) {
    Values values{};
    for (std::size_t t = 0; t < tile.size(); ++t) values[t] = static_cast<int>(unorm(tile[t][channel], 255));
    encodeValues(bytes, values, 0, 255);
}

void encodeSigned(Bytes& bytes, const Tile& tile, std::size_t channel) {
    Values values{};
    for (std::size_t t = 0; t < tile.size(); ++t) values[t] = snorm(tile[t][channel], 127);
    encodeValues(bytes, values, -127, 127);
}

Tile premultiplied(Tile tile) {
    for (Texel& texel : tile) {
        for (std::size_t c = 0; c < 3; ++c) texel[c] *= texel[3];
    }
    return tile;
}

void encodeBC2(Bytes& bytes, const Tile& tile) {
    encodeNibbleAlpha(bytes, tile);
    encodeColours(bytes, tile, allTexels);
}

void encodeBC3(Bytes& bytes, const Tile& tile) {
    encodeUnsigned(bytes, tile, 3);
    encodeColours(bytes, tile, allTexels);
}

}  // namespace

Bytes bc1(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) {
        unsigned opaque = 0;
        for (unsigned t = 0; t < tile.size(); ++t) opaque |= (tile[t][3] < 0.5F ? 0U : 1U) << t;
        encodeColours(bytes, tile, static_cast<TexelSet>(opaque));
    });
}

Bytes bc2(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, encodeBC2);
}

Bytes bc2Premultiplied(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) { encodeBC2(bytes, premultiplied(tile)); });
}

Bytes bc3(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, encodeBC3);
}

Bytes bc3Premultiplied(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) { encodeBC3(bytes, premultiplied(tile)); });
}

Bytes bc4Unsigned(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) { encodeUnsigned(bytes, tile, 0); });
}

Bytes bc4Signed(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) { encodeSigned(bytes, tile, 0); });
}

Bytes bc5Unsigned(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) {
        encodeUnsigned(bytes, tile, 0);
        encodeUnsigned(bytes, tile, 1);
    });
}

Bytes bc5Signed(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) {
        encodeSigned(bytes, tile, 0);
        encodeSigned(bytes, tile, 1);
    });
}

}  // namespace kpx::example
