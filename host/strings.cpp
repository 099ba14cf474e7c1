// Stores strings for plug-ins: saved ones until their handle is released, defined ones once, until the process ends.
// Its lock is the only one of the library.
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
        // The interface requires a plain pointer; nobody writes through it.
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

// Constructed when the library is loaded, and never destroyed: threads may still use it when the process ends.
HeldStrings& heldStrings = *new HeldStrings;

// fork acquires the lock first, so that it is not locked in the child by a thread that does not exist there.
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
