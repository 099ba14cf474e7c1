#include "tests/model/randomBlocks.h"

#include "tests/model/bitReader.h"
#include "tests/model/tables.h"

namespace model {

std::vector<PackedBlock> extremeBlocks() {
    PackedBlock clear{};
    PackedBlock set{};
    set.fill(0xFF);
    std::vector<PackedBlock> blocks = {clear, set};
    for (int bit = 0; bit < 128; ++bit) {
        putBits(blocks.emplace_back(clear), bit, 1, 1);
        putBits(blocks.emplace_back(set), bit, 1, 0);
    }
    return blocks;
}

std::vector<PackedBlock> equalEndpointBlocks(Random& random, int count) {
    std::vector<PackedBlock> blocks;
    for (int i = 0; i < count; ++i) {
        PackedBlock& block = blocks.emplace_back(randomBlock(random));
        block[1] = block[2] = block[3] = block[0];
        block[9] = block[10] = block[11] = block[8];
    }
    return blocks;
}

std::vector<PackedBlock> everyBC7Shape(Random& random) {
    std::vector<PackedBlock> blocks;
    for (int m = 0; m < 8; ++m) {
        const Bc7Mode& mode = bc7Modes()[static_cast<std::size_t>(m)];
        const int headerBits = mode.partitionBits + mode.rotationBits + mode.selectionBits;
        const int endpointBits = 2 * mode.subsets * (3 * mode.colourBits + mode.alphaBits);
        for (int header = 0; header < 1 << headerBits; ++header) {
            PackedBlock& block = blocks.emplace_back(randomBlock(random));
            putBits(block, 0, m + 1, std::int64_t{1} << m);
            putBits(block, m + 1, headerBits, header);
            const PackedBlock withoutLargest = block;
            PackedBlock& largest = blocks.emplace_back(withoutLargest);
            for (int bit = 0; bit < endpointBits; ++bit) putBits(largest, m + 1 + headerBits + bit, 1, 1);
        }
    }
    for (int i = 0; i < 4; ++i) blocks.emplace_back(randomBlock(random))[0] = 0;
    return blocks;
}

std::vector<PackedBlock> everyBC6HShape(Random& random) {
    std::vector<PackedBlock> blocks;
    for (const Bc6hMode& mode : bc6hModes()) {
        for (int shape = 0; shape < 8 * (mode.regions == 2 ? 32 : 1); ++shape) {
            PackedBlock& block = blocks.emplace_back(randomBlock(random));
            putBits(block, 0, mode.modeBits, mode.value);
            if (mode.regions == 2) putBits(block, 77, 5, shape / 8);
            int position = mode.modeBits;
            for (const Bc6hField& field : mode.fields) {
                const int bits = field.endpoint == 0 ? mode.precision : mode.deltaBits[field.channel];
                const std::int64_t least = std::int64_t{1} << (bits - 1);
                const bool isEven = field.endpoint % 2 == 0;
                const std::int64_t values[] = {0, -1, isEven ? least : least - 1, isEven ? least - 1 : least};
                const int count = field.high - field.low + 1;
                if (shape % 8 >= 4) putBits(block, position, count, values[shape % 8 - 4] >> field.low);
                position += count;
            }
        }
    }
    for (const int reserved : {0x13, 0x17, 0x1B, 0x1F}) {
        for (const int fill : {0x00, 0xFF}) {
            blocks.emplace_back().fill(static_cast<unsigned char>(fill));
            putBits(blocks.back(), 0, 5, reserved);
        }
    }
    return blocks;
}

}  // namespace model
