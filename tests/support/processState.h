// Queries and limits of the test's own process: open files, memory, resource limits.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

// Defined if the program is built with the sanitizer.
extern "C" {
[[gnu::weak]] void __asan_init();
[[gnu::weak]] void __tsan_init();
}

namespace testing_support {

inline const bool underAddressSanitizer = &__asan_init != nullptr;
inline const bool underThreadSanitizer = &__tsan_init != nullptr;

// Returns the number of open files, including the one used for counting.
inline std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// Returns a size from /proc/self/status in bytes: "VmRSS" is the memory in use, "VmHWM" its peak.
inline std::int64_t statusBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::int64_t kibibytes = 0;
        if (word == name + ":" && status >> kibibytes) return kibibytes * 1024;
    }
    return -1;
}

// Lowers a limit of the process for the lifetime of the object.
class LoweredLimit {
public:
    using Resource = decltype(RLIMIT_NOFILE);
    LoweredLimit(Resource resource, rlim_t limit) : m_resource(resource) {
        getrlimit(resource, &m_before);
        const rlimit lowered{limit, m_before.rlim_max};
        setrlimit(resource, &lowered);
    }
    ~LoweredLimit() { setrlimit(m_resource, &m_before); }
    LoweredLimit(const LoweredLimit&) = delete;
    LoweredLimit& operator=(const LoweredLimit&) = delete;

private:
    Resource m_resource;
    rlimit m_before{};
};

}  // namespace testing_support
