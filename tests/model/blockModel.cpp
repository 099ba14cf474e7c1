#include "tests/model/blockModel.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tests/model/bitReader.h"
#include "tests/model/floatModel.h"
#include "tests/model/publishedTables.h"

namespace model {

namespace {

std::uint8_t toByte(std::int64_t value) {
    return static_cast<std::uint8_t>(value);
}
std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

// The RGB565 colour that starts at bit first, widened with truncation.
Texel colourAt(Block8 block, int first) {
    return {255, toByte(bitsOf(block, first + 11, 5) * 255 / 31), toByte(bitsOf(block, first + 5, 6) * 255 / 63),
            toByte(bitsOf(block, first, 5) * 255 / 31)};
}

// (p * c0 + q * c1) / (p + q) per colour channel, opaque.
Texel blend(Texel c0, Texel c1, int p, int q) {
    return {255, toByte((p * c0.r + q * c1.r) / (p + q)), toByte((p * c0.g + q * c1.g) / (p + q)),
            toByte((p * c0.b + q * c1.b) / (p + q))};
}

void undoPremultiplication(Texel& texel) {
    texel.r = divideByAlpha(texel.r, texel.a);
    texel.g = divideByAlpha(texel.g, texel.a);
    texel.b = divideByAlpha(texel.b, texel.a);
}

// The 16 stored bytes of a single-channel block.
std::array<std::uint8_t, 16> bc4Values(Block8 block, bool isSigned) {
    std::array<std::uint8_t, 16> values{};
    for (int t = 0; t < 16; ++t) values[at(t)] = bc4Value(block[0], block[1], bitsOf(block, 16 + 3 * t, 3), isSigned);
    return values;
}

}  // namespace

bool isAnchor(int subsets, int partition, int texel) {
    if (texel == 0) return true;
    if (subsets == 2) return texel == anchorOfSubset1OfTwo[at(partition)];
    if (subsets == 3)
        return texel == anchorOfSubset1OfThree[at(partition)] || texel == anchorOfSubset2OfThree[at(partition)];
    return false;
}

int subsetOf(int subsets, int partition, int texel) {
    if (subsets == 2) return twoSubsetPartitions[at(partition)][texel] - '0';
    if (subsets == 3) return threeSubsetPartitions[at(partition)][texel] - '0';
    return 0;
}

int weightOf(int index, int indexBits) {
    if (indexBits == 2) return weights2[at(index)];
    if (indexBits == 3) return weights3[at(index)];
    return weights4[at(index)];
}

std::int64_t interpolate(std::int64_t e0, std::int64_t e1, int index, int indexBits) {
    const std::int64_t weight = weightOf(index, indexBits);
    return ((64 - weight) * e0 + weight * e1 + 32) >> 6;
}

std::int64_t signExtend(std::int64_t value, int bits) {
    const std::int64_t range = std::int64_t{1} << bits;
    const std::int64_t low = value & (range - 1);
    return low >= range / 2 ? low - range : low;
}

std::uint8_t bc4Value(std::uint8_t e0, std::uint8_t e1, int index, bool isSigned) {
    const auto endpoint = [&](std::uint8_t raw) {
        return isSigned ? std::max<std::int64_t>(signExtend(raw, 8), -127) : std::int64_t{raw};
    };
    const std::int64_t v0 = endpoint(e0);
    const std::int64_t v1 = endpoint(e1);
    const int offset = isSigned ? 128 : 0;
    if (index == 0) return toByte(v0 + offset);
    if (index == 1) return toByte(v1 + offset);
    if (v0 > v1) return toByte(((8 - index) * v0 + (index - 1) * v1) / 7 + offset);
    if (index == 6) return 0;
    if (index == 7) return 255;
    return toByte(((6 - index) * v0 + (index - 1) * v1) / 5 + offset);
}

std::uint8_t bc3Alpha(std::uint8_t alpha0, std::uint8_t alpha1, int index) {
    if (index == 0) return alpha0;
    if (index == 1) return alpha1;
    if (alpha0 >= alpha1) return toByte(((8 - index) * std::int64_t{alpha0} + (index - 1) * std::int64_t{alpha1}) / 7);
    if (index == 6) return 0;
    if (index == 7) return 255;
    return toByte(((6 - index) * std::int64_t{alpha0} + (index - 1) * std::int64_t{alpha1}) / 5);
}

std::uint8_t divideByAlpha(std::uint8_t value, std::uint8_t alpha) {
    if (alpha == 0) return value;
    return value < alpha ? toByte(std::int64_t{value} * 256 / alpha) : std::uint8_t{255};
}

Texels decodeBC1(Block8 block, bool isDXT1) {
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

Texels decodeBC2(Block16 block, bool premultiplied) {
    Texels texels = decodeBC1(block.last<8>(), false);
    for (int t = 0; t < 16; ++t) {
        Texel& texel = texels[at(t)];
        texel.a = toByte(std::int64_t{17} * bitsOf(block, 4 * t, 4));
        if (premultiplied) undoPremultiplication(texel);
    }
    return texels;
}

Texels decodeBC3(Block16 block, bool premultiplied) {
    Texels texels = decodeBC1(block.last<8>(), false);
    for (int t = 0; t < 16; ++t) {
        Texel& texel = texels[at(t)];
        texel.a = bc3Alpha(block[0], block[1], bitsOf(block, 16 + 3 * t, 3));
        if (premultiplied) undoPremultiplication(texel);
    }
    return texels;
}

Texels decodeBC4(Block8 block, bool isSigned) {
    const auto grey = bc4Values(block, isSigned);
    Texels texels{};
    for (std::size_t t = 0; t < 16; ++t) texels[t] = {255, grey[t], grey[t], grey[t]};
    return texels;
}

Texels decodeBC5(Block16 block, bool isSigned) {
    const auto red = bc4Values(block.first<8>(), isSigned);
    const auto green = bc4Values(block.last<8>(), isSigned);
    Texels texels{};
    for (std::size_t t = 0; t < 16; ++t) texels[t] = {255, red[t], green[t], 0};
    return texels;
}

namespace {

using Endpoints6 = std::array<std::array<std::int64_t, 3>, 4>;

// The mode whose mode field the block starts with; null when it is reserved.
const Bc6hMode* bc6hModeOf(Block16 block) {
    for (const Bc6hMode& mode : bc6hModes)
        if (bitsOf(block, 0, mode.modeBits) == mode.value) return &mode;
    return nullptr;
}

// Sign extension and the addition of endpoint 0 to the deltas of the other three.
void finishEndpoints(Endpoints6& endpoints, const Bc6hMode& mode, bool isSigned) {
    const std::int64_t mask = (std::int64_t{1} << mode.precision) - 1;
    for (std::size_t c = 0; c < 3; ++c) {
        const std::int64_t base = isSigned ? signExtend(endpoints[0][c], mode.precision) : endpoints[0][c];
        endpoints[0][c] = base;
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

// The half-float bits of an interpolated value.
std::uint16_t finish(std::int64_t value, bool isSigned) {
    if (!isSigned) return static_cast<std::uint16_t>(value * 31 >> 6);
    const std::int64_t magnitude = std::abs(value) * 31 >> 5;
    return static_cast<std::uint16_t>(value < 0 && magnitude != 0 ? magnitude | 0x8000 : magnitude);
}

std::array<int, 16> takeIndices(BitReader& bits, int subsets, int partition, int indexBits) {
    std::array<int, 16> indices{};
    for (int t = 0; t < 16; ++t)
        indices[at(t)] = bits.take(isAnchor(subsets, partition, t) ? indexBits - 1 : indexBits);
    return indices;
}

}  // namespace

FloatTexels decodeBC6H(Block16 block, bool isSigned) {
    FloatTexels texels{};
    for (auto& texel : texels) texel = {0.0F, 0.0F, 0.0F, 1.0F};
    const Bc6hMode* mode = bc6hModeOf(block);
    if (mode == nullptr) return texels;

    BitReader bits(block, mode->modeBits);
    Endpoints6 endpoints{};
    for (const Bc6hField& field : mode->fields)
        endpoints[at(field.endpoint)][at(field.channel)] |= std::int64_t{bits.take(field.high - field.low + 1)}
                                                            << field.low;
    const int partition = mode->regions == 2 ? bits.take(5) : 0;
    finishEndpoints(endpoints, *mode, isSigned);

    const int indexBits = mode->regions == 2 ? 3 : 4;
    const auto indices = takeIndices(bits, mode->regions, partition, indexBits);
    for (int t = 0; t < 16; ++t) {
        const int region = subsetOf(mode->regions, partition, t);
        for (int c = 0; c < 3; ++c) {
            const auto endpoint = [&](int e) {
                const std::int64_t value = endpoints[at(e)][at(c)];
                return isSigned ? unquantizeSigned(value, mode->precision) : unquantizeUnsigned(value, mode->precision);
            };
            const auto value = interpolate(endpoint(2 * region), endpoint(2 * region + 1), indices[at(t)], indexBits);
            texels[at(t)][at(c)] = halfToFloat(finish(value, isSigned));
        }
    }
    return texels;
}

namespace {

using Endpoints7 = std::array<std::array<int, 4>, 6>;  // red, green, blue, alpha

// Repeats the high bits of a value of the given width below it, up to 8 bits.
int replicateTo8(int value, int bits) {
    const int shifted = value << (8 - bits);
    return shifted | shifted >> bits;
}

Endpoints7 takeBC7Endpoints(BitReader& bits, const Bc7Mode& mode) {
    Endpoints7 endpoints{};
    const int count = 2 * mode.subsets;
    for (int c = 0; c < 4; ++c)
        for (int e = 0; e < count; ++e) endpoints[at(e)][at(c)] = bits.take(c < 3 ? mode.colourBits : mode.alphaBits);

    std::array<int, 6> pBits{};
    for (int i = 0; i < mode.pBits; ++i) pBits[at(i)] = bits.take(1);
    const int endpointsPerPBit = mode.pBits == 0 ? 0 : count / mode.pBits;

    for (int e = 0; e < count; ++e)
        for (int c = 0; c < 4; ++c) {
            int& value = endpoints[at(e)][at(c)];
            if (endpointsPerPBit != 0) value = value * 2 | pBits[at(e / endpointsPerPBit)];
            if (c < 3)
                value = replicateTo8(value, mode.wideColourBits);
            else
                value = mode.wideAlphaBits == 0 ? 255 : replicateTo8(value, mode.wideAlphaBits);
        }
    return endpoints;
}

void rotate(Texel& texel, int rotation) {
    if (rotation == 1) std::swap(texel.a, texel.r);
    if (rotation == 2) std::swap(texel.a, texel.g);
    if (rotation == 3) std::swap(texel.a, texel.b);
}

}  // namespace

Texels decodeBC7(Block16 block) {
    Texels texels{};
    texels.fill({255, 0, 0, 0});
    int modeNumber = 0;
    while (modeNumber < 8 && bitsOf(block, modeNumber, 1) == 0) ++modeNumber;
    if (modeNumber == 8) return texels;

    const Bc7Mode& mode = bc7Modes[at(modeNumber)];
    BitReader bits(block, modeNumber + 1);
    const int partition = bits.take(mode.partitionBits);
    const int rotation = bits.take(mode.rotationBits);
    const int selection = bits.take(mode.selectionBits);
    const Endpoints7 endpoints = takeBC7Endpoints(bits, mode);

    const auto primary = takeIndices(bits, mode.subsets, partition, mode.primaryBits);
    const bool hasSecondary = mode.secondaryBits != 0;
    const auto secondary = hasSecondary ? takeIndices(bits, 1, 0, mode.secondaryBits) : primary;
    const int secondaryBits = hasSecondary ? mode.secondaryBits : mode.primaryBits;
    const auto& colourIndices = selection == 1 ? secondary : primary;
    const auto& alphaIndices = selection == 1 ? primary : secondary;
    const int colourBits = selection == 1 ? secondaryBits : mode.primaryBits;
    const int alphaBits = selection == 1 ? mode.primaryBits : secondaryBits;

    for (int t = 0; t < 16; ++t) {
        const int subset = subsetOf(mode.subsets, partition, t);
        const auto& e0 = endpoints[at(2 * subset)];
        const auto& e1 = endpoints[at(2 * subset + 1)];
        Texel& texel = texels[at(t)];
        texel.r = toByte(interpolate(e0[0], e1[0], colourIndices[at(t)], colourBits));
        texel.g = toByte(interpolate(e0[1], e1[1], colourIndices[at(t)], colourBits));
        texel.b = toByte(interpolate(e0[2], e1[2], colourIndices[at(t)], colourBits));
        texel.a = toByte(interpolate(e0[3], e1[3], alphaIndices[at(t)], alphaBits));
        rotate(texel, rotation);
    }
    return texels;
}

}  // namespace model
