// A file in one line: what it is, whether it decodes correctly, and what to do.
#pragma once

#include <string>

#include "explain/Explanation.h"

namespace kpx {

// Sentences without the file's name.
std::string summaryOf(const Explanation& file);

}  // namespace kpx
