// Mends that change the picture, which are made only where that is asked for.
#pragma once

#include <optional>
#include <string>

#include "explain/draft.h"

namespace kpx {

// Why a black file is not converted, of whose format that is known how; none where it is, or that is not known.
std::optional<Remark> conversionObstacle(const FileFacts& facts);

namespace mending {

// As every mend: make their change and say what it is, or do and say nothing where their fault is not there.
std::string pixelsConverted(Draft& draft);  // by explain/conversion.h
std::string swizzledBlocks(Draft& draft);   // blocks under the code of the same blocks with other channels

}  // namespace mending

}  // namespace kpx
