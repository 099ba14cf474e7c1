// The kept header comes first and goes last: whenever the process ends, it is there as long as it is needed. Left
// beside a file that still or again has it, it does no harm. A header of the same length is written over the old one,
// so that the file stays the same file; for another length the file is made anew and takes the place of the old one.
#include "tools/files/inPlaceRepair.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "explain/text.h"
#include "tools/files/PendingFile.h"
#include "tools/files/ddsCopy.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<unsigned char>;

// The first bytes of a file, as many as there are.
Bytes startOf(const std::string& path, std::size_t count) {
    Bytes bytes(count);
    std::ifstream file(path, std::ios::binary);
    if (!file) throw FileError("cannot open the file: " + path);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

bool startsWith(const std::string& path, const Bytes& start) {
    return startOf(path, start.size()) == start;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// A file that this program changes nowhere else at the same time. What other programs write to it is noticed as far as
// the system tells.
class LockedFile {
public:
    explicit LockedFile(const std::string& path) : m_path(path) {
        // Who had the lock before may have put another file in its place.
        for (bool isCurrent = false; !isCurrent;) {
            release();
            m_descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
            if (m_descriptor < 0) fail();
            if (flock(m_descriptor, LOCK_EX) != 0 || fstat(m_descriptor, &m_status) != 0) {
                const int error = errno;
                release();
                errno = error;
                fail();
            }
            struct stat named {};
            isCurrent = stat(path.c_str(), &named) == 0 && isSameFile(named, m_status);
        }
    }
    ~LockedFile() { release(); }
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    // Puts a header in the place of all before the data.
    void replaceHeader(std::uint64_t dataStart, const Bytes& header) {
        if (header.size() == dataStart)
            overwrite(header);
        else
            makeAnew(dataStart, header);
    }

private:
    [[noreturn]] static void fail() { throw OutputError(std::string("cannot be written: ") + std::strerror(errno)); }

    void checkIsUnchanged() const {
        struct stat now {};
        const bool isSame = stat(m_path.c_str(), &now) == 0 && isSameFile(now, m_status) &&
                            now.st_size == m_status.st_size && now.st_mtim.tv_sec == m_status.st_mtim.tv_sec &&
                            now.st_mtim.tv_nsec == m_status.st_mtim.tv_nsec;
        if (!isSame) throw FileError("has been changed by another program meanwhile");
    }

    void overwrite(const Bytes& header) const {
        checkIsUnchanged();
        const ssize_t count = pwrite(m_descriptor, header.data(), header.size(), 0);
        if (count != static_cast<ssize_t>(header.size()) || fsync(m_descriptor) != 0) fail();
    }

    void makeAnew(std::uint64_t dataStart, const Bytes& header) const {
        if (m_status.st_nlink > 1)
            throw OutputError(textOf("has ", m_status.st_nlink,
                                     " names (hard links), of which only one would be repaired: name an output"));
        PendingFile pending(m_path);
        const ByteRange data{dataStart, static_cast<std::uint64_t>(m_status.st_size) - dataStart};
        writeParts(m_path, {&data, 1}, header, pending.path());
        pending.takeOwner(m_status.st_uid, m_status.st_gid);
        pending.flushToDisk();
        checkIsUnchanged();
        pending.commit();
    }

    void release() {
        if (m_descriptor >= 0) close(m_descriptor);
        m_descriptor = -1;
    }

    const std::string m_path;
    int m_descriptor = -1;
    struct stat m_status {};
};

// Empty where none is kept.
Bytes keptHeader(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) return {};
    if (!fs::is_regular_file(status)) throw FileError(path + " is not a regular file");
    Bytes kept = startOf(path, factBytes + 1);
    if (kept.size() != sizeof(DdsFileHeader) && kept.size() != factBytes)
        throw FileError(path + " is no header that was kept by a repair: move it away");
    return kept;
}

// True where this one is kept there already.
bool isKept(const std::string& path, const Bytes& header) {
    const Bytes kept = keptHeader(path);
    if (kept.empty() || kept == header) return !kept.empty();
    throw FileError(path +
                    " is there already, from an earlier repair: undo that, or delete it to keep the file as it is");
}

void keepHeader(const std::string& path, const Bytes& header) {
    try {
        PendingFile pending(path);
        std::ofstream(pending.path(), std::ios::binary)
            .write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
        if (!startsWith(pending.path(), header)) throw OutputError("cannot be written");
        pending.flushToDisk();
        pending.commit();
    } catch (const OutputError& error) {
        throw OutputError("is left as it is: " + path + " " + error.what());
    }
}

// How many bytes of the file are the header that a repair has made of the kept one. Throws FileError where they are
// not: the data below it may be another picture's.
std::size_t mendedHeaderBytes(const std::string& path, const Bytes& kept) {
    const FileFacts facts = readFacts(path);
    const Bytes mended = headerBytes(facts);
    const Bytes start = startOf(path, mended.size() + factBytes);
    bool isOfIt = start.size() >= mended.size();
    if (isOfIt) {
        Bytes before = kept;
        before.insert(before.end(), start.begin() + static_cast<std::ptrdiff_t>(mended.size()), start.end());
        isOfIt = isMendOf(factsOf(before, facts.fileBytes - mended.size() + kept.size()), kept.size(), mended);
    }
    if (isOfIt) return mended.size();
    const std::string keptPath = keptHeaderPath(path);
    throw FileError("has changed since it was repaired: its header is not what was made of " + keptPath +
                    "; delete that to keep the file as it is");
}

}  // namespace

std::string keptHeaderPath(const std::string& path) {
    std::error_code error;
    const fs::path file = fs::canonical(path, error);
    // A plain path stays as the user wrote it.
    const bool isLink = fs::is_symlink(fs::symlink_status(path, error));
    return (isLink && !file.empty() ? file.string() : path) + ".header";
}

RepairReport repairInPlace(const std::string& path, bool isDryRun) {
    RepairReport report = reportRepair(path);
    if (!report.helps()) return report;
    const std::string kept = keptHeaderPath(path);
    if (isDryRun) {
        isKept(kept, startOf(path, report.repair.dataStart));
        return report;
    }
    LockedFile file(path);
    report = reportRepair(path);  // of the file as it is now
    if (!report.helps()) return report;
    const Bytes header = startOf(path, report.repair.dataStart);
    const bool isNew = !isKept(kept, header);
    if (isNew) keepHeader(kept, header);
    try {
        file.replaceHeader(header.size(), headerBytes(report.repair.facts));
    } catch (...) {
        std::error_code error;
        if (isNew && startsWith(path, header)) fs::remove(kept, error);
        throw;
    }
    return report;
}

UndoResult undoRepair(const std::string& path, bool isDryRun) {
    checkIsNoPipe(path);
    const std::string keptPath = keptHeaderPath(path);
    if (keptHeader(keptPath).empty()) {
        readFacts(path);  // a file that is not there fails
        return UndoResult::nothingToUndo;
    }
    if (isDryRun) {
        const Bytes kept = keptHeader(keptPath);
        if (!startsWith(path, kept)) mendedHeaderBytes(path, kept);
        return UndoResult::undone;
    }
    LockedFile file(path);
    const Bytes kept = keptHeader(keptPath);
    if (kept.empty()) return UndoResult::nothingToUndo;  // another process was first
    // An undoing that was stopped at its end has the header back.
    if (!startsWith(path, kept)) file.replaceHeader(mendedHeaderBytes(path, kept), kept);
    std::error_code error;
    if (!fs::remove(keptPath, error))
        throw OutputError("has its header back, but " + keptPath + " cannot be deleted: " + error.message());
    return UndoResult::undone;
}

}  // namespace kpx::tool
