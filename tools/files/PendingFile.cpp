// All work is done in the destination's folder, which is opened once.
#include "tools/files/PendingFile.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "explain/text.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

std::string pathOf(int descriptor) {
    return textOf("/proc/self/fd/", descriptor);
}

std::string randomName() {
    std::random_device random;
    return textOf(".kpximage-", random(), random());
}

// Returns the destination with links resolved. A dangling link is replaced itself.
fs::path resolved(const std::string& destination) {
    std::error_code error;
    const fs::path path = fs::canonical(destination, error);
    return error ? fs::path(destination) : path;
}

void copyData(int from, int to) {
    constexpr std::size_t most = 1 << 20;  // between two checks for signals
    off_t place = 0;
    ssize_t count = 0;
    do {
        stopIfInterrupted();
        count = sendfile(to, from, &place, most);
    } while (count > 0);
    if (count < 0) throw systemError<OutputError>("cannot be copied", errno);
}

}  // namespace

PendingFile::PendingFile(const std::string& destination, mode_t permissions, Existing existing) : m_existing(existing) {
    const fs::path path = resolved(destination);
    m_folderPath = path.has_parent_path() ? path.parent_path().string() : ".";
    m_name = path.filename();
    try {
        m_folder = open(m_folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (m_folder < 0 && (errno == ENOENT || errno == ENOTDIR))
            throw OutputError("cannot be created: the folder " + m_folderPath + " does not exist", ENOENT);
        if (m_folder < 0 && errno != EACCES) throw systemError<OutputError>("cannot be created", errno);
        // The folder may be writable and not readable.
        if (m_folder < 0) m_folder = open(m_folderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        openEarlier();
        create(m_earlier < 0 ? permissions : 0600);
    } catch (...) {
        release();
        throw;
    }
}

PendingFile::~PendingFile() {
    release();
}

void PendingFile::release() {
    for (const int descriptor : {m_descriptor, m_earlier}) {
        if (descriptor >= 0) ::close(descriptor);
    }
    if (!m_temporaryName.empty()) unlinkat(m_folder, m_temporaryName.c_str(), 0);
    if (m_folder >= 0) ::close(m_folder);
}

void PendingFile::openEarlier() {
    if (m_name.empty() || m_name == "." || m_name == "..") throw OutputError("is the name of a folder");
    struct stat status {};
    // Fails for a dangling link. A link that could not be resolved may still lead to a pipe.
    if (fstatat(m_folder, m_name.c_str(), &status, 0) != 0) return;
    if (!S_ISREG(status.st_mode)) throw OutputError("exists and is not a regular file");
    if (m_existing == Existing::refuse) throw OutputError("already exists; --force replaces it");
    m_earlier = openat(m_folder, m_name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (m_earlier < 0 || fstat(m_earlier, &m_earlierStatus) != 0)
        throw systemError<OutputError>("cannot be replaced", errno);
    if (!S_ISREG(m_earlierStatus.st_mode)) throw OutputError("exists and is not a regular file");
}

void PendingFile::create(mode_t permissions) {
    if (!createNameless(permissions)) createNamed(permissions);
    if (m_earlier >= 0) copyAttributes(m_earlier, m_descriptor);
    struct stat status {};
    fstat(m_descriptor, &status);
    m_permissions = status.st_mode & 07777;
    // Until it is committed, libraries open the file again to write it.
    if ((m_permissions & 0600) != 0600) fchmod(m_descriptor, m_permissions | 0600);
}

// Returns false if the file system has no unnamed files, or /proc is missing.
bool PendingFile::createNameless(mode_t permissions) {
    m_descriptor = openat(m_folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, permissions);
    if (m_descriptor < 0) return false;
    m_path = pathOf(m_descriptor);
    if (access(m_path.c_str(), F_OK) == 0) return true;
    ::close(m_descriptor);
    return false;
}

void PendingFile::createNamed(mode_t permissions) {
    do {
        m_temporaryName = randomName();
        m_descriptor = openat(m_folder, m_temporaryName.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    } while (m_descriptor < 0 && errno == EEXIST);
    if (m_descriptor < 0) {
        m_temporaryName.clear();
        throw systemError<OutputError>("cannot be created", errno);
    }
    // Others who may write in the folder could give the name to a link.
    m_path = pathOf(m_descriptor);
    if (access(m_path.c_str(), F_OK) != 0) m_path = m_folderPath + "/" + m_temporaryName;
}

// Names an unnamed file in the folder.
bool PendingFile::takeTemporaryName() {
    do {
        const std::string name = randomName();
        if (linkTo(name)) m_temporaryName = name;
    } while (m_temporaryName.empty() && errno == EEXIST);
    return !m_temporaryName.empty();
}

bool PendingFile::linkTo(const std::string& name) const {
    return linkat(AT_FDCWD, pathOf(m_descriptor).c_str(), m_folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// linkat never replaces an earlier file; renameat does.
bool PendingFile::takeDestination() {
    if (m_temporaryName.empty()) {
        if (linkTo(m_name)) return true;
        if (errno != EEXIST || m_existing == Existing::refuse || !takeTemporaryName()) return false;
    }
    const unsigned flags = m_existing == Existing::refuse ? RENAME_NOREPLACE : 0;
    int result = renameat2(m_folder, m_temporaryName.c_str(), m_folder, m_name.c_str(), flags);
    // Some file systems do not support flags.
    if (result != 0 && errno == EINVAL) result = renameat(m_folder, m_temporaryName.c_str(), m_folder, m_name.c_str());
    if (result != 0) return false;
    m_temporaryName.clear();
    return true;
}

bool PendingFile::replaces(const struct stat& file) const {
    return m_earlier >= 0 && isSameFile(m_earlierStatus, file);
}

void PendingFile::keepEarlier(const std::string& ending) {
    const std::string name = m_name + ending;
    if (linkat(AT_FDCWD, pathOf(m_earlier).c_str(), m_folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return;
    struct stat there {};
    const bool isThere = fstatat(m_folder, name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0;
    // A run that was stopped before it replaced the file left the link.
    if (isThere && isSameFile(there, m_earlierStatus)) return;
    if (isThere) throw OutputError("is not changed: " + name + " already exists");
    try {
        PendingFile copy(m_folderPath + "/" + name, 0600, Existing::refuse);
        copyData(m_earlier, copy.m_descriptor);
        copyAttributes(m_earlier, copy.m_descriptor);
        copy.m_permissions = m_earlierStatus.st_mode & 07777;
        const struct timespec times[] = {m_earlierStatus.st_atim, m_earlierStatus.st_mtim};
        futimens(copy.m_descriptor, times);
        copy.flushToDisk();
        copy.commit();
    } catch (const OutputError& error) {
        throw OutputError("is not changed: " + name + " " + error.what());
    }
}

void PendingFile::checkEarlierIsUnchanged() const {
    struct stat open {
    }, named{};
    const bool isUnchanged = fstat(m_earlier, &open) == 0 && hasSameContents(open, m_earlierStatus) &&
                             fstatat(m_folder, m_name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                             isSameFile(named, m_earlierStatus);
    if (!isUnchanged) throw OutputError("has been changed by another program");
}

void PendingFile::flushToDisk() const {
    if (fsync(m_descriptor) != 0) throw systemError<OutputError>("cannot be written", errno);
}

void PendingFile::commit() {
    stopIfInterrupted();
    if ((m_permissions & 0600) != 0600) fchmod(m_descriptor, m_permissions);
    if (takeDestination()) return;
    if (errno == EEXIST) throw OutputError("already exists; --force replaces it");
    throw systemError<OutputError>("cannot be created", errno);
}

TemporaryFile::TemporaryFile() {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    std::string name = folder / "kpximage-XXXXXX";
    m_descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (m_descriptor < 0)
        throw OutputError("cannot create a temporary file in " + folder.string() + ": " + systemErrorText(errno));
    unlink(name.c_str());
    m_path = pathOf(m_descriptor);
}

TemporaryFile::~TemporaryFile() {
    ::close(m_descriptor);
}

}  // namespace kpx::tool
