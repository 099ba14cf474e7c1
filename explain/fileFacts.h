// The start and the size of a file on disk, for a verdict on it.
#pragma once

#include <string>

#include "explain/verdict.h"

namespace kpx {

// Throws FileError when the path is that of a pipe or a device, which is read but once where an image is opened several
// times, and whose other end may never come. A missing file is left to what opens it.
void checkIsNoPipe(const std::string& path);

// Throws FileError when the file cannot be read or is no regular file.
FileFacts readFacts(const std::string& path);

}  // namespace kpx
