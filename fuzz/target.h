// What the fuzz targets share. Each target is one function, LLVMFuzzerTestOneInput, driven either by libFuzzer or by
// replayMain.cpp.
#pragma once

#include <sys/prctl.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

#include "tests/support/memoryFile.h"

namespace fuzz {

using Bytes = std::vector<unsigned char>;

// A large page costs as much as several inputs to clear, and inputs touch little of it.
struct MemoryFile : testing_support::MemoryFile {
    MemoryFile() { (void)prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0); }
};

// A claim that does not hold ends the program, which is what a fuzzer looks for.
inline void claim(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "claim broken: %s\n", what);
    std::abort();
}

// Bytes of the input as numbers; zero after its end.
class Input {
public:
    explicit Input(std::span<const unsigned char> bytes) : m_bytes(bytes) {}

    std::uint32_t number(int bytes) {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) value |= static_cast<std::uint32_t>(next()) << (8 * i);
        return value;
    }

    unsigned char next() { return m_at < m_bytes.size() ? m_bytes[m_at++] : 0; }

private:
    std::span<const unsigned char> m_bytes;
    std::size_t m_at = 0;
};

// Changes an input of a DDS file in place, one field of its header or one byte, and gives the new size, of at most
// most bytes. The same seed makes the same change.
std::size_t mutateDds(unsigned char* bytes, std::size_t size, std::size_t most, std::uint64_t seed);

// Whether the target of this program takes single blocks and not files.
extern const bool inputsAreBlocks;

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
