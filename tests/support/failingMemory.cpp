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
unsigned asked;
unsigned failed;
void* blocks[64];
unsigned held;

// Without a buffer of its own, stdout would allocate one during the first message of the product.
char stdoutBuffer[BUFSIZ];
[[maybe_unused]] const int stdoutHasBuffer = std::setvbuf(stdout, stdoutBuffer, _IOLBF, sizeof stdoutBuffer);

bool mayAllocate() {
    if (!counting) return true;
    ++asked;
    const bool fails = asked == failingNumber || (failingAfter && failingNumber != 0 && asked > failingNumber);
    if (!fails) return true;
    ++failed;
    errno = ENOMEM;
    return false;
}

void* noted(void* block) {
    if (!counting || block == nullptr) return block;
    void** place = std::find(std::begin(blocks), std::end(blocks), nullptr);
    if (place == std::end(blocks)) std::abort();
    *place = block;
    ++held;
    return block;
}

void released(void* block) {
    if (held == 0 || block == nullptr) return;
    void** place = std::find(std::begin(blocks), std::end(blocks), block);
    if (place == std::end(blocks)) return;  // allocated before counting started
    *place = nullptr;
    --held;
}

void* allocate(size_t bytes) {
    return mayAllocate() ? noted(KPX_ALLOCATOR(malloc)(bytes)) : nullptr;
}

void release(void* block) {
    released(block);
    KPX_ALLOCATOR(free)(block);
}

}  // namespace

extern "C" {

void* malloc(size_t bytes) noexcept {
    return allocate(bytes);
}

void* calloc(size_t count, size_t bytes) noexcept {
    return mayAllocate() ? noted(KPX_ALLOCATOR(calloc)(count, bytes)) : nullptr;
}

void* realloc(void* block, size_t bytes) noexcept {
    if (!mayAllocate()) return nullptr;
    released(block);
    return noted(KPX_ALLOCATOR(realloc)(block, bytes));
}

void free(void* block) noexcept {
    release(block);
}

void* mmap(void* address, size_t bytes, int protection, int flags, int file, off_t offset) noexcept {
    if (!mayAllocate()) return MAP_FAILED;
    const long mapping = syscall(SYS_mmap, address, bytes, protection, flags, file, offset);
    return mapping == -1 ? MAP_FAILED : noted(std::bit_cast<void*>(mapping));
}

int munmap(void* address, size_t bytes) noexcept {
    released(address);
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
    asked = failed = held = 0;
    failingNumber = nth;
    failingAfter = failing == Failing::allAfter;
    counting = true;
}

void stopFailing() {
    counting = false;
}

unsigned failedAllocations() {
    return failed;
}

unsigned heldBlocks() {
    return held;
}

}  // namespace testing_support
