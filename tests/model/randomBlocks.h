// Deterministic generators of extreme and random blocks, for tests and fuzzers. The same seed gives the same blocks
// everywhere.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "tests/model/packers.h"
#include "tests/model/publishedTables.h"

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

    // 0 to bound - 1.
    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint64_t>(bound)); }

private:
    std::uint64_t m_state;
};

inline PackedBlock randomBlock(Random& random) {
    PackedBlock block{};
    for (unsigned char& byte : block) byte = static_cast<unsigned char>(random.below(256));
    return block;
}

// All bits clear, all set, each single bit set, each single bit clear. Formats of 8 bytes use the first 8.
inline std::vector<PackedBlock> extremeBlocks() {
    PackedBlock clear{};
    PackedBlock set{};
    set.fill(0xFF);
    std::vector<PackedBlock> blocks = {clear, set};
    for (int bit = 0; bit < 128; ++bit) {
        const auto byte = static_cast<std::size_t>(bit / 8);
        const auto flip = static_cast<unsigned char>(1U << (bit % 8));
        blocks.push_back(clear);
        blocks.back()[byte] ^= flip;
        blocks.push_back(set);
        blocks.back()[byte] ^= flip;
    }
    return blocks;
}

// Random blocks whose two halves start with equal endpoints: both the 8-bit pairs of BC3 to BC5 and the 16-bit pairs of
// BC1 to BC3 are equal.
inline std::vector<PackedBlock> equalEndpointBlocks(Random& random, int count) {
    std::vector<PackedBlock> blocks;
    for (int i = 0; i < count; ++i) {
        PackedBlock block = randomBlock(random);
        block[1] = block[2] = block[3] = block[0];
        block[9] = block[10] = block[11] = block[8];
        blocks.push_back(block);
    }
    return blocks;
}

// One block of random content for every BC7 mode, partition, rotation and index selection, then one whose endpoints are
// all at their largest value, then reserved blocks.
inline std::vector<PackedBlock> everyBC7Shape(Random& random) {
    std::vector<PackedBlock> blocks;
    for (int m = 0; m < 8; ++m) {
        const Bc7Mode& mode = bc7Modes[static_cast<std::size_t>(m)];
        const int headerBits = mode.partitionBits + mode.rotationBits + mode.selectionBits;
        for (int header = 0; header < 1 << headerBits; ++header) {
            Bc7Fields fields;
            fields.mode = m;
            fields.partition = header & ((1 << mode.partitionBits) - 1);
            fields.rotation = header & ((1 << mode.rotationBits) - 1);
            fields.selection = header >> mode.rotationBits & ((1 << mode.selectionBits) - 1);
            for (int& index : fields.primary) index = random.below(16);
            for (int& index : fields.secondary) index = random.below(8);
            for (int& bit : fields.pBits) bit = random.below(2);
            for (auto& endpoint : fields.endpoints)
                for (int& value : endpoint) value = random.below(256);
            blocks.push_back(packBC7(fields));
            for (auto& endpoint : fields.endpoints) endpoint.fill(255);
            blocks.push_back(packBC7(fields));
        }
    }
    for (int i = 0; i < 4; ++i) {
        blocks.push_back(randomBlock(random));
        blocks.back()[0] = 0;
    }
    return blocks;
}

// For every BC6H mode and partition: random fields, endpoints all zero, all ones, and alternating between the least and
// the greatest signed value, so that the sums of endpoint and delta wrap. Then blocks of the four reserved modes.
inline std::vector<PackedBlock> everyBC6HShape(Random& random) {
    std::vector<PackedBlock> blocks;
    for (const Bc6hMode& mode : bc6hModes) {
        const int partitions = mode.regions == 2 ? 32 : 1;
        for (int partition = 0; partition < partitions; ++partition) {
            for (int kind = 0; kind < 8; ++kind) {
                Bc6hFields fields;
                fields.mode = mode.number;
                fields.partition = partition;
                for (int& index : fields.indices) index = random.below(16);
                for (std::size_t e = 0; e < 4; ++e)
                    for (std::size_t c = 0; c < 3; ++c) {
                        const int bits = e == 0 ? mode.precision : mode.deltaBits[c];
                        const std::int64_t least = std::int64_t{1} << (bits - 1);
                        std::int64_t& value = fields.endpoints[e][c];
                        if (kind < 4) value = random.below(0x10000);
                        if (kind == 5) value = -1;
                        if (kind == 6) value = e % 2 == 0 ? least : least - 1;
                        if (kind == 7) value = e % 2 == 0 ? least - 1 : least;
                    }
                blocks.push_back(packBC6H(fields));
            }
        }
    }
    for (const int reserved : {0x13, 0x17, 0x1B, 0x1F}) {
        blocks.push_back(packReservedBC6H(reserved, false));
        blocks.push_back(packReservedBC6H(reserved, true));
    }
    return blocks;
}

}  // namespace model
