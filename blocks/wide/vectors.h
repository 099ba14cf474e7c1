// Vectors as they lie in memory, and the gathering of bit fields as data: what the tables of the wide kernels are made
// of.
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

inline constexpr std::uint8_t zeroByte = 0x80;  // a byte order that gives 0

// Gathers a field of a block, its bits first to first + width - 1, into word w so that its top bit is bit top.
constexpr void gatherField(FieldGather& gather, int w, int first, int width, int top) {
    const int byte = first / 8;
    gather.bytes.byte[2 * w] = static_cast<std::uint8_t>(byte);
    // The window's second byte; past the block's end there is nothing that the field needs.
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

// Sixteen indices of a 64-bit word, a word each with the index on top.
constexpr FieldGather gatherIndices(int width) {
    FieldGather gather = emptyGather();
    for (int t = 0; t < 16; ++t) {
        gatherField(gather, t, t * width, width, 15);
        // The 64-bit word is repeated, and no index needs the repetition.
        if (gather.bytes.byte[2 * t + 1] > 7) gather.bytes.byte[2 * t + 1] = zeroByte;
    }
    return gather;
}

}  // namespace kpx
