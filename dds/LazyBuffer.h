// An owned block of memory that reads as zero and costs nothing until it is written, so that a small file which
// declares a huge picture takes no more than it holds.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kpx {

// How a large block will be written: mostly, which large pages make faster, or here and there, where each of them would
// cost time and memory for nothing.
enum class Touched : std::uint8_t { mostly, hereAndThere };

class LazyBuffer {
public:
    LazyBuffer() = default;
    ~LazyBuffer() { release(); }
    LazyBuffer(const LazyBuffer&) = delete;
    LazyBuffer& operator=(const LazyBuffer&) = delete;

    // Takes bytes (0 is allowed) after releasing what was held. False, and nothing is held, when there is no memory or
    // bytes exceeds largestBlock.
    bool allocate(std::uint64_t bytes, Touched touched = Touched::mostly);
    void release();

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
