// Headers that lie, or call by another name what the reader knows, and how each fault is mended without touching the
// pixel data.
#pragma once

#include <cstdint>
#include <vector>

#include "explain/causes.h"

namespace kpx {

// A file with every fault mended that can be.
struct Repair {
    FileFacts facts;            // of the mended file
    std::uint64_t dataStart;    // where the pixel data starts in the file as it is
    Verdict verdict;            // on the mended file
    std::vector<Remark> mends;  // in the order in which they were made

    // Whether the mended file is recognised and decoded, and the file as it is is not decoded, or wrongly.
    [[nodiscard]] bool helps() const;
};

Repair repairOf(const FileFacts& facts);

// A sentence for what is told of a black picture, after a space; empty where repair does not help.
const char* repairHint(const FileFacts& facts);

}  // namespace kpx
