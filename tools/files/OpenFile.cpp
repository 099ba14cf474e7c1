// open, fstat and pread. Libraries open the file by its path in /proc/self/fd.
#include "tools/files/OpenFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "explain/text.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

OpenFile::OpenFile(const std::string& path, std::string name)
    : m_name(std::move(name)), m_descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    // The error of a socket.
    if (m_descriptor < 0 && errno == ENXIO) throw FileError("is not a regular file");
    if (m_descriptor < 0) throw systemError("cannot open the file", errno);
    try {
        if (fstat(m_descriptor, &m_status) != 0) throw systemError("cannot open the file", errno);
        if (S_ISDIR(m_status.st_mode)) throw FileError("is a folder");
        if (!S_ISREG(m_status.st_mode)) throw FileError("is not a regular file");
        std::array<unsigned char, factBytes> start{};
        m_facts = factsOf(std::span(start).first(readSome(0, start)), size());
    } catch (...) {
        close(m_descriptor);
        throw;
    }
}

OpenFile::OpenFile(OpenFile&& other) noexcept
    : m_name(std::move(other.m_name)),
      m_descriptor(std::exchange(other.m_descriptor, -1)),
      m_status(other.m_status),
      m_facts(other.m_facts) {}

OpenFile::~OpenFile() {
    if (m_descriptor >= 0) close(m_descriptor);
}

std::string OpenFile::path() const {
    static const bool hasProc = access("/proc/self/fd", F_OK) == 0;
    return hasProc ? "/proc/self/fd/" + std::to_string(m_descriptor) : m_name;
}

std::size_t OpenFile::readSome(std::uint64_t place, std::span<unsigned char> bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            pread(m_descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(place + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw systemError("cannot be read", errno);
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

void OpenFile::read(std::uint64_t place, std::span<unsigned char> bytes) const {
    if (readSome(place, bytes) < bytes.size()) throw FileError("has become shorter while it was read");
}

void OpenFile::checkIsUnchanged() const {
    struct stat now {};
    const bool isUnchanged = fstat(m_descriptor, &now) == 0 && hasSameContents(now, m_status) &&
                             timeOf(now.st_ctim) == timeOf(m_status.st_ctim);
    if (!isUnchanged) throw FileError("has been changed by another program while it was read");
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isSameFile(const std::string& a, const std::string& b) {
    struct stat first {
    }, second{};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && isSameFile(first, second);
}

bool hasSameContents(const struct stat& a, const struct stat& b) {
    return a.st_size == b.st_size && timeOf(a.st_mtim) == timeOf(b.st_mtim);
}

void checkWidth(std::uint32_t width) {
    constexpr std::uint32_t widest = 1 << 19;
    if (width > widest)
        throw FileError(textOf("is too wide: only pictures of up to ", widest, " columns are converted"));
}

std::string withName(std::string message, const std::string& path, const std::string& name) {
    const std::size_t place = message.find(path);
    if (!path.empty() && place != std::string::npos) message.replace(place, path.size(), name);
    return message;
}

}  // namespace kpx::tool
