#include "tests/model/blockModel.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "tests/model/bitReader.h"
#include "tests/model/floatModel.h"
#include "tests/model/tables.h"

namespace model {

bool isAnchor(int subsets, int partition, int texel) {
    return partitionOf(subsets, partition).isAnchor[static_cast<std::size_t>(texel)];
}

std::int64_t interpolate(std::int64_t e0, std::int64_t e1, int index, int indexBits) {
    constexpr int weights[3][16] = {
        {0, 21, 43, 64}, {0, 9, 18, 27, 37, 46, 55, 64}, {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64}};
    const std::int64_t weight = weights[indexBits - 2][index];
    return ((64 - weight) * e0 + weight * e1 + 32) >> 6;
}

std::int64_t signExtend(std::int64_t value, int bits) {
    const std::int64_t range = std::int64_t{1} << bits;
    const std::int64_t low = value & (range - 1);
    return low >= range / 2 ? low - range : low;
}

std::uint8_t divideByAlpha(std::uint8_t value, std::uint8_t alpha) {
    if (alpha == 0) return value;
    return value < alpha ? static_cast<std::uint8_t>(value * 256 / alpha) : std::uint8_t{255};
}

namespace {

using Block = std::span<const unsigned char>;

struct Texel {
    std::uint8_t a, r, g, b;
};
using Texels = std::array<Texel, 16>;
using FloatTexels = std::array<std::array<float, 4>, 16>;  // red, green, blue, alpha

std::uint8_t toByte(std::int64_t value) {
    return static_cast<std::uint8_t>(value);
}
std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

// Returns the RGB565 colour that starts at bit first, widened with truncation.
Texel colourAt(Block block, int first) {
    return {255, toByte(bitsOf(block, first + 11, 5) * 255 / 31), toByte(bitsOf(block, first + 5, 6) * 255 / 63),
            toByte(bitsOf(block, first, 5) * 255 / 31)};
}

// Returns (p * c0 + q * c1) / (p + q) per colour channel, opaque.
Texel blend(Texel c0, Texel c1, int p, int q) {
    return {255, toByte((p * c0.r + q * c1.r) / (p + q)), toByte((p * c0.g + q * c1.g) / (p + q)),
            toByte((p * c0.b + q * c1.b) / (p + q))};
}

// isDXT1: the block may have the three-colour mode.
Texels decodeBC1(Block block, bool isDXT1) {
    const Texel c0 = colourAt(block, 0);
    const Texel c1 = colourAt(block, 16);
    std::array<Texel, 4> palette = {c0, c1, blend(c0, c1, 2, 1), blend(c0, c1, 1, 2)};
    if (isDXT1 && bitsOf(block, 0, 16) <= bitsOf(block, 16, 16)) {
        palette[2] = blend(c0, c1, 1, 1);
        palette[3] = {0, 0, 0, 0};
    }
    Texels texels{};
    for (int t = 0; t < 16; ++t) texels[at(t)] = palette[at(bitsOf(block, 32 + 2 * t, 2))];
    return texels;
}

// Returns the colours of the block's second half, with the alpha alphaOf(texel).
template <typename AlphaOf>
Texels coloursWithAlpha(Block block, bool premultiplied, AlphaOf alphaOf) {
    Texels texels = decodeBC1(block.subspan(8), false);
    for (int t = 0; t < 16; ++t) {
        Texel& texel = texels[at(t)];
        texel.a = alphaOf(t);
        if (!premultiplied) continue;
        for (std::uint8_t* value : {&texel.r, &texel.g, &texel.b}) *value = divideByAlpha(*value, texel.a);
    }
    return texels;
}

// Returns the value of an index between two endpoints: of six values between them, or of four and the least and
// greatest byte. The offset is added to the result.
std::uint8_t between(std::int64_t v0, std::int64_t v1, int index, bool six, int offset) {
    if (index == 0) return toByte(v0 + offset);
    if (index == 1) return toByte(v1 + offset);
    if (six) return toByte(((8 - index) * v0 + (index - 1) * v1) / 7 + offset);
    if (index == 6) return 0;
    if (index == 7) return 255;
    return toByte(((6 - index) * v0 + (index - 1) * v1) / 5 + offset);
}

std::uint8_t bc3Alpha(Block block, int texel) {
    return between(block[0], block[1], bitsOf(block, 16 + 3 * texel, 3), block[0] >= block[1], 0);
}

std::uint8_t bc4Value(Block block, int texel, bool isSigned) {
    const auto endpoint = [&](std::uint8_t raw) {
        return isSigned ? std::max<std::int64_t>(signExtend(raw, 8), -127) : std::int64_t{raw};
    };
    const std::int64_t v0 = endpoint(block[0]);
    const std::int64_t v1 = endpoint(block[1]);
    return between(v0, v1, bitsOf(block, 16 + 3 * texel, 3), v0 > v1, isSigned ? 128 : 0);
}

Texels decodeBC2(Block block, bool premultiplied) {
    return coloursWithAlpha(block, premultiplied, [&](int t) { return toByte(17 * bitsOf(block, 4 * t, 4)); });
}

Texels decodeBC3(Block block, bool premultiplied) {
    return coloursWithAlpha(block, premultiplied, [&](int t) { return bc3Alpha(block, t); });
}

Texels decodeBC4(Block block, bool isSigned) {
    Texels texels{};
    for (int t = 0; t < 16; ++t) {
        const std::uint8_t grey = bc4Value(block, t, isSigned);
        texels[at(t)] = {255, grey, grey, grey};
    }
    return texels;
}

Texels decodeBC5(Block block, bool isSigned) {
    Texels texels{};
    for (int t = 0; t < 16; ++t) {
        texels[at(t)] = {255, bc4Value(block, t, isSigned), bc4Value(block.subspan(8), t, isSigned), 0};
    }
    return texels;
}

using Endpoints6 = std::array<std::array<std::int64_t, 3>, 4>;

// Sign-extends the endpoints and adds endpoint 0 to the deltas of the other three.
void finishEndpoints(Endpoints6& endpoints, const Bc6hMode& mode, bool isSigned) {
    const std::int64_t mask = (std::int64_t{1} << mode.precision) - 1;
    for (std::size_t c = 0; c < 3; ++c) {
        std::int64_t& base = endpoints[0][c];
        if (isSigned) base = signExtend(base, mode.precision);
        for (std::size_t e = 1; e < 4; ++e) {
            std::int64_t& value = endpoints[e][c];
            if (isSigned || mode.transformed) value = signExtend(value, mode.deltaBits[c]);
            if (mode.transformed) value = (value + base) & mask;
            if (mode.transformed && isSigned) value = signExtend(value, mode.precision);
        }
    }
}

std::int64_t unquantizeUnsigned(std::int64_t value, int bits) {
    if (bits >= 15 || value == 0) return value;
    if (value == (std::int64_t{1} << bits) - 1) return 0xFFFF;
    return ((value << 16) + 0x8000) >> bits;
}

std::int64_t unquantizeSigned(std::int64_t value, int bits) {
    if (bits >= 16 || value == 0) return value;
    const std::int64_t magnitude = std::abs(value);
    const bool isLargest = magnitude >= (std::int64_t{1} << (bits - 1)) - 1;
    const std::int64_t wide = isLargest ? 0x7FFF : ((magnitude << 15) + 0x4000) >> (bits - 1);
    return value < 0 ? -wide : wide;
}

// Returns the half-float bits of an interpolated value.
std::uint16_t finish(std::int64_t value, bool isSigned) {
    if (!isSigned) return static_cast<std::uint16_t>(value * 31 >> 6);
    const std::int64_t magnitude = std::abs(value) * 31 >> 5;
    return static_cast<std::uint16_t>(value < 0 && magnitude != 0 ? magnitude | 0x8000 : magnitude);
}

std::array<int, 16> takeIndices(BitReader& bits, const Partition& partition, int indexBits) {
    std::array<int, 16> indices{};
    for (std::size_t t = 0; t < 16; ++t) indices[t] = bits.take(indexBits - (partition.isAnchor[t] ? 1 : 0));
    return indices;
}

FloatTexels decodeBC6H(Block block, bool isSigned) {
    FloatTexels texels{};
    texels.fill({0.0F, 0.0F, 0.0F, 1.0F});
    const auto mode = std::find_if(bc6hModes().begin(), bc6hModes().end(),
                                   [&](const Bc6hMode& m) { return bitsOf(block, 0, m.modeBits) == m.value; });
    if (mode == bc6hModes().end()) return texels;  // reserved

    BitReader bits(block, mode->modeBits);
    Endpoints6 endpoints{};
    for (const Bc6hField& field : mode->fields) {
        const std::int64_t value = bits.take(field.high - field.low + 1);
        endpoints[field.endpoint][field.channel] |= value << field.low;
    }
    const Partition& partition = partitionOf(mode->regions, mode->regions == 2 ? bits.take(5) : 0);
    finishEndpoints(endpoints, *mode, isSigned);

    const int indexBits = mode->regions == 2 ? 3 : 4;
    const auto indices = takeIndices(bits, partition, indexBits);
    const auto unquantize = isSigned ? unquantizeSigned : unquantizeUnsigned;
    for (std::size_t t = 0; t < 16; ++t) {
        const std::size_t region = at(partition.subsets[t]);
        for (std::size_t c = 0; c < 3; ++c) {
            const std::int64_t e0 = unquantize(endpoints[2 * region][c], mode->precision);
            const std::int64_t e1 = unquantize(endpoints[2 * region + 1][c], mode->precision);
            texels[t][c] = halfToFloat(finish(interpolate(e0, e1, indices[t], indexBits), isSigned));
        }
    }
    return texels;
}

using Endpoints7 = std::array<std::array<int, 4>, 6>;  // red, green, blue, alpha

// Widens a value to 8 bits by repeating its high bits below it.
int replicateTo8(int value, int bits) {
    const int shifted = value << (8 - bits);
    return shifted | shifted >> bits;
}

Endpoints7 takeBC7Endpoints(BitReader& bits, const Bc7Mode& mode) {
    Endpoints7 endpoints{};
    const int count = 2 * mode.subsets;
    const auto storedBits = [&](int channel) { return channel < 3 ? mode.colourBits : mode.alphaBits; };
    for (int c = 0; c < 4; ++c) {
        for (int e = 0; e < count; ++e) endpoints[at(e)][at(c)] = bits.take(storedBits(c));
    }
    std::array<int, 6> pBits{};
    for (int i = 0; i < mode.pBits; ++i) pBits[at(i)] = bits.take(1);

    for (int e = 0; e < count; ++e) {
        for (int c = 0; c < 4; ++c) {
            int& value = endpoints[at(e)][at(c)];
            if (mode.pBits != 0) value = value * 2 | pBits[at(e * mode.pBits / count)];
            value = storedBits(c) == 0 ? 255 : replicateTo8(value, storedBits(c) + (mode.pBits != 0 ? 1 : 0));
        }
    }
    return endpoints;
}

Texels decodeBC7(Block block) {
    Texels texels{};
    texels.fill({255, 0, 0, 0});
    int modeNumber = 0;
    while (modeNumber < 8 && bitsOf(block, modeNumber, 1) == 0) ++modeNumber;
    if (modeNumber == 8) return texels;

    const Bc7Mode& mode = bc7Modes()[at(modeNumber)];
    BitReader bits(block, modeNumber + 1);
    const Partition& partition = partitionOf(mode.subsets, bits.take(mode.partitionBits));
    const int rotation = bits.take(mode.rotationBits);
    const int selection = bits.take(mode.selectionBits);
    const Endpoints7 endpoints = takeBC7Endpoints(bits, mode);

    // If there are two sets of indices, colour uses the first and alpha the second, or the reverse.
    struct Indices {
        std::array<int, 16> values;
        int bits;
    };
    Indices colours = {takeIndices(bits, partition, mode.primaryBits), mode.primaryBits};
    Indices alphas = colours;
    if (mode.secondaryBits != 0)
        alphas = {takeIndices(bits, partitionOf(1, 0), mode.secondaryBits), mode.secondaryBits};
    if (selection == 1) std::swap(colours, alphas);

    for (std::size_t t = 0; t < 16; ++t) {
        const auto& e0 = endpoints[at(2 * partition.subsets[t])];
        const auto& e1 = endpoints[at(2 * partition.subsets[t] + 1)];
        const auto channel = [&](std::size_t c, const Indices& indices) {
            return toByte(interpolate(e0[c], e1[c], indices.values[t], indices.bits));
        };
        Texel& texel = texels[t];
        texel = {channel(3, alphas), channel(0, colours), channel(1, colours), channel(2, colours)};
        if (rotation == 1) std::swap(texel.a, texel.r);
        if (rotation == 2) std::swap(texel.a, texel.g);
        if (rotation == 3) std::swap(texel.a, texel.b);
    }
    return texels;
}

template <typename AnyTexels>
Tile tileOf(const AnyTexels& texels) {
    Tile tile(sizeof texels);
    std::memcpy(tile.data(), texels.data(), sizeof texels);
    return tile;
}

constexpr BlockFormat formats[] = {
    {"bc1", 8, 4, [](Block b) { return tileOf(decodeBC1(b, true)); }},
    {"bc2", 16, 4, [](Block b) { return tileOf(decodeBC2(b, false)); }},
    {"bc2Premultiplied", 16, 4, [](Block b) { return tileOf(decodeBC2(b, true)); }},
    {"bc3", 16, 4, [](Block b) { return tileOf(decodeBC3(b, false)); }},
    {"bc3Premultiplied", 16, 4, [](Block b) { return tileOf(decodeBC3(b, true)); }},
    {"bc4Unsigned", 8, 4, [](Block b) { return tileOf(decodeBC4(b, false)); }},
    {"bc4Signed", 8, 4, [](Block b) { return tileOf(decodeBC4(b, true)); }},
    {"bc5Unsigned", 16, 4, [](Block b) { return tileOf(decodeBC5(b, false)); }},
    {"bc5Signed", 16, 4, [](Block b) { return tileOf(decodeBC5(b, true)); }},
    {"bc6hUnsigned", 16, 16, [](Block b) { return tileOf(decodeBC6H(b, false)); }},
    {"bc6hSigned", 16, 16, [](Block b) { return tileOf(decodeBC6H(b, true)); }},
    {"bc7", 16, 4, [](Block b) { return tileOf(decodeBC7(b)); }},
};

}  // namespace

std::span<const BlockFormat> blockFormats() {
    return formats;
}

}  // namespace model
