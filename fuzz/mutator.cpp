// Alternates libFuzzer's own mutations with one that knows the header.
#include "fuzz/target.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
    if (seed % 2 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    return fuzz::mutateDds(data, size, maxSize, seed);
}
