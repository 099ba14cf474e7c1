// What the loaders share: their two messages.
#pragma once

namespace kpx {

inline constexpr const char* noMemoryMessage = "Insufficient memory to load DDS file";
inline constexpr const char* noDataMessage = "Error loading DDS pixel data";

// Print a message on the process's standard output, followed by a newline and a flush, and return -1.
int failWithoutMemory();
int failWithoutData();

}  // namespace kpx
