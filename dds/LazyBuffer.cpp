// Small blocks come from the C allocator. Large ones are mapped, aligned to the processor's large pages and advised to
// use them: the first touch of 64 MiB in pages of 4 KiB takes longer than decoding a picture into it.
#include "dds/LazyBuffer.h"

#include <sys/mman.h>

#include <cstdlib>

#include "dds/checkedSize.h"

namespace kpx {
namespace {

// Of x86-64, and of aarch64 with pages of 4 KiB. A multiple of all pages, which are 64 KiB at most, it is an address
// that advice is taken for.
constexpr std::size_t largePage = std::size_t{2} << 20;
constexpr std::uint64_t smallestMapping = std::uint64_t{1} << 20;

}  // namespace

bool LazyBuffer::allocate(std::uint64_t bytes, Touched touched) {
    release();
    if (bytes > largestBlock) return false;
    if (bytes < smallestMapping) {
        m_data = static_cast<unsigned char*>(std::calloc(bytes == 0 ? 1 : bytes, 1));
        if (m_data == nullptr) return false;
        m_size = bytes;
        return true;
    }
    const std::size_t mappedBytes = bytes + largePage;
    void* mapping = mmap(nullptr, mappedBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) return false;
    m_mapping = mapping;
    m_mappedBytes = mappedBytes;
    m_size = bytes;
    const auto address = reinterpret_cast<std::uintptr_t>(mapping);
    m_data = static_cast<unsigned char*>(mapping) + (largePage - address % largePage) % largePage;
    // Advice only: without large pages the block is the same, and slower to touch.
    if (touched == Touched::mostly) (void)madvise(m_data, bytes, MADV_HUGEPAGE);
    return true;
}

void LazyBuffer::release() {
    if (m_mapping != nullptr) {
        munmap(m_mapping, m_mappedBytes);
    } else {
        std::free(m_data);
    }
    m_data = nullptr;
    m_size = 0;
    m_mapping = nullptr;
    m_mappedBytes = 0;
}

}  // namespace kpx
