// Headers that lie, or call by another name what the reader knows, and how each fault is mended without touching the
// pixel data; and what becomes of a file with every mend that helps.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "explain/finding.h"
#include "explain/surfaces.h"

namespace kpx {

// A change of a header: an id that never changes, and a sentence.
struct Remark {
    std::string id;
    std::string sentence;
};

// A file with every fault mended that can be.
struct Repair {
    FileFacts facts;            // of the mended file
    std::uint64_t dataStart;    // where the pixel data starts in the file as it is
    Verdict verdict;            // on the mended file
    std::vector<Remark> mends;  // in the order in which they were made
    // The pictures as they lie in the file, to be converted; none: the data stays as it is.
    std::optional<SurfaceLayout> converted;

    // Whether the mended file is recognised and decoded, and the file as it is is not decoded, or wrongly.
    [[nodiscard]] bool helps() const;
};

// With mayConvert also what changes the picture, where nothing else is known.
Repair repairOf(const FileFacts& facts, bool mayConvert = false);

// A sentence for what is told of a black picture, after a space; empty where repair does not help.
const char* repairHint(const FileFacts& facts);

}  // namespace kpx
