// The file has no name while it is written, where the file system allows that; else it has a temporary one.
#include "tools/files/PendingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

#include "explain/text.h"
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

// A name that no other file is likely to have, in the folder of the destination.
std::string randomNameBeside(const std::string& destination) {
    std::random_device random;
    return fs::path(destination).replace_filename(textOf(".kpximage-", random())).string();
}

}  // namespace

PendingFile::PendingFile(const std::string& destination, bool isPrivate) : m_destination(replaceableFile(destination)) {
    struct stat earlier {};
    const bool hasEarlier = stat(m_destination.c_str(), &earlier) == 0;
    // Of a new file the system takes away what the user's mask does. One that takes the place of another gets its
    // permissions, and has no wider ones before.
    const unsigned permissions = isPrivate || hasEarlier ? 0600 : 0666;
    if (!createNameless(permissions)) createNamed(permissions);
    if (hasEarlier) fchmod(m_descriptor, earlier.st_mode & 0777);
}

PendingFile::~PendingFile() {
    ::close(m_descriptor);
    if (!m_temporaryName.empty()) std::remove(m_temporaryName.c_str());
}

// Of a process that is killed nothing is left then. False where the file system has no such files, or the system no
// names for open files.
bool PendingFile::createNameless(unsigned permissions) {
    const fs::path folder = fs::path(m_destination).parent_path();
    m_descriptor = open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, permissions);
    if (m_descriptor < 0) return false;
    m_path = "/proc/self/fd/" + std::to_string(m_descriptor);
    if (access(m_path.c_str(), F_OK) == 0) return true;
    ::close(m_descriptor);
    return false;
}

void PendingFile::createNamed(unsigned permissions) {
    do {
        m_temporaryName = randomNameBeside(m_destination);
        m_descriptor = open(m_temporaryName.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    } while (m_descriptor < 0 && errno == EEXIST);
    if (m_descriptor < 0) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
    m_path = m_temporaryName;
}

// Gives a file without a name one in the folder.
bool PendingFile::takeTemporaryName() {
    do {
        const std::string name = randomNameBeside(m_destination);
        if (linkTo(name)) m_temporaryName = name;
    } while (m_temporaryName.empty() && errno == EEXIST);
    return !m_temporaryName.empty();
}

bool PendingFile::linkTo(const std::string& name) const {
    return linkat(AT_FDCWD, m_path.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// A link takes the place of no earlier file, a rename does.
bool PendingFile::takeDestination() {
    if (m_temporaryName.empty()) {
        if (linkTo(m_destination)) return true;
        if (errno != EEXIST || !takeTemporaryName()) return false;
    }
    if (std::rename(m_temporaryName.c_str(), m_destination.c_str()) != 0) return false;
    m_temporaryName.clear();
    return true;
}

void PendingFile::flushToDisk() const {
    if (fsync(m_descriptor) != 0) throw OutputError(std::string("cannot be written: ") + std::strerror(errno));
}

void PendingFile::takeOwner(unsigned user, unsigned group) const {
    // Only the superuser may give files away; whoever else replaces another's file owns the new one.
    [[maybe_unused]] const int result = fchown(m_descriptor, user, group);
}

void PendingFile::commit() {
    stopIfInterrupted();
    if (!takeDestination()) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
}

TemporaryFile::TemporaryFile()
    : PendingFile((fs::temp_directory_path() / textOf("kpximage-", getpid())).string(), true) {}

}  // namespace kpx::tool
