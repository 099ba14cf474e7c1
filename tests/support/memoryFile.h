// A file and a standard output in memory, which are faster than on disk.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <span>
#include <stdexcept>
#include <string>

namespace testing_support {

// Can be opened by path, and reused with new content.
class MemoryFile {
public:
    MemoryFile() : m_descriptor(memfd_create("file", 0)), m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {
        require(m_descriptor >= 0);
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const char* path() const { return m_path.c_str(); }

    void write(std::span<const unsigned char> content) const {
        const auto size = static_cast<ssize_t>(content.size());
        require(pwrite(m_descriptor, content.data(), content.size(), 0) == size);
        // Truncating it to 0 first would release its pages, which would have to be cleared again.
        require(ftruncate(m_descriptor, size) == 0);
    }

private:
    static void require(bool holds) {
        if (!holds) throw std::runtime_error("a file in memory cannot be made");
    }

    int m_descriptor;
    std::string m_path;
};

// Captures standard output until its text is taken.
class PrintedText {
public:
    PrintedText() {
        std::fflush(stdout);
        std::rewind(stream());
        // The C library allows assignment to this variable.
        stdout = stream();
    }
    ~PrintedText() { stdout = m_before; }
    PrintedText(const PrintedText&) = delete;
    PrintedText& operator=(const PrintedText&) = delete;

    std::string take() {
        std::fflush(stream());
        stdout = m_before;
        return {text, size};
    }

private:
    static FILE* stream() {
        static FILE* const opened = open_memstream(&text, &size);
        return opened;
    }

    static inline char* text = nullptr;
    static inline std::size_t size = 0;
    FILE* m_before = stdout;
};

}  // namespace testing_support
