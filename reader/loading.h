// What the loaders share: their two messages, and how much they read at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "reader/LazyBuffer.h"

namespace kpx {

inline constexpr const char* noMemoryMessage = "Insufficient memory to load DDS file";
inline constexpr const char* noDataMessage = "Error loading DDS pixel data";

// Data that is converted on its way is read in groups of rows of about this many bytes, which stay in the processor's
// cache.
inline constexpr std::uint64_t readGroupBytes = std::uint64_t{256} << 10;

// Reads up to count records of recordBytes bytes each in groups, and hands over each group: take(records, how many). A
// record that does not arrive whole is not handed over, and none after it. Gives how many were, or -1, with nothing
// read, when there is no memory for a group.
template <typename Take>
std::int64_t readRecords(std::FILE* stream, std::uint64_t recordBytes, std::uint64_t count, Take take) {
    if (recordBytes == 0 || count == 0) return 0;
    const std::uint64_t groupRecords = std::clamp<std::uint64_t>(readGroupBytes / recordBytes, 1, count);
    LazyBuffer group;
    if (!group.allocate(recordBytes * groupRecords)) return -1;
    std::uint64_t taken = 0;
    while (taken != count) {
        const std::uint64_t asked = std::min(groupRecords, count - taken);
        const std::uint64_t whole = std::fread(group.data(), 1, asked * recordBytes, stream) / recordBytes;
        take(group.data(), whole);
        taken += whole;
        if (whole < asked) break;
    }
    return static_cast<std::int64_t>(taken);
}

// Print a message on the process's standard output, followed by a newline and a flush, and return -1.
int failWithoutMemory();
int failWithoutData();

}  // namespace kpx
