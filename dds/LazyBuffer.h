// An owned block of memory for pixels. A large block uses memory only for the pages that are written, so a small file
// that declares a huge picture uses no more than it fills.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kpx {

// The content of a new block. An unset block may hold anything: its owner writes every byte, or calls zeroFrom, before
// reading one.
enum class Content : std::uint8_t { zero, unset };

class LazyBuffer {
public:
    LazyBuffer() = default;
    ~LazyBuffer() { release(); }
    LazyBuffer(const LazyBuffer&) = delete;
    LazyBuffer& operator=(const LazyBuffer&) = delete;

    // Releases the current block and allocates a new one; bytes may be 0. Returns false, and holds nothing, if the
    // allocation fails or bytes exceeds largestBlock. Reading pages that were never written can use memory too, since a
    // kernel without a shared zero page of that size allocates one, possibly a large page.
    bool allocate(std::uint64_t bytes, Content content = Content::zero);
    void release();

    // Zeroes the bytes from start on. Requires: none of them has been written.
    void zeroFrom(std::uint64_t start);

    // Returns the block, aligned for every scalar type; null if there is none.
    unsigned char* data() const { return m_data; }
    // Returns the size passed to allocate; 0 if there is no block.
    std::uint64_t size() const { return m_size; }

private:
    unsigned char* m_data = nullptr;
    std::uint64_t m_size = 0;
    void* m_block = nullptr;        // what was allocated or mapped, of which m_data is the aligned part
    std::size_t m_mappedBytes = 0;  // 0 if the block is from the C allocator
};

}  // namespace kpx
