// Where outputs go: to one file, or to a folder, with the same subfolders as the inputs.
#pragma once

#include <sys/types.h>

#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/files/PendingFile.h"
#include "tools/files/inputFiles.h"

namespace kpx::tool {

// Which existing files are replaced.
struct Replacing {
    bool isForced = false;    // all
    bool isUpdating = false;  // those older than their input; the others count as up to date
};

class OutputPlaces {
public:
    // The output is a folder if it exists as one, if its name ends with a slash, or if there may be several outputs and
    // its name is not that of a file. Throws UsageError if a file has the name of a folder that is required.
    OutputPlaces(std::string output, bool isForSeveral, bool isNamedAsFile, Replacing replacing);

    [[nodiscard]] bool isFolder() const { return m_isFolder; }
    [[nodiscard]] const std::string& output() const { return m_output; }

    // Returns the path of an input's output. In a folder it has the name of the input, with this extension unless that
    // is empty.
    [[nodiscard]] std::string of(const InputFile& input, std::string_view extension = "") const;

    // Protects the inputs of the run from being replaced. Requires: nothing has been claimed.
    void protect(const std::vector<InputFile>& inputs);
    // Claims an output for an input and creates its folder. Returns false if the output is up to date. Throws
    // OutputError if the output is an input of the run, belongs to another input, or may not be replaced. Thread-safe.
    bool claim(const std::string& place, const std::string& input);

    // For PendingFile.
    [[nodiscard]] Existing existing() const {
        return m_replacing.isForced || m_replacing.isUpdating ? Existing::replace : Existing::refuse;
    }

private:
    std::string m_output;
    bool m_isFolder;
    Replacing m_replacing;
    std::mutex m_mutex;
    std::set<std::string> m_claimed;                // under the mutex
    std::set<std::pair<dev_t, ino_t>> m_protected;  // the inputs on disk
};

}  // namespace kpx::tool
