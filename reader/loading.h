// What the loaders share: their two messages.
#pragma once

#include <cstdint>

namespace kpx {

// Print a message on the process's standard output, followed by a newline and a flush, and return -1.
int failWithoutMemory();  // "Insufficient memory to load DDS file"
int failWithoutData();    // "Error loading DDS pixel data"

}  // namespace kpx
