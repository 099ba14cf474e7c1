// Decodes a block of 16 arbitrary bytes by every decoder at every level, and compares with the model. Canaries around
// the output must not change.
#include <cstring>

#include "fuzz/target.h"
#include "tests/support/decoders.h"

const bool fuzz::inputsAreBlocks = true;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    unsigned char block[16] = {};
    std::memcpy(block, data, size < sizeof block ? size : sizeof block);
    for (const testing_support::Decoder& decoder : testing_support::decoders) {
        const testing_support::Tile tile = decoder.model(std::span(block));
        const std::size_t rowBytes = 4 * decoder.texelBytes;
        for (const kpx::KernelSet* kernels : kpx::kernelSets()) {
            if (!kernels->runsHere()) continue;
            unsigned char rows[4][64 + 16];
            std::memset(rows, 0xC3, sizeof rows);
            kernels->strips[decoder.kernel](block, 1, rows[0], sizeof rows[0]);
            for (std::size_t r = 0; r < 4; ++r) {
                fuzz::claim(std::memcmp(rows[r], tile.data() + r * rowBytes, rowBytes) == 0, kernels->name);
                for (std::size_t i = rowBytes; i < sizeof rows[r]; ++i)
                    fuzz::claim(rows[r][i] == 0xC3, "only the tile is written");
            }
        }
    }
    return 0;
}
