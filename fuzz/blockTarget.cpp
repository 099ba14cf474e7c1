// One block of 16 arbitrary bytes through every decoder at every level, against the model, between canaries.
#include <cstring>

#include "blocks/kernels.h"
#include "fuzz/target.h"
#include "tests/model/blockModel.h"

namespace {

using kpx::BlockKernel;

template <typename Texels>
void compare(BlockKernel kernel, const unsigned char* block, std::size_t texelBytes, const Texels& expected) {
    constexpr std::size_t largest = 64;
    for (const kpx::KernelSet* kernels : kpx::kernelSets()) {
        if (!kernels->runsHere()) continue;
        unsigned char rows[4][largest + 16];
        std::memset(rows, 0xC3, sizeof rows);
        kernels->strips[static_cast<std::size_t>(kernel)](block, 1, rows[0], sizeof rows[0]);
        const auto* texels = reinterpret_cast<const unsigned char*>(expected.data());
        for (std::size_t r = 0; r < 4; ++r) {
            fuzz::claim(std::memcmp(rows[r], texels + r * 4 * texelBytes, 4 * texelBytes) == 0, kernels->name);
            for (std::size_t i = 4 * texelBytes; i < sizeof rows[r]; ++i)
                fuzz::claim(rows[r][i] == 0xC3, "only the tile is written");
        }
    }
}

}  // namespace

const bool fuzz::inputsAreBlocks = true;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    unsigned char block[16] = {};
    std::memcpy(block, data, size < sizeof block ? size : sizeof block);
    const std::span<const unsigned char, 8> half(block, 8);
    const std::span<const unsigned char, 16> whole(block, 16);
    compare(BlockKernel::bc1, block, 4, model::decodeBC1(half, true));
    compare(BlockKernel::bc2, block, 4, model::decodeBC2(whole, false));
    compare(BlockKernel::bc2Premultiplied, block, 4, model::decodeBC2(whole, true));
    compare(BlockKernel::bc3, block, 4, model::decodeBC3(whole, false));
    compare(BlockKernel::bc3Premultiplied, block, 4, model::decodeBC3(whole, true));
    compare(BlockKernel::bc4Unsigned, block, 4, model::decodeBC4(half, false));
    compare(BlockKernel::bc4Signed, block, 4, model::decodeBC4(half, true));
    compare(BlockKernel::bc5Unsigned, block, 4, model::decodeBC5(whole, false));
    compare(BlockKernel::bc5Signed, block, 4, model::decodeBC5(whole, true));
    compare(BlockKernel::bc6hUnsigned, block, 16, model::decodeBC6H(whole, false));
    compare(BlockKernel::bc6hSigned, block, 16, model::decodeBC6H(whole, true));
    compare(BlockKernel::bc7, block, 4, model::decodeBC7(whole));
    return 0;
}
