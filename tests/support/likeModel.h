// Opens a file with the reader and compares the result, and the verdict on the file, with the model.
#pragma once

#include <gtest/gtest.h>

#include <span>

#include "explain/verdict.h"
#include "tests/model/readerModel.h"
#include "tests/support/ddsFiles.h"

namespace testing_support {

// Of larger pictures, only some scanlines are compared, or the ends of the first and the last.
inline constexpr std::uint64_t comparedPixels = 1 << 18;

// Compare the printed messages too. The second opens path, whose readable content is `file`.
testing::AssertionResult readsLikeModel(std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels = kpx::bestKernels());
testing::AssertionResult readsLikeModel(const char* path, std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels = kpx::bestKernels(),
                                        std::uint64_t mostPixels = comparedPixels);

// Returns "decoded", "black" or "refused".
const char* resultName(kpx::Result result);

}  // namespace testing_support
