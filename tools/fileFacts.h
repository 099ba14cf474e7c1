// The start and the size of a file on disk, for a verdict on it.
#pragma once

#include <string>

#include "reader/verdict.h"

namespace kpx::tool {

// Throws FileError when the file cannot be read or is no regular file.
FileFacts readFacts(const std::string& path);

}  // namespace kpx::tool
