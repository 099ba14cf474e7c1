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

// At most so many scanlines of a picture are compared: the first, the last and some between.
inline constexpr std::uint32_t comparedScanlines = 300;

}  // namespace testing_support
