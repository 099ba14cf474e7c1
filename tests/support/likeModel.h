// Opens a file with the reader and holds its whole answer, and the verdict on the file, against the model's.
#pragma once

#include <gtest/gtest.h>

#include <span>

#include "tests/model/readerModel.h"
#include "tests/support/ddsFiles.h"

namespace testing_support {

// What the reader prints on standard output meanwhile counts too.
testing::AssertionResult readsLikeModel(std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels = kpx::bestKernels());
// The same for whatever is at path, of which file is all that can be read.
testing::AssertionResult readsLikeModel(const char* path, std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels = kpx::bestKernels());

// At most so many scanlines of a picture are compared, of high ones some and the last, and of long rows the two ends;
// of rows above the longest nothing.
inline constexpr std::uint64_t comparedScanlines = 300;
inline constexpr std::uint64_t longRow = 1 << 13;
inline constexpr std::uint64_t longestRow = 1 << 17;

}  // namespace testing_support
