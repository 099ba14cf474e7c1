// Repairs headers that are wrong or that name a known format by another name. Only the header changes; recoding changes
// the pixels.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "explain/findings.h"
#include "explain/surfaces.h"

namespace kpx {

// A change of a file: an id that never changes, and a sentence.
struct Remark {
    std::string id;
    std::string sentence;
};

// A file with every fault fixed that can be.
struct Repair {
    FileFacts facts;              // of the repaired file
    std::uint64_t dataStart;      // where the pixel data starts in the file as it is
    Verdict verdict;              // on the repaired file
    std::vector<Remark> changes;  // in the order in which they were made
    // The pictures to recode, as they are stored in the file; none if the data stays as it is.
    std::optional<SurfaceLayout> recoded;

    // Returns whether the repaired file is recognised and decoded, and the file as it is is not decoded, or wrongly.
    [[nodiscard]] bool helps() const;
};

// Returns the repaired file. With mayRecode the pixels are recoded too, if nothing else helps.
Repair repairOf(const FileFacts& facts, bool mayRecode = false);

// Returns why a black file is not recoded although it is known how its format is; none if recoding helps. recoding:
// what repairOf returns with mayRecode.
std::optional<Finding> recodingObstacle(const FileFacts& facts, const Repair& recoding);

}  // namespace kpx
