// A file in memory, which can be made and read faster than one in a folder, and what a process prints meanwhile.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

// Can be opened by path, over and over with new content.
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
        // Emptying it first would give its pages back and have them cleared again.
        require(ftruncate(m_descriptor, size) == 0);
    }

private:
    static void require(bool holds) {
        if (!holds) throw std::runtime_error("a file in memory cannot be made");
    }

    int m_descriptor;
    std::string m_path;
};

// Takes over the process's standard output, and gives what was printed since the last call; the text is good until more
// is printed.
class PrintedText {
public:
    PrintedText() {
        std::fflush(stdout);
        FILE* stream = open_memstream(&m_text, &m_size);
        if (stream == nullptr) throw std::runtime_error("standard output cannot be taken over");
        // The C library lets the variable be assigned; nothing then leaves the process.
        stdout = stream;
    }
    std::string_view take() {
        std::fflush(stdout);
        const std::string_view text(m_text, m_size);
        std::rewind(stdout);
        return text;
    }

private:
    char* m_text = nullptr;
    std::size_t m_size = 0;
};

}  // namespace testing_support
