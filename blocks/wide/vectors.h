// The elements of the wide kernels' tables: vectors in memory, and instructions for gathering bit fields.
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

// Gathers up to 16 bit fields from the 16 bytes of a lane into words: a shuffle picks the two bytes around each field,
// and a multiplication shifts the top bit of the field to its place.
struct FieldGather {
    WideBytes bytes;
    WideWords lift;
};

inline constexpr std::uint8_t zeroByte = 0x80;  // a byte order that results in 0

// Adds a field of a block, bits first to first + width - 1, as word w, with its top bit at bit top.
constexpr void gatherField(FieldGather& gather, int w, int first, int width, int top) {
    const int byte = first / 8;
    gather.bytes.byte[2 * w] = static_cast<std::uint8_t>(byte);
    // The second byte; the field needs nothing beyond the end of the block.
    gather.bytes.byte[2 * w + 1] = byte < 15 ? static_cast<std::uint8_t>(byte + 1) : zeroByte;
    gather.lift.word[w] = static_cast<std::uint16_t>(1U << (top + 1 - width - first % 8));
}

constexpr WideBytes noBytes() {
    WideBytes bytes{};
    for (auto& byte : bytes.byte) byte = zeroByte;
    return bytes;
}

constexpr FieldGather emptyGather() {
    return {noBytes(), {}};
}

// Returns how to gather the sixteen indices of a 64-bit number, each at the top of a word.
constexpr FieldGather gatherIndices(int width) {
    FieldGather gather = emptyGather();
    for (int t = 0; t < 16; ++t) {
        gatherField(gather, t, t * width, width, 15);
        // The number is repeated in the lane; no index needs the repetition.
        if (gather.bytes.byte[2 * t + 1] > 7) gather.bytes.byte[2 * t + 1] = zeroByte;
    }
    return gather;
}

}  // namespace kpx
