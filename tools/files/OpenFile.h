// An input file, opened once: header and data are read through one descriptor, even if the name changes hands.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "explain/verdict.h"

namespace kpx::tool {

class OpenFile {
public:
    // Opens a regular file and reads its headers, without waiting for pipes and devices. Throws FileError.
    explicit OpenFile(const std::string& path) : OpenFile(path, path) {}
    // The same, with another name for messages.
    OpenFile(const std::string& path, std::string name);
    ~OpenFile();
    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&&) = delete;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    // The name for messages.
    [[nodiscard]] const std::string& name() const { return m_name; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    // The status when the file was opened.
    [[nodiscard]] const struct stat& status() const { return m_status; }
    [[nodiscard]] std::uint64_t size() const { return static_cast<std::uint64_t>(m_status.st_size); }

    // Returns a path to this very file, for libraries that open files themselves. No message may show it.
    [[nodiscard]] std::string path() const;

    // The headers and the size when the file was opened.
    [[nodiscard]] const FileFacts& facts() const { return m_facts; }
    // Reads up to bytes.size() bytes from a place and returns their number. Throws FileError.
    std::size_t readSome(std::uint64_t place, std::span<unsigned char> bytes) const;
    // Reads bytes.size() bytes from a place. Throws FileError, also if the file ends before.
    void read(std::uint64_t place, std::span<unsigned char> bytes) const;

    // Throws FileError if the file has been written, renamed or replaced since it was opened.
    void checkIsUnchanged() const;

private:
    std::string m_name;
    int m_descriptor;
    struct stat m_status {};
    FileFacts m_facts{};
};

// Whether both are the same file on disk.
bool isSameFile(const struct stat& a, const struct stat& b);
// Whether both paths lead to the same file.
bool isSameFile(const std::string& a, const std::string& b);
// Returns a time as a value that can be compared.
inline std::pair<long, long> timeOf(const struct timespec& time) {
    return {time.tv_sec, time.tv_nsec};
}
// Whether the size and the time of the last change to the contents are the same.
bool hasSameContents(const struct stat& a, const struct stat& b);

// Throws FileError for pictures that are too wide to be converted: several copies of a row must fit in memory, 16 bytes
// per pixel each.
void checkWidth(std::uint32_t width);

// Returns the message with the path, which only this program knows, replaced by the name that the user knows.
std::string withName(std::string message, const std::string& path, const std::string& name);

}  // namespace kpx::tool
