// What the loaders share: their two messages, and how much they read at a time.
#pragma once

#include <cstdint>

namespace kpx {

inline constexpr const char* noMemoryMessage = "Insufficient memory to load DDS file";
inline constexpr const char* noDataMessage = "Error loading DDS pixel data";

// Data that is converted on its way is read in groups of rows of about this many bytes, which stay in the processor's
// cache.
inline constexpr std::uint64_t readGroupBytes = std::uint64_t{256} << 10;

// Print a message on the process's standard output, followed by a newline and a flush, and return -1.
int failWithoutMemory();
int failWithoutData();

}  // namespace kpx
