// Why a file is not decoded, or not opened, in words.
#pragma once

#include <string>
#include <vector>

#include "explain/finding.h"
#include "explain/verdict.h"

namespace kpx {

// Returns the refusals of a file as findings; none of a decoded file. The first has the advice.
std::vector<Finding> causesOf(const FileFacts& facts, const Verdict& verdict);

// Returns the sentences of the causes, one after the other.
std::string causeText(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx
