// The new file is complete and on disk before the original gets its second name, and replaces the file after that.
#include "tools/repair/repairFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "explain/text.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

// The folder of a file and its original, and their names in it. Links are resolved once.
class Place {
public:
    explicit Place(const std::string& path) {
        std::error_code error;
        const fs::path file = fs::canonical(path, error);
        if (error) throw systemError("cannot open the file", error.value());
        m_name = file.filename();
        m_folder = open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (m_folder < 0) throw systemError("cannot open its folder", errno);
    }
    ~Place() { close(m_folder); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    [[nodiscard]] std::string original() const { return m_name + originalEnding; }
    // Returns false if there is none. Throws FileError if it is not a file.
    [[nodiscard]] bool hasOriginal() const {
        const mode_t mode = status(original()).st_mode;
        if (mode != 0 && !S_ISREG(mode)) throw FileError(original() + " is not a regular file");
        return mode != 0;
    }
    // Replaces the file by its original. Throws OutputError.
    void putBack() const {
        // A run that was stopped before it replaced the file has left the original with both names.
        const bool isDone = isSameFile(status(original()), status(m_name))
                                ? unlinkat(m_folder, original().c_str(), 0) == 0
                                : renameat(m_folder, original().c_str(), m_folder, m_name.c_str()) == 0;
        if (!isDone) throw OutputError("cannot be replaced by " + original() + ": " + systemErrorText(errno));
    }

private:
    // Returns the status of a file, of mode 0 if there is none.
    [[nodiscard]] struct stat status(const std::string& name) const {
        struct stat found {};
        const bool isThere = fstatat(m_folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
        if (!isThere) found.st_mode = 0;
        return found;
    }

    std::string m_name;
    int m_folder = -1;
};

}  // namespace

RepairPlan repairInPlace(const std::string& path) {
    const OpenFile file(path);
    RepairPlan plan = planRepair(file.facts());
    if (!plan.helps()) return plan;
    if (file.status().st_nlink > 1 && !Place(path).hasOriginal())
        throw OutputError(textOf("is not changed: it has ", file.status().st_nlink,
                                 " hard links, and only one of them would be repaired"));
    PendingFile pending(path);
    if (!pending.replaces(file.status())) throw FileError("has been changed by another program");
    writeRepaired(file, plan, pending.descriptor());
    pending.flushToDisk();
    pending.keepEarlier(originalEnding);
    pending.checkEarlierIsUnchanged();
    pending.commit();
    return plan;
}

bool undoRepair(const std::string& path, bool isDryRun) {
    const Place place(path);
    if (!place.hasOriginal()) return false;
    if (!isDryRun) place.putBack();
    return true;
}

}  // namespace kpx::tool
