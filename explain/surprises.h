// What may surprise in a picture that is decoded, in words.
#pragma once

#include <vector>

#include "explain/finding.h"
#include "explain/verdict.h"

namespace kpx {

std::vector<Finding> surprisesOf(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx
