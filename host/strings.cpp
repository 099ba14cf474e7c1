// Saved strings are released with their handle; defined ones are held once, until the process ends. The lock is the
// library's only one.
#include "host/strings.h"

#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>

#include "host/kpxbase.h"

namespace kpx::host {
namespace {

class HeldStrings {
public:
    char* save(const char* text) {
        const size_t size = std::strlen(text) + 1;
        auto copy = std::make_unique<char[]>(size);
        std::memcpy(copy.get(), text, size);
        char* address = copy.get();
        const std::scoped_lock lock(m_mutex);
        m_saved.emplace(address, std::move(copy));
        return address;
    }

    char* define(const char* text) {
        const std::scoped_lock lock(m_mutex);
        // The interface hands out a plain pointer; nobody writes through it.
        return const_cast<char*>(m_defined.emplace(text).first->c_str());
    }

    void release(const char* text) {
        const std::scoped_lock lock(m_mutex);
        m_saved.erase(text);
    }

    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
    std::unordered_map<const char*, std::unique_ptr<char[]>> m_saved;
    std::set<std::string> m_defined;
};

// Constructed when the library is loaded, and never destroyed: threads may still read when the process ends.
HeldStrings& heldStrings = *new HeldStrings;

// fork takes the lock first, so that the child does not find it held by a thread that it does not have.
[[maybe_unused]] const int forkIsGuarded =
    pthread_atfork([] { heldStrings.lock(); }, [] { heldStrings.unlock(); }, [] { heldStrings.unlock(); });

}  // namespace

void releaseString(const char* text) noexcept {
    heldStrings.release(text);
}

}  // namespace kpx::host

char* STR_save(const char* text) try {
    return text == nullptr ? nullptr : kpx::host::heldStrings.save(text);
} catch (const std::exception&) {
    return nullptr;
}

char* STR_define(const char* text) try {
    return text == nullptr ? nullptr : kpx::host::heldStrings.define(text);
} catch (const std::exception&) {
    return nullptr;
}
