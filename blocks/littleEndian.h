// Reads little-endian words from the bytes of a file. The processors that the plug-in is built for are little-endian
// too, so reading a word is a plain unaligned load.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace kpx {

static_assert(std::endian::native == std::endian::little, "words are loaded as they stand in the file");

inline std::uint16_t load16(const unsigned char* bytes) {
    std::uint16_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline std::uint32_t load32(const unsigned char* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline std::uint64_t load64(const unsigned char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

}  // namespace kpx
