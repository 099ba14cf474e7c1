// An input file, opened once: its header and its data are read through one descriptor, whatever becomes of its name.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <span>
#include <string>

#include "explain/verdict.h"

namespace kpx::tool {

class OpenFile {
public:
    // Opens a regular file for reading; pipes and devices are not waited for. Throws FileError.
    explicit OpenFile(const std::string& path) : OpenFile(path, path) {}
    // The same for a file that the user knows under another name.
    OpenFile(const std::string& path, std::string name);
    ~OpenFile();
    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&&) = delete;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    // As the user knows it.
    [[nodiscard]] const std::string& name() const { return m_name; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    // As it was when the file was opened.
    [[nodiscard]] const struct stat& status() const { return m_status; }
    [[nodiscard]] std::uint64_t size() const { return static_cast<std::uint64_t>(m_status.st_size); }

    // Returns a path to this very file, for libraries that open files themselves. No message may show it.
    [[nodiscard]] std::string path() const;

    // Returns the facts of the file's header. Throws FileError.
    [[nodiscard]] FileFacts facts() const { return readFacts(m_descriptor); }
    // Reads up to bytes.size() bytes from a place; returns how many there were. Throws FileError.
    std::size_t readSome(std::uint64_t place, std::span<unsigned char> bytes) const;
    // Reads bytes.size() bytes from a place. Throws FileError, also if the file ends before.
    void read(std::uint64_t place, std::span<unsigned char> bytes) const;

    // Throws FileError if the file has been written, renamed or replaced since it was opened.
    void checkIsUnchanged() const;

private:
    std::string m_name;
    int m_descriptor;
    struct stat m_status {};
};

// Whether both are the same file on disk.
bool isSameFile(const struct stat& a, const struct stat& b);
// Whether both paths lead to the same file.
bool isSameFile(const std::string& a, const std::string& b);
// Whether the size and the time of the last change of the contents are the same.
bool hasSameContents(const struct stat& a, const struct stat& b);

// Returns the message with a path that only this program knows replaced by the name that the user knows.
std::string withName(std::string message, const std::string& path, const std::string& name);

}  // namespace kpx::tool
