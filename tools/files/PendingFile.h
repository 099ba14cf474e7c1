// An output file that appears whole or not at all: it is written under a temporary name in the same folder and
// takes its name when it is complete.
#pragma once

#include <string>

namespace kpx::tool {

class PendingFile {
public:
    // Creates the temporary file. A destination that is a link stands for what it points to. Throws OutputError
    // when the folder takes no file, or something other than a regular file has the name.
    explicit PendingFile(const std::string& destination);
    // Removes the temporary file unless it has been committed.
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // The temporary file, existing and empty.
    [[nodiscard]] const std::string& path() const { return m_path; }

    // Gives the file its name, in place of an earlier file. Throws OutputError, or Interrupted after a signal.
    void commit();

private:
    std::string m_destination;
    std::string m_path;
};

}  // namespace kpx::tool
