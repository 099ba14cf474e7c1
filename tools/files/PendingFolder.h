// A folder of output files that take the place of earlier ones all at once.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kpx::tool {

// The files of a run lie in a folder of its own below the one that is named, "kpximage-1", "kpximage-2" and so on, with
// a mark in it by which a later run knows that it is not the user's, and what shows them names that folder. An earlier
// run's files are touched by commit() alone, which is to be called once what shows the new ones has taken its name. So
// whatever is read under that name, at any time, finds its files whole: the earlier ones while the run lasts, fails or
// is interrupted, the new ones afterwards. What an uncommitted run has written is removed when it ends; where the
// process is killed, by the next commit. Nothing is promised for a computer that loses its power, nor to a page that
// somebody had opened before the commit and loads more pictures of after it.
class PendingFolder {
public:
    // Makes the folder where there is none, and the run's own in it. One run at a time has the folder. Throws
    // OutputError where another one has it or it cannot be made.
    explicit PendingFolder(const std::string& path);
    ~PendingFolder();
    PendingFolder(const PendingFolder&) = delete;
    PendingFolder& operator=(const PendingFolder&) = delete;

    // Writes a file of that name and returns its path from the folder that the named one lies in. Throws OutputError.
    [[nodiscard]] std::string write(const std::string& name, std::span<const unsigned char> bytes) const;

    // Keeps the files and removes those of other runs. What cannot be removed stays.
    void commit();

private:
    void lock();
    void makeOwnFolder();

    std::string m_path;
    std::string m_own;  // below it
    int m_descriptor = -1;
    bool m_isCommitted = false;
};

}  // namespace kpx::tool
