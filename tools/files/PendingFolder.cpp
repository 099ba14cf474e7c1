// Numbers rise, so that no browser takes an earlier run's picture for one of the new.
#include "tools/files/PendingFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "explain/text.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view prefix = "kpximage-";

// Of a run's folder by its name; 0 of anything else.
std::uint64_t runOf(const std::string& name) {
    if (!name.starts_with(prefix)) return 0;
    std::uint64_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [last, error] = std::from_chars(name.data() + prefix.size(), end, number);
    return error == std::errc() && last == end && number < UINT64_MAX ? number : 0;
}

fs::path markOf(const fs::path& folder) {
    return folder / ".kpximage";
}

// Folders of that name without the mark, links and files are the user's.
bool isRun(const fs::directory_entry& entry) {
    std::error_code error;
    return runOf(entry.path().filename()) > 0 && !entry.is_symlink(error) && fs::exists(markOf(entry.path()), error);
}

std::vector<std::string> runsIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (isRun(*entry)) names.push_back(entry->path().filename());
    }
    return names;
}

[[noreturn]] void throwError(const std::string& folder) {
    throw OutputError(textOf("has no folder for its pictures: ", folder, ": ", systemErrorText(errno)));
}

}  // namespace

PendingFolder::PendingFolder(const std::string& path) : m_path(path) {
    if (mkdir(m_path.c_str(), 0777) != 0 && errno != EEXIST) throwError(m_path);
    m_descriptor = open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (m_descriptor < 0) throwError(m_path);
    try {
        lock();
        makeOwnFolder();
    } catch (...) {
        ::close(m_descriptor);
        throw;
    }
}

PendingFolder::~PendingFolder() {
    std::error_code error;
    if (!m_isCommitted) {
        fs::remove_all(m_own, error);
        rmdir(m_path.c_str());  // where nothing else is in it
    }
    ::close(m_descriptor);
}

// A file system without locks lets runs take their chance.
void PendingFolder::lock() {
    if (flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
    throw OutputError("is being written by another run, which has " + m_path);
}

void PendingFolder::makeOwnFolder() {
    std::uint64_t number = 0;
    for (const std::string& run : runsIn(m_path)) number = std::max(number, runOf(run));
    do {
        m_own = (fs::path(m_path) / textOf(prefix, ++number)).string();
        errno = 0;
    } while (mkdir(m_own.c_str(), 0777) != 0 && errno == EEXIST);
    if (errno != 0) throwError(m_own);
    const int mark = open(markOf(m_own).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (mark < 0) {
        const int cause = errno;
        rmdir(m_own.c_str());
        errno = cause;
        throwError(m_own);
    }
    ::close(mark);
}

std::string PendingFolder::write(const std::string& name, std::span<const unsigned char> bytes) const {
    const fs::path path = fs::path(m_own) / name;
    FILE* file = std::fopen(path.c_str(), "wbx");
    const bool isWritten = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const int cause = errno;
    const bool isClosed = file != nullptr && std::fclose(file) == 0;
    if (!isWritten || !isClosed) {
        throw systemError<OutputError>("cannot have its pictures written", isWritten ? errno : cause);
    }
    return (fs::path(m_path).filename() / fs::path(m_own).filename() / name).string();
}

void PendingFolder::commit() {
    m_isCommitted = true;
    for (const std::string& run : runsIn(m_path)) {
        std::error_code error;
        const fs::path folder = fs::path(m_path) / run;
        if (folder != m_own) fs::remove_all(folder, error);
    }
}

}  // namespace kpx::tool
