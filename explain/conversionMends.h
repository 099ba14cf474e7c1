// Mends that change the picture, which are made only where that is asked for.
#pragma once

#include <optional>
#include <string>

#include "explain/draft.h"

namespace kpx {

// Why a black file is not converted, though it is known how its format is; none where the conversion helps. conversion
// is the file with every mend, those that change the picture among them.
std::optional<Finding> conversionObstacle(const FileFacts& facts, const Repair& conversion);

namespace mending {

// As every mend: make their change and say what it is, or do and say nothing where their fault is not there.
std::string pixelsConverted(Draft& draft);  // by explain/conversion.h

}  // namespace mending

}  // namespace kpx
