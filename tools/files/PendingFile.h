// An output file that appears whole or not at all: it is written without a name, or under a temporary one in the same
// folder where the file system knows no files without a name, and takes its name when it is complete.
#pragma once

#include <string>

namespace kpx::tool {

class PendingFile {
public:
    // Creates the file. A destination that is a link stands for what it points to. Throws OutputError when the folder
    // takes no file, or something other than a regular file has the name.
    explicit PendingFile(const std::string& destination) : PendingFile(destination, false) {}
    // The file is gone unless it has been committed.
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // By which the file is opened until it is committed; it exists and is empty.
    [[nodiscard]] const std::string& path() const { return m_path; }

    // Waits until what was written is on the disk, where the file takes the place of another that is the only one.
    // Throws OutputError.
    void flushToDisk() const;

    // Gives the file to who has the one that it takes the place of, where the system allows that.
    void takeOwner(unsigned user, unsigned group) const;

    // Gives the file its name, in place of an earlier file. Throws OutputError, or Interrupted after a signal.
    void commit();

protected:
    // isPrivate: a new file is for its owner alone, whatever the user's mask.
    PendingFile(const std::string& destination, bool isPrivate);

private:
    bool createNameless(unsigned permissions);
    void createNamed(unsigned permissions);
    [[nodiscard]] bool linkTo(const std::string& name) const;
    bool takeTemporaryName();
    bool takeDestination();

    std::string m_destination;
    std::string m_temporaryName;  // empty: there is none
    std::string m_path;
    int m_descriptor = -1;
};

// A file for its owner alone in the system's folder for temporary ones, gone when it ends.
class TemporaryFile : PendingFile {
public:
    // Throws OutputError, or std::filesystem::filesystem_error where there is no such folder.
    TemporaryFile();
    using PendingFile::path;
};

}  // namespace kpx::tool
