// Files that are no DDS files: what they are instead, by their first bytes.
#pragma once

#include <string>

#include "explain/verdict.h"

namespace kpx {

// Whether the file begins as recognition asks.
bool startsAsDds(const FileFacts& facts);

// What a file is that is empty, begins as files of another format do or has "DDS" in another place, and what to do with
// it: "is a PNG picture: ..." without the end of the sentence. Empty for every other file.
std::string otherFileText(const FileFacts& facts);

}  // namespace kpx
