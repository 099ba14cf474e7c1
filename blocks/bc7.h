// BC7: eight modes of one to three subsets, with or without alpha, in 16 bytes. Each subset has a palette, computed
// from the fields of the block; indices pick the texels from it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/bc7Modes.h"
#include "blocks/texel.h"

namespace kpx {

// A block as a 128-bit number, read from its lowest bit.
struct Tuint128 {
    std::uint64_t lo;  // block bytes 0 to 7
    std::uint64_t hi;  // block bytes 8 to 15
};

// Decodes one 16-byte block into the tile whose row r starts at out + r x stride (in texels). A reserved block (first
// byte 0) is opaque black.
void decompressBC7Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride);

// Reads the channels of numEndpoints endpoints: all R, all G, all B, then all A. Alpha is 255 if alphaBits is 0.
void getBC7Endpoints(unsigned char (*endpoints)[4], Tuint128& bits, int numEndpoints, int colourBits, int alphaBits);

// Appends pbit as the lowest bit of all four channels.
void applyPbit(unsigned char* endpoint, int pbit);

// Widens channels of the given precisions (p-bit included) to 8 bits by bit replication. Alpha becomes 255 if alphaBits
// is 0.
void endpointsTo8bit(unsigned char (*endpoints)[4], int numEndpoints, int colourBits, int alphaBits);

// Interpolates a texel between two endpoints: R, G, B by the colour index, A by the alpha index. Alpha is 255 if
// alphaIndexBits is 0.
void bc7Interpolate(A8R8G8B8Colour& out, const unsigned char* e0, const unsigned char* e1, int colourIndex,
                    int colourIndexBits, int alphaIndex, int alphaIndexBits);

}  // namespace kpx
