// BC7 blocks, by the published format of Direct3D 11.
#include "blocks/bc7.h"

#include <algorithm>
#include <utility>

#include "blocks/bcTables.h"
#include "blocks/littleEndian.h"

namespace kpx {

namespace {

// The next count bits (0 to 8), lowest first.
std::uint32_t readBits(Tuint128& bits, int count) {
    if (count == 0) return 0;
    const auto value = static_cast<std::uint32_t>(bits.lo & ((1U << count) - 1));
    bits.lo = bits.lo >> count | bits.hi << (64 - count);
    bits.hi >>= count;
    return value;
}

int readMode(Tuint128& bits) {
    int mode = 0;
    while (mode < bc7ReservedMode && readBits(bits, 1) == 0) ++mode;
    return mode;
}

void readPBits(Bc7Block& fields, Tuint128& bits, const Bc7Mode& mode) {
    const int endpoints = 2 * mode.subsets;
    if (mode.pBits == PBits::perEndpoint) {
        for (int e = 0; e < endpoints; ++e) applyPbit(fields.endpoints[e], static_cast<int>(readBits(bits, 1)));
    } else if (mode.pBits == PBits::perSubset) {
        for (int s = 0; s < mode.subsets; ++s) {
            const int pbit = static_cast<int>(readBits(bits, 1));
            applyPbit(fields.endpoints[2 * s], pbit);
            applyPbit(fields.endpoints[2 * s + 1], pbit);
        }
    }
}

void readIndices(std::uint32_t* indices, Tuint128& bits, int subsets, int partition, int indexBits) {
    for (int t = 0; t < 16; ++t) {
        indices[t] = readBits(bits, isFixup(subsets, partition, t) ? indexBits - 1 : indexBits);
    }
}

// The exchange of alpha with a colour channel in modes 4 and 5.
void rotate(A8R8G8B8Colour& texel, int rotation) {
    if (rotation == 1) std::swap(texel.a, texel.r);
    if (rotation == 2) std::swap(texel.a, texel.g);
    if (rotation == 3) std::swap(texel.a, texel.b);
}

// Where a texel's colour and alpha take their indices from.
struct IndexChoice {
    const std::uint32_t* colour;
    int colourBits;
    const std::uint32_t* alpha;
    int alphaBits;
};

IndexChoice chooseIndices(const Bc7Block& fields, const Bc7Mode& mode) {
    if (mode.alphaBits == 0) return {fields.primary, mode.primaryBits, fields.primary, 0};
    if (mode.secondaryBits == 0) return {fields.primary, mode.primaryBits, fields.primary, mode.primaryBits};
    if (fields.selection == 0) return {fields.primary, mode.primaryBits, fields.secondary, mode.secondaryBits};
    return {fields.secondary, mode.secondaryBits, fields.primary, mode.primaryBits};
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

Bc7Block parseBC7Block(const unsigned char* block) {
    Bc7Block fields{};
    Tuint128 bits{load64(block), load64(block + 8)};
    fields.mode = readMode(bits);
    const Bc7Mode& mode = bc7Modes[fields.mode];
    fields.partition = static_cast<int>(readBits(bits, mode.partitionBits));
    fields.rotation = static_cast<int>(readBits(bits, mode.rotationBits));
    fields.selection = static_cast<int>(readBits(bits, mode.selectionBits));

    const int endpoints = std::min(2 * mode.subsets, 6);  // never more, which the compiler cannot know
    getBC7Endpoints(fields.endpoints, bits, endpoints, mode.colourBits, mode.alphaBits);
    readPBits(fields, bits, mode);
    const int pBit = mode.pBits == PBits::none ? 0 : 1;
    // A reserved block has no bits to widen, and channels of 8 bits are wide already.
    if (mode.colourBits != 0 && mode.colourBits + pBit < 8) {
        endpointsTo8bit(fields.endpoints, endpoints, mode.colourBits + pBit,
                        mode.alphaBits == 0 ? 0 : mode.alphaBits + pBit);
    }
    readIndices(fields.primary, bits, mode.subsets, fields.partition, mode.primaryBits);
    if (mode.secondaryBits != 0) readIndices(fields.secondary, bits, 1, 0, mode.secondaryBits);
    return fields;
}

void decompressBC7Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    const Bc7Block fields = parseBC7Block(block);
    const Bc7Mode& mode = bc7Modes[fields.mode];
    const IndexChoice indices = chooseIndices(fields, mode);
    for (unsigned t = 0; t < 16; ++t) {
        const int subset = mode.subsets == 1 ? 0 : bcPartitions[mode.subsets - 2][fields.partition][t];
        A8R8G8B8Colour& texel = out[t / 4 * stride + t % 4];
        bc7Interpolate(texel, fields.endpoints[2 * subset], fields.endpoints[2 * subset + 1],
                       static_cast<int>(indices.colour[t]), indices.colourBits, static_cast<int>(indices.alpha[t]),
                       indices.alphaBits);
        rotate(texel, fields.rotation);
    }
}

}  // namespace kpx
