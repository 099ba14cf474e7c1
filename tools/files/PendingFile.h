// An output file that appears whole or not at all. Until it is committed it has no name, or a random temporary one in
// the same folder on file systems without unnamed files.
#pragma once

#include <sys/stat.h>

#include <string>

#include "tools/files/OpenFile.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

// What happens to a file that has the name already.
enum class Existing { replace, refuse };

class PendingFile {
public:
    // Creates the file. Links in the destination are resolved once. A new file gets these permissions, less the umask;
    // a file that replaces another gets its owner, permissions, access list and extended attributes. Throws
    // OutputError, also if something other than a regular file has the name.
    explicit PendingFile(const std::string& destination, mode_t permissions = 0666,
                         Existing existing = Existing::replace);
    // Deletes the file unless it has been committed.
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // A path to open the file by until it is committed, for libraries. No message may show it.
    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }

    // Whether commit() replaces this very file.
    [[nodiscard]] bool replaces(const struct stat& file) const;
    // Keeps the file to be replaced, under its name plus this ending: as a hard link, or as a copy if links are not
    // possible. Throws OutputError, also if another file has that name.
    void keepEarlier(const std::string& ending);
    // Throws OutputError if the file to be replaced has been written or replaced since this file was created.
    void checkEarlierIsUnchanged() const;

    // Flushes the file's data to disk. Throws OutputError.
    void flushToDisk() const;
    // Gives the file its name. Throws OutputError, or Interrupted after a signal.
    void commit();

private:
    void openEarlier();
    void create(mode_t permissions);
    bool createNameless(mode_t permissions);
    void createNamed(mode_t permissions);
    [[nodiscard]] bool linkTo(const std::string& name) const;
    bool takeTemporaryName();
    bool takeDestination();
    void release();

    std::string m_folderPath, m_name;
    Existing m_existing;
    int m_folder = -1;
    int m_earlier = -1;  // the file to be replaced; -1: none
    struct stat m_earlierStatus {};
    int m_descriptor = -1;
    mode_t m_permissions = 0;     // after commit()
    std::string m_temporaryName;  // in the folder; empty: none
    std::string m_path;
};

// Writes a file whole or not at all: work(file) writes it. Throws OutputError, whose file is the destination.
// Exceptions of the work pass through.
template <typename Work>
void writeWhole(const std::string& destination, mode_t permissions, Existing existing, Work work) {
    std::string path;
    try {
        PendingFile file(destination, permissions, existing);
        path = file.path();
        work(file);
        file.commit();
    } catch (const OutputError& error) {
        throw OutputError(withName(error.what(), path, destination), destination, error.code());
    }
}

// Copies owner, group, extended attributes (access lists among them) and permissions between two open files. Throws
// OutputError if one of them cannot be kept.
void copyAttributes(int from, int to);

// An unnamed file in the system's folder for temporary files, readable by its owner alone.
class TemporaryFile {
public:
    // Throws OutputError.
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
    std::string m_path;
};

}  // namespace kpx::tool
