// Opens a file with the reader and holds its whole answer, and the verdict on the file, against the model's.
#pragma once

#include <gtest/gtest.h>

#include <span>

#include "tests/model/readerModel.h"
#include "tests/support/ddsFiles.h"

namespace testing_support {

// Of a picture with more pixels than this only some scanlines are compared, or the ends of the first and the last.
inline constexpr std::uint64_t comparedPixels = 1 << 18;

// What the reader prints on standard output meanwhile counts too. The second is for whatever is at path, of which file
// is all that can be read.
testing::AssertionResult readsLikeModel(std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels = kpx::bestKernels());
testing::AssertionResult readsLikeModel(const char* path, std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels = kpx::bestKernels(),
                                        std::uint64_t mostPixels = comparedPixels);

}  // namespace testing_support
