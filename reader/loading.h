// Shared by the loaders: failing with a message, and reading in groups of records.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "dds/LazyBuffer.h"
#include "reader/loadPlan.h"

namespace kpx {

// Data that needs conversion is read in groups of rows. A group has about this many bytes, which fit in the cache.
inline constexpr std::uint64_t readGroupBytes = std::uint64_t{256} << 10;

// Reads up to count records of recordBytes bytes each, in groups.
class RecordReader {
public:
    RecordReader(std::uint64_t recordBytes, std::uint64_t count)
        : m_recordBytes(recordBytes), m_count(recordBytes == 0 ? 0 : count) {}

    // Allocates the buffer for a group. Returns false if that fails. Call it before read.
    bool allocate() {
        if (m_count == 0) return true;
        m_groupRecords = std::clamp<std::uint64_t>(readGroupBytes / m_recordBytes, 1, m_count);
        return m_group.allocate(m_recordBytes * m_groupRecords, Content::unset);
    }

    // Calls take(records, count) for each group. Stops at the first incomplete record. Returns the number of complete
    // records.
    template <typename Take>
    std::uint64_t read(std::FILE* stream, Take take) const {
        std::uint64_t count = 0;
        while (count != m_count) {
            const std::uint64_t request = std::min(m_groupRecords, m_count - count);
            const std::uint64_t whole = std::fread(m_group.data(), 1, request * m_recordBytes, stream) / m_recordBytes;
            take(m_group.data(), whole);
            count += whole;
            if (whole < request) break;
        }
        return count;
    }

private:
    std::uint64_t m_recordBytes;
    std::uint64_t m_count;
    std::uint64_t m_groupRecords = 0;
    LazyBuffer m_group;
};

// Print a message and a newline on standard output, flush it, and return -1.
int failWithoutMemory();
int failWithoutData();

}  // namespace kpx
