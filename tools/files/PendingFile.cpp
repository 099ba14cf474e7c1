#include "tools/files/PendingFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

std::string replaceableFile(const std::string& destination) {
    std::error_code error;
    const fs::file_status status = fs::status(destination, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) throw OutputError("exists and is not a regular file");
    return fs::exists(status) ? fs::canonical(destination).string() : destination;
}

// The permissions of an earlier file, or those that any new file gets.
mode_t permissionsOf(const std::string& destination) {
    struct stat earlier {};
    if (stat(destination.c_str(), &earlier) == 0) return earlier.st_mode & 0777;
    // Read once: the only way to read it changes it, for all threads.
    static const mode_t mask = [] {
        const mode_t found = umask(0);
        umask(found);
        return found;
    }();
    return 0666 & ~mask;
}

}  // namespace

PendingFile::PendingFile(const std::string& destination) : m_destination(replaceableFile(destination)) {
    fs::path pattern = m_destination;
    m_path = pattern.replace_filename(".kpximage-XXXXXX").string();
    const int descriptor = mkstemp(m_path.data());
    if (descriptor < 0) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
    fchmod(descriptor, permissionsOf(m_destination));
    ::close(descriptor);
}

PendingFile::~PendingFile() {
    if (!m_path.empty()) std::remove(m_path.c_str());
}

void PendingFile::commit() {
    stopIfInterrupted();
    if (std::rename(m_path.c_str(), m_destination.c_str()) != 0) {
        throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
    }
    m_path.clear();
}

}  // namespace kpx::tool
