// Blocks smaller than a large page come from the C allocator, which reuses the memory of the previous picture. Fresh
// memory would cause page faults of 4 KiB, which take several times as long as reading the picture. Larger blocks are
// mapped, aligned to large pages and advised to use them: a fault of 2 MiB costs less than zeroing reused memory.
#include "dds/LazyBuffer.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>

#include "dds/checkedSize.h"

namespace kpx {
namespace {

// The large page of x86-64, and of aarch64 with 4 KiB pages. It is a multiple of every page size (at most 64 KiB), as
// madvise requires of addresses.
constexpr std::size_t largePage = std::size_t{2} << 20;
constexpr std::uint64_t smallestMapping = largePage;

}  // namespace

bool LazyBuffer::allocate(std::uint64_t bytes, Content content) {
    release();
    if (bytes > largestBlock) return false;
    if (bytes < smallestMapping) {
        const std::size_t atLeastOne = bytes == 0 ? 1 : bytes;
        void* block = content == Content::zero ? std::calloc(atLeastOne, 1) : std::malloc(atLeastOne);
        m_data = static_cast<unsigned char*>(block);
        if (m_data == nullptr) return false;
        m_size = bytes;
        return true;
    }
    // Whole large pages: a shorter last one would cause 4 KiB faults.
    const std::size_t wholePages = (bytes + largePage - 1) / largePage * largePage;
    const std::size_t mappedBytes = wholePages + largePage;
    void* mapping = mmap(nullptr, mappedBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) return false;
    m_mapping = mapping;
    m_mappedBytes = mappedBytes;
    m_size = bytes;
    const auto address = reinterpret_cast<std::uintptr_t>(mapping);
    m_data = static_cast<unsigned char*>(mapping) + (largePage - address % largePage) % largePage;
    // May fail: without large pages the block works the same, only slower.
    (void)madvise(m_data, wholePages, MADV_HUGEPAGE);
    return true;
}

void LazyBuffer::zeroFrom(std::uint64_t start) {
    // A mapping is zero until written.
    if (m_mapping == nullptr && start < m_size) std::memset(m_data + start, 0, m_size - start);
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
