// Deterministic generators of extreme and random blocks, for tests and fuzzers. The same seed makes the same blocks
// everywhere.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace model {

// The SplitMix64 generator.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        m_state += 0x9E3779B97F4A7C15;
        std::uint64_t z = m_state;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
        z = (z ^ z >> 27) * 0x94D049BB133111EB;
        return z ^ z >> 31;
    }

    // Returns 0 to bound - 1.
    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint64_t>(bound)); }

private:
    std::uint64_t m_state;
};

using PackedBlock = std::array<unsigned char, 16>;

inline PackedBlock randomBlock(Random& random) {
    PackedBlock block{};
    for (unsigned char& byte : block) byte = static_cast<unsigned char>(random.below(256));
    return block;
}

// Returns blocks with all bits clear, all set, each single bit set, each single bit clear. Formats of 8 bytes use the
// first 8.
std::vector<PackedBlock> extremeBlocks();

// Returns random blocks whose two halves start with equal endpoints: both the 8-bit pairs of BC3 to BC5 and the 16-bit
// pairs of BC1 to BC3.
std::vector<PackedBlock> equalEndpointBlocks(Random& random, int count);

// Returns, for every BC7 mode, partition, rotation and index selection, a random block and one with the largest
// endpoints. Then blocks without a mode.
std::vector<PackedBlock> everyBC7Shape(Random& random);

// Returns, for every BC6H mode and partition, blocks with random fields, with endpoints all zero, all ones, and
// alternating between the least and the greatest signed value, so that endpoint plus delta wraps. Then the four
// reserved modes.
std::vector<PackedBlock> everyBC6HShape(Random& random);

}  // namespace model
