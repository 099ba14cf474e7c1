// An owned block of memory for pixels. A large block costs only what is written to it, so that a small file which
// declares a huge picture takes no more memory than it fills.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kpx {

// What a new block holds: zeros, or anything, for an owner that writes every byte, or calls zeroFrom, before one is
// read.
enum class Content : std::uint8_t { zero, unset };

class LazyBuffer {
public:
    LazyBuffer() = default;
    ~LazyBuffer() { release(); }
    LazyBuffer(const LazyBuffer&) = delete;
    LazyBuffer& operator=(const LazyBuffer&) = delete;

    // Allocates bytes (0 is allowed) after releasing what was held. Returns false, and holds nothing, if the allocation
    // fails or bytes exceeds largestBlock. Reading a large block before it is written may take memory too: where the
    // kernel has no shared zero page of the size, a read gives a page of its own, which can be a large one.
    bool allocate(std::uint64_t bytes, Content content = Content::zero);
    void release();

    // Zeroes the bytes from start on, none of which has been written.
    void zeroFrom(std::uint64_t start);

    // Aligned for every scalar type; null when nothing is held.
    unsigned char* data() const { return m_data; }
    // The bytes that were asked for; 0 when nothing is held.
    std::uint64_t size() const { return m_size; }

private:
    unsigned char* m_data = nullptr;
    std::uint64_t m_size = 0;
    void* m_mapping = nullptr;  // the whole mapping of a large block, else null
    std::size_t m_mappedBytes = 0;
};

}  // namespace kpx
