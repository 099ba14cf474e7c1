// Shared by the fuzz targets. Each target is a function LLVMFuzzerTestOneInput, called by libFuzzer or replayMain.cpp.
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

// A file in memory, with large pages off: clearing one takes as long as several inputs, which use little of it.
struct MemoryFile : testing_support::MemoryFile {
    MemoryFile() { (void)prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0); }
};

// Aborts the program, which a fuzzer reports, if the claim does not hold.
inline void claim(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "claim broken: %s\n", what);
    std::abort();
}

// Reads the input as numbers; 0 after its end.
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

// Changes one header field or one byte of a DDS file in place, and returns the new size, which is at most `most`. The
// same seed makes the same change.
std::size_t mutateDds(unsigned char* bytes, std::size_t size, std::size_t most, std::uint64_t seed);

// Whether the inputs of this program's target are single blocks instead of files.
extern const bool inputsAreBlocks;

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
