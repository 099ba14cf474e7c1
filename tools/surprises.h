// What may surprise in a picture that is decoded, in words.
#pragma once

#include <vector>

#include "tools/causes.h"

namespace kpx::tool {

std::vector<Remark> surprisesOf(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx::tool
