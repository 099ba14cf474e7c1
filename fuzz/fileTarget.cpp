// A whole file: header rules, open and scanlines. Claims that reader, verdict and model agree on everything: results,
// sizes, what is printed, and the pixels, whatever the heap held before and whichever kernels run.
#include <malloc.h>

#include "fuzz/target.h"
#include "tests/support/likeModel.h"

const bool fuzz::inputsAreBlocks = false;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::MemoryFile file;
    constexpr std::uint64_t mostPixels = 1 << 9;
    const std::span<const unsigned char> bytes(data, size);
    file.write(bytes);
    // The plain kernels or another set, which the input's size chooses.
    const auto sets = kpx::kernelSets();
    const kpx::KernelSet& kernels = *sets[size % sets.size()];
    if (!kernels.runsHere()) return 0;
    mallopt(M_PERTURB, 0x55);
    const testing::AssertionResult result = testing_support::readsLikeModel(file.path(), bytes, kernels, mostPixels);
    fuzz::claim(result, result.message());
    return 0;
}
