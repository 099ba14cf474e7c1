// What the wide kernels look up: where the fields of a BC7 or BC6H block lie, worked out at compile time from the
// same rows of numbers that the plain decoders read.
#pragma once

#include <cstdint>

namespace kpx {

// A vector of 16 words or 32 bytes, in memory.
struct WideWords {
    alignas(32) std::uint16_t word[16];
};
struct WideBytes {
    alignas(32) std::uint8_t byte[32];
};

// How up to 16 bit fields are gathered from a lane's 16 bytes into words: pick the two bytes around each field, and
// multiply so that the field's top bit comes to a chosen place.
struct FieldGather {
    WideBytes bytes;
    WideWords lift;
};

// How a BC7 block of one mode is taken apart. Lanes of endpoints: first R and G, then B and A; word e of a lane is
// endpoint e.
struct Bc7Wide {
    FieldGather endpoints[2];
    WideWords stored[2];             // the bits of a lifted field that are stored in the block
    WideWords filled[2];             // bits to set besides: alpha is 255 where a mode has none
    FieldGather pBits;               // lifted to just below the stored bits, the same for every channel
    WideWords pBit;                  // the bit that a p-bit comes to
    WideWords replicate[2];          // multiplied by this, the high 16 bits are the field shifted right by its width
    FieldGather primary, secondary;  // indices, from two equal halves of a lane
    WideWords primaryWidth, secondaryWidth;                 // 2^width: the high 16 bits of a product are the index
    std::uint8_t primaryWeights[32], secondaryWeights[32];  // of an index, for each lane
    std::uint64_t primaryAnchor, secondaryAnchor;           // the bits above the first texel's index
    const WideBytes* subsets;                               // by partition: bytes 2s and 2s + 1 for each texel
    const std::uint64_t (*anchors)[2];  // by partition: the bits above the indices of the other anchors, ascending
    std::uint8_t partitionMask;         // after the mode bits; 0 in modes of one subset
    std::uint8_t primaryByte, primaryShift, secondaryShift;  // where in the block the indices start
    bool hasSecondary;
};

// Rows 0 to 7 are the modes, row 8 the reserved block.
extern const Bc7Wide bc7Wide[9];

// The bytes of a texel a, r, g, b with alpha exchanged: for rotation 0 to 3, in each lane.
extern const WideBytes bc7Rotations[4];

// A run of bits of one BC6H endpoint channel: bits of the 64-bit word at byte firstByte.
struct Bc6Gather {
    std::uint8_t firstByte, shift, field, place;
    std::uint32_t mask;
};

struct Bc6Wide {
    Bc6Gather runs[24];
    std::uint8_t runCount;
    std::uint8_t precision;
    bool twoRegions, transformed;
    std::int32_t deltaLift[4];  // 32 minus the delta bits of R, G, B, and 0
};

// By the low five bits of a block; null for reserved blocks.
extern const Bc6Wide* const bc6WideByValue[32];

// The bits above the index of the second region's anchor, by partition, for 3-bit indices.
extern const std::uint64_t (*const bc6Anchors)[2];

}  // namespace kpx
