// Encodes BC6H, each tile in the best of the four one-region modes of the published format.
#include <cmath>
#include <cstdlib>
#include <limits>

#include "examples/encoders/encoders.h"
#include "examples/encoders/tiles.h"

namespace kpx::example {
namespace {

// The first endpoint has `precision` bits; the second is stored as a difference of deltaBits if the mode is
// transformed.
struct Mode {
    std::uint32_t modeField;
    int precision;
    int deltaBits;
    bool isTransformed;
};

constexpr Mode modes[] = {
    {0x03, 10, 10, false},
    {0x07, 11, 9, true},
    {0x0B, 12, 8, true},
    {0x0F, 16, 4, true},
};

constexpr int indexBits = 4;
constexpr int baseBits = 10;  // of the first endpoint, before the differences; the other bits follow them

// Colours in the scale of the interpolation: 0 to 65535, or -32767 to 32767. The bits of a half float are 31/64 of
// that, or 31/32.
using Ints = std::array<int, 3>;

int interpolated(float value, bool isSigned) {
    const int bits = halfOf(std::fabs(value));
    if (isSigned) return (value < 0.0F ? -1 : 1) * ((bits * 32 + 30) / 31);
    return value > 0.0F ? (bits * 64 + 30) / 31 : 0;
}

int quantised(int value, int precision, bool isSigned) {
    if (!isSigned) return value >> (16 - precision);
    const int magnitude = std::abs(value) >> (16 - precision);
    return value < 0 ? -magnitude : magnitude;
}

int unquantised(int value, int precision, bool isSigned) {
    if (precision == 16 || value == 0) return value;
    if (!isSigned) return value == (1 << precision) - 1 ? 0xFFFF : ((value << 16) + 0x8000) >> precision;
    const int largest = (1 << (precision - 1)) - 1;
    const int magnitude = std::abs(value);
    const int wide = magnitude >= largest ? 0x7FFF : ((magnitude << 15) + 0x4000) >> (precision - 1);
    return value < 0 ? -wide : wide;
}

struct Fit {
    Ints ends[2];  // quantised
    std::array<int, 16> indices;
    double error;
};

Fit fitIndices(const Points<3>& colours, const Ints& from, const Ints& to, int precision, bool isSigned) {
    std::array<std::array<double, 3>, 1 << indexBits> line{};
    for (int i = 0; i < 1 << indexBits; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            line[static_cast<std::size_t>(i)][c] = interpolate(unquantised(from[c], precision, isSigned),
                                                               unquantised(to[c], precision, isSigned), i, indexBits);
        }
    }
    Fit fit{{from, to}, {}, 0.0};
    for (std::size_t t = 0; t < colours.size(); ++t) {
        std::size_t best = 0;
        for (std::size_t i = 1; i < line.size(); ++i) {
            if (squaredDistance(colours[t], line[i]) < squaredDistance(colours[t], line[best])) best = i;
        }
        fit.indices[t] = static_cast<int>(best);
        fit.error += squaredDistance(colours[t], line[best]);
    }
    // The top bit of the first texel's index is not stored.
    constexpr int largest = (1 << indexBits) - 1;
    if (fit.indices[0] > largest / 2) {
        std::swap(fit.ends[0], fit.ends[1]);
        for (int& index : fit.indices) index = largest - index;
    }
    return fit;
}

bool fitsInto(const Mode& mode, const Fit& fit) {
    if (!mode.isTransformed) return true;
    const int limit = 1 << (mode.deltaBits - 1);
    for (std::size_t c = 0; c < 3; ++c) {
        const int delta = fit.ends[1][c] - fit.ends[0][c];
        if (delta < -limit || delta >= limit) return false;
    }
    return true;
}

void write(Bytes& bytes, const Mode& mode, const Fit& fit) {
    BitWriter writer;
    writer.put(mode.modeField, 5);
    for (const int value : fit.ends[0]) writer.putInt(value, baseBits);
    for (std::size_t c = 0; c < 3; ++c) {
        const int base = fit.ends[0][c];
        writer.putInt(mode.isTransformed ? fit.ends[1][c] - base : fit.ends[1][c], mode.deltaBits);
        for (int bit = mode.precision - 1; bit >= baseBits; --bit) writer.putInt(base >> bit, 1);  // the highest first
    }
    for (std::size_t t = 0; t < fit.indices.size(); ++t)
        writer.putInt(fit.indices[t], t == 0 ? indexBits - 1 : indexBits);
    bytes.insert(bytes.end(), writer.block().begin(), writer.block().end());
}

void encodeTile(Bytes& bytes, const Tile& tile, bool isSigned) {
    Points<3> colours{};
    for (std::size_t t = 0; t < tile.size(); ++t) {
        for (std::size_t c = 0; c < 3; ++c) colours[t][c] = interpolated(tile[t][c], isSigned);
    }
    const auto [one, other] = farthestPair(colours, allTexels);
    const Mode* bestMode = nullptr;
    Fit best{{}, {}, std::numeric_limits<double>::infinity()};
    for (const Mode& mode : modes) {
        Ints from{};
        Ints to{};
        for (std::size_t c = 0; c < 3; ++c) {
            from[c] = quantised(static_cast<int>(colours[one][c]), mode.precision, isSigned);
            to[c] = quantised(static_cast<int>(colours[other][c]), mode.precision, isSigned);
        }
        const Fit fit = fitIndices(colours, from, to, mode.precision, isSigned);
        if (!fitsInto(mode, fit) || fit.error >= best.error) continue;
        best = fit;
        bestMode = &mode;
    }
    write(bytes, *bestMode, best);
}

}  // namespace

Bytes bc6hUnsigned(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) { encodeTile(bytes, tile, false); });
}

Bytes bc6hSigned(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, [](Bytes& bytes, const Tile& tile) { encodeTile(bytes, tile, true); });
}

}  // namespace kpx::example
