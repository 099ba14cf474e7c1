// BC7 blocks, by the published format of Direct3D 11.
#include "blocks/bc7.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "blocks/bcIndices.h"
#include "blocks/bcTables.h"
#include "blocks/littleEndian.h"

namespace kpx {

namespace {

// Returns the next count bits (0 to 63), lowest first.
std::uint64_t readBits(Tuint128& bits, int count) {
    if (count == 0) return 0;
    const std::uint64_t value = bits.lo & ((std::uint64_t{1} << count) - 1);
    bits.lo = bits.lo >> count | bits.hi << (64 - count);
    bits.hi >>= count;
    return value;
}

void readPBits(unsigned char (*endpoints)[4], Tuint128& bits, const Bc7Mode& mode) {
    for (int s = 0; s < mode.subsets; ++s) {
        if (mode.pBits == PBits::none) return;
        const int first = static_cast<int>(readBits(bits, 1));
        const int second = mode.pBits == PBits::perSubset ? first : static_cast<int>(readBits(bits, 1));
        applyPbit(endpoints[2 * s], first);
        applyPbit(endpoints[2 * s + 1], second);
    }
}

// Swaps alpha with a colour channel, in modes 4 and 5.
void rotate(A8R8G8B8Colour& texel, unsigned rotation) {
    if (rotation == 1) std::swap(texel.a, texel.r);
    if (rotation == 2) std::swap(texel.a, texel.g);
    if (rotation == 3) std::swap(texel.a, texel.b);
}

}  // namespace

void getBC7Endpoints(unsigned char (*endpoints)[4], Tuint128& bits, int numEndpoints, int colourBits, int alphaBits) {
    for (int channel = 0; channel < 3; ++channel) {
        for (int e = 0; e < numEndpoints; ++e) {
            endpoints[e][channel] = static_cast<unsigned char>(readBits(bits, colourBits));
        }
    }
    for (int e = 0; e < numEndpoints; ++e) {
        endpoints[e][3] = static_cast<unsigned char>(alphaBits >= 1 ? readBits(bits, alphaBits) : 255);
    }
}

void applyPbit(unsigned char* endpoint, int pbit) {
    for (int channel = 0; channel < 4; ++channel) {
        endpoint[channel] = static_cast<unsigned char>(endpoint[channel] * 2 | pbit);
    }
}

void endpointsTo8bit(unsigned char (*endpoints)[4], int numEndpoints, int colourBits, int alphaBits) {
    const auto widen = [](unsigned char& channel, int bits) {
        const int high = channel << (8 - bits);
        channel = static_cast<unsigned char>(high | (high & 255) >> bits);
    };
    for (int e = 0; e < numEndpoints; ++e) {
        for (int channel = 0; channel < 3; ++channel) widen(endpoints[e][channel], colourBits);
        if (alphaBits >= 1) {
            widen(endpoints[e][3], alphaBits);
        } else {
            endpoints[e][3] = 255;
        }
    }
}

void bc7Interpolate(A8R8G8B8Colour& out, const unsigned char* e0, const unsigned char* e1, int colourIndex,
                    int colourIndexBits, int alphaIndex, int alphaIndexBits) {
    const auto channel = [e0, e1](int c, int index, int bits) {
        return static_cast<std::uint8_t>(bc7Interpolate(e0[c], e1[c], index, bits));
    };
    out.r = channel(0, colourIndex, colourIndexBits);
    out.g = channel(1, colourIndex, colourIndexBits);
    out.b = channel(2, colourIndex, colourIndexBits);
    out.a = alphaIndexBits == 0 ? std::uint8_t{255} : channel(3, alphaIndex, alphaIndexBits);
}

namespace {

// Reads the endpoints of a mode, widened to 8 bits, with channels R, G, B, A.
template <int number>
void readEndpoints(unsigned char (*endpoints)[4], Tuint128& bits) {
    constexpr const Bc7Mode& mode = bc7Modes[number];
    constexpr int count = 2 * mode.subsets;
    constexpr int pBit = mode.pBits == PBits::none ? 0 : 1;
    getBC7Endpoints(endpoints, bits, count, mode.colourBits, mode.alphaBits);
    readPBits(endpoints, bits, mode);
    // Channels of 8 bits need no widening.
    if constexpr (mode.colourBits + pBit < 8) {
        endpointsTo8bit(endpoints, count, mode.colourBits + pBit, mode.alphaBits == 0 ? 0 : mode.alphaBits + pBit);
    }
}

// Computes a palette. Entry i has the colour and the alpha of index i; where the indices are shorter, they repeat.
template <int colourBits, int alphaBits>
void makePalette(A8R8G8B8Colour* palette, const unsigned char* e0, const unsigned char* e1) {
    constexpr int colourMask = (1 << colourBits) - 1;
    constexpr int alphaMask = (1 << alphaBits) - 1;
    for (int i = 0; i < 1 << std::max(colourBits, alphaBits); ++i) {
        bc7Interpolate(palette[i], e0, e1, i & colourMask, colourBits, i & alphaMask, alphaBits);
    }
}

// Decodes modes 0 to 3, 6 and 7, which have one index per texel for all channels.
template <int number>
void decodeWithOneIndex(Tuint128 bits, A8R8G8B8Colour* out, std::size_t stride) {
    constexpr const Bc7Mode& mode = bc7Modes[number];
    constexpr int width = mode.primaryBits;
    constexpr int endpointCount = 2 * mode.subsets;
    const auto partition = static_cast<std::size_t>(readBits(bits, mode.partitionBits));
    unsigned char endpoints[endpointCount][4];
    readEndpoints<number>(endpoints, bits);
    const std::uint64_t indices = wholeIndices<mode.subsets, width>(bits.lo, partition);

    A8R8G8B8Colour palette[mode.subsets][1 << width];
    for (int s = 0; s < mode.subsets; ++s) {
        makePalette<width, mode.alphaBits == 0 ? 0 : width>(palette[s], endpoints[2 * s], endpoints[2 * s + 1]);
    }
    for (unsigned t = 0; t < 16; ++t) {
        const std::size_t index = indices >> (width * t) & ((1U << width) - 1);
        std::size_t subset = 0;
        if constexpr (mode.subsets > 1) subset = bcPartitions[mode.subsets - 2][partition][t];
        out[t / 4 * stride + t % 4] = palette[subset][index];
    }
}

template <int colourBits, int alphaBits>
void pickTexels(const unsigned char (*endpoints)[4], std::uint64_t colourIndices, std::uint64_t alphaIndices,
                unsigned rotation, A8R8G8B8Colour* out, std::size_t stride) {
    A8R8G8B8Colour palette[1 << std::max(colourBits, alphaBits)];
    makePalette<colourBits, alphaBits>(palette, endpoints[0], endpoints[1]);
    for (unsigned t = 0; t < 16; ++t) {
        A8R8G8B8Colour texel = palette[colourIndices >> (colourBits * t) & ((1U << colourBits) - 1)];
        texel.a = palette[alphaIndices >> (alphaBits * t) & ((1U << alphaBits) - 1)].a;
        rotate(texel, rotation);
        out[t / 4 * stride + t % 4] = texel;
    }
}

// Decodes modes 4 and 5, in which alpha has its own indices. In mode 4 these have another width, and the two sets may
// be swapped.
template <int number>
void decodeWithTwoIndices(Tuint128 bits, A8R8G8B8Colour* out, std::size_t stride) {
    constexpr const Bc7Mode& mode = bc7Modes[number];
    constexpr int primaryBits = mode.primaryBits;
    constexpr int secondaryBits = mode.secondaryBits;
    const auto rotation = static_cast<unsigned>(readBits(bits, mode.rotationBits));
    const bool exchanged = readBits(bits, mode.selectionBits) != 0;
    unsigned char endpoints[2][4];
    readEndpoints<number>(endpoints, bits);
    const std::uint64_t primary = wholeIndices<1, primaryBits>(readBits(bits, 16 * primaryBits - 1), 0);
    const std::uint64_t secondary = wholeIndices<1, secondaryBits>(bits.lo, 0);
    if (exchanged) {
        pickTexels<secondaryBits, primaryBits>(endpoints, secondary, primary, rotation, out, stride);
    } else {
        pickTexels<primaryBits, secondaryBits>(endpoints, primary, secondary, rotation, out, stride);
    }
}

void decodeReserved(Tuint128, A8R8G8B8Colour* out, std::size_t stride) {
    for (std::size_t row = 0; row < 4; ++row) std::fill_n(out + row * stride, 4, A8R8G8B8Colour{255, 0, 0, 0});
}

// Each decodes the bits after the mode bits. With one routine per mode all widths are constants: mode 6 decodes five
// times faster than by one routine for all modes.
constexpr void (*modeDecoders[])(Tuint128, A8R8G8B8Colour*, std::size_t) = {
    decodeWithOneIndex<0>, decodeWithOneIndex<1>,   decodeWithOneIndex<2>,
    decodeWithOneIndex<3>, decodeWithTwoIndices<4>, decodeWithTwoIndices<5>,
    decodeWithOneIndex<6>, decodeWithOneIndex<7>,   decodeReserved,
};

}  // namespace

void decompressBC7Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    Tuint128 bits{load64(block), load64(block + 8)};
    const int mode = std::countr_zero(block[0] | 0x100U);
    readBits(bits, mode + 1);
    modeDecoders[mode](bits, out, stride);
}

}  // namespace kpx
