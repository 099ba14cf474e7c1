// Where the outputs of inputs go: into one file, or into a folder in which they lie as the inputs do below the folders
// that were named.
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

// What may be done to files that exist.
struct Replacing {
    bool isForced = false;    // they are replaced
    bool isUpdating = false;  // they are replaced if they are older than their input, and left alone otherwise
};

class OutputPlaces {
public:
    // The output is a folder if it exists as one, if its name ends with a slash, or if there may be several files and
    // the name is not that of a file. Throws UsageError if a folder is needed and a file has the name.
    OutputPlaces(std::string output, bool isForSeveral, bool isNamedAsFile, Replacing replacing);

    [[nodiscard]] bool isFolder() const { return m_isFolder; }
    [[nodiscard]] const std::string& output() const { return m_output; }

    // Returns the path of an input's output. In a folder it is named like the input, with this extension for its own
    // unless that is empty.
    [[nodiscard]] std::string of(const InputFile& input, std::string_view extension = "") const;

    // Files that no output may replace: the inputs of the run. To be called before the first claim.
    void protect(const std::vector<InputFile>& inputs);
    // Claims an output for an input and creates its folder; from any thread. Returns false if the output is up to date.
    // Throws OutputError if the output is an input of the run, another input's, or exists and may not be replaced.
    bool claim(const std::string& place, const std::string& input);

    // For PendingFile.
    [[nodiscard]] Existing existing() const {
        return m_replacing.isForced || m_replacing.isUpdating ? Existing::replace : Existing::refuse;
    }

private:
    void makeFolderOf(const std::string& place) const;

    std::string m_output;
    bool m_isFolder;
    Replacing m_replacing;
    std::mutex m_mutex;
    std::set<std::string> m_claimed;                // under the mutex
    std::set<std::pair<dev_t, ino_t>> m_protected;  // the inputs on disk
};

}  // namespace kpx::tool
