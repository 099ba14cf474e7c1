#include "tests/support/failingMemory.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>

// The underlying allocator: the sanitizer's, whose names this file replaces, or the C library's.
#if defined(KPX_SANITIZER_ALLOCATOR)
#define KPX_ALLOCATOR(name) __interceptor_##name
#else
#define KPX_ALLOCATOR(name) __libc_##name
#endif

extern "C" {
void* KPX_ALLOCATOR(malloc)(size_t bytes);
void* KPX_ALLOCATOR(calloc)(size_t count, size_t bytes);
void* KPX_ALLOCATOR(realloc)(void* block, size_t bytes);
void KPX_ALLOCATOR(free)(void* block);
}

namespace {

using testing_support::Failing;

bool counting;
unsigned failingNumber;
bool failingAfter;
unsigned requests;
unsigned failures;
void* blocks[64];
unsigned recordedBlocks;

// Without a buffer of its own, stdout would allocate one during the first message of the product.
char stdoutBuffer[BUFSIZ];
[[maybe_unused]] const int stdoutHasBuffer = std::setvbuf(stdout, stdoutBuffer, _IOLBF, sizeof stdoutBuffer);

bool mayAllocate() {
    if (!counting) return true;
    ++requests;
    const bool fails = requests == failingNumber || (failingAfter && failingNumber != 0 && requests > failingNumber);
    if (!fails) return true;
    ++failures;
    errno = ENOMEM;
    return false;
}

void* record(void* block) {
    if (!counting || block == nullptr) return block;
    void** place = std::find(std::begin(blocks), std::end(blocks), nullptr);
    if (place == std::end(blocks)) std::abort();
    *place = block;
    ++recordedBlocks;
    return block;
}

void forget(void* block) {
    if (recordedBlocks == 0 || block == nullptr) return;
    void** place = std::find(std::begin(blocks), std::end(blocks), block);
    if (place == std::end(blocks)) return;  // allocated before counting started
    *place = nullptr;
    --recordedBlocks;
}

void* allocate(size_t bytes) {
    return mayAllocate() ? record(KPX_ALLOCATOR(malloc)(bytes)) : nullptr;
}

void release(void* block) {
    forget(block);
    KPX_ALLOCATOR(free)(block);
}

}  // namespace

extern "C" {

void* malloc(size_t bytes) noexcept {
    return allocate(bytes);
}

void* calloc(size_t count, size_t bytes) noexcept {
    return mayAllocate() ? record(KPX_ALLOCATOR(calloc)(count, bytes)) : nullptr;
}

void* realloc(void* block, size_t bytes) noexcept {
    if (!mayAllocate()) return nullptr;
    forget(block);
    return record(KPX_ALLOCATOR(realloc)(block, bytes));
}

void free(void* block) noexcept {
    release(block);
}

void* mmap(void* address, size_t bytes, int protection, int flags, int file, off_t offset) noexcept {
    if (!mayAllocate()) return MAP_FAILED;
    const long mapping = syscall(SYS_mmap, address, bytes, protection, flags, file, offset);
    return mapping == -1 ? MAP_FAILED : record(std::bit_cast<void*>(mapping));
}

int munmap(void* address, size_t bytes) noexcept {
    forget(address);
    return static_cast<int>(syscall(SYS_munmap, address, bytes));
}

}  // extern "C"

// The array forms call these.
void* operator new(size_t bytes) {
    void* block = allocate(bytes == 0 ? 1 : bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new(size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(bytes == 0 ? 1 : bytes);
}
void operator delete(void* block) noexcept {
    release(block);
}
void operator delete(void* block, size_t /*bytes*/) noexcept {
    release(block);
}

namespace testing_support {

void startFailing(unsigned nth, Failing failing) {
    std::fill(std::begin(blocks), std::end(blocks), nullptr);
    requests = failures = recordedBlocks = 0;
    failingNumber = nth;
    failingAfter = failing == Failing::allAfter;
    counting = true;
}

void stopFailing() {
    counting = false;
}

unsigned failedAllocations() {
    return failures;
}

unsigned heldBlocks() {
    return recordedBlocks;
}

}  // namespace testing_support
