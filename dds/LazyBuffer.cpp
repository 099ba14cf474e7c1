// Memory that a process uses for the first time is slow: the operating system clears it, and the page fault for 4 KiB
// takes several times as long as filling them. So blocks smaller than a large page come from the C allocator, which
// reuses the memory of the previous picture, and larger ones are aligned to large pages, which madvise asks for. Blocks
// of up to 8 MiB that need not be zero come from the C allocator as well, which saves a third of the time of a 1024 by
// 1024 picture. Blocks above 8 MiB, and large ones that must be zero, are mapped.
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
constexpr std::size_t largestBasePage = std::size_t{64} << 10;
constexpr std::size_t largestReused = std::size_t{8} << 20;

constexpr std::size_t roundUp(std::size_t bytes, std::size_t unit) {
    return (bytes + unit - 1) / unit * unit;
}

}  // namespace

bool LazyBuffer::allocate(std::uint64_t bytes, Content content) {
    release();
    if (bytes > largestBlock) return false;
    if (bytes < largePage) {
        const std::size_t atLeastOne = bytes == 0 ? 1 : bytes;
        m_block = content == Content::zero ? std::calloc(atLeastOne, 1) : std::malloc(atLeastOne);
        m_data = static_cast<unsigned char*>(m_block);
        if (m_data == nullptr) return false;
        m_size = bytes;
        return true;
    }
    // Whole large pages: a shorter last one would cause 4 KiB faults.
    const std::size_t wholePages = roundUp(bytes, largePage);
    const std::size_t blockBytes = wholePages + largePage;
    if (content == Content::unset && wholePages <= largestReused) {
        m_block = std::malloc(blockBytes);
        if (m_block == nullptr) return false;
    } else {
        void* mapping = mmap(nullptr, blockBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapping == MAP_FAILED) return false;
        m_block = mapping;
        m_mappedBytes = blockBytes;
    }
    m_size = bytes;
    const auto address = reinterpret_cast<std::uintptr_t>(m_block);
    m_data = static_cast<unsigned char*>(m_block) + (largePage - address % largePage) % largePage;
    // May fail: without large pages the block works the same, only slower.
    (void)madvise(m_data, wholePages, MADV_HUGEPAGE);
    return true;
}

void LazyBuffer::zeroFrom(std::uint64_t start) {
    // The caller has written nothing at or after `start`, where a mapping is still zero.
    if (m_mappedBytes != 0 || start >= m_size) return;
    std::size_t end = m_size;
    if (m_size >= largePage) {
        // Whole pages are discarded instead of cleared: they read as zero, and use memory only when written. The mark
        // shows whether they were: a host's allocator may have shared memory, which keeps its content.
        const std::size_t firstPage = roundUp(start, largestBasePage);
        if (firstPage < m_size) {
            m_data[firstPage] = 1;
            const std::size_t bytes = roundUp(m_size, largestBasePage) - firstPage;
            const bool isDone = madvise(m_data + firstPage, bytes, MADV_DONTNEED) == 0;
            if (isDone && m_data[firstPage] == 0) end = firstPage;
        }
    }
    std::memset(m_data + start, 0, end - start);
}

void LazyBuffer::release() {
    if (m_mappedBytes != 0) {
        munmap(m_block, m_mappedBytes);
    } else {
        std::free(m_block);
    }
    m_data = nullptr;
    m_size = 0;
    m_block = nullptr;
    m_mappedBytes = 0;
}

}  // namespace kpx
