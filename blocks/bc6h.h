// BC6H: high-dynamic-range colour of one or two regions in 16 bytes, unsigned or signed. A block is parsed into its
// fields, from which the texels are computed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/bc6hLayout.h"

namespace kpx {

// The fields of one block. mode is null for a reserved block. Endpoints are as stored, neither sign-extended nor
// transformed. Region s has endpoints 2s and 2s + 1.
struct Bc6Block {
    const Bc6Mode* mode;
    int partition;
    int endpoints[4][3];    // channels R, G, B
    std::uint64_t indices;  // that of texel t (4 x row + column) starts at bit 3t or 4t
};

Bc6Block parseBC6HBlock(const unsigned char* block);

// Decodes one 16-byte block into a tile of R, G, B, A floats whose row r starts at out + r x stride (in floats). Alpha
// is 1.0. A reserved block is opaque black.
void decompressBC6HBlock(const unsigned char* block, float* out, std::size_t stride, bool isSigned);

// Sign-extends stored endpoints and reverses the transform.
void bc6FinishEndpoints(Bc6Block& fields, bool isSigned);

// Sign-extend the three channels of an endpoint, from one width or from one per channel (in bits).
void bc6SignExtend(int* rgb, int bits);
void bc6SignExtend(int* rgb, const int* bits);

// Returns an endpoint channel of the given precision widened to 16 bits (unsigned) or 15 bits and a sign.
int bc6Unquantize(int value, int bits, bool isSigned);

// Returns one channel between two unquantised endpoints, with the weight of a 3-bit or 4-bit index.
int bc6Interpolate(int a, int b, int index, int indexBits);

// Returns the half-float bit pattern of an interpolated value, at most 0x7BFF in magnitude.
int bc6FinishUnquantize(int value, bool isSigned);

}  // namespace kpx
