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

#include "tools/files/inputFiles.h"

namespace kpx::tool {

class OutputPlaces {
public:
    // A folder that is not there is meant where the name ends with a slash, or where an input is a folder and the name
    // is not that of a file; it is made for the first output. Throws UsageError where there has to be a folder and is
    // none.
    OutputPlaces(const std::vector<std::string>& inputs, std::string output, bool isNamedAsFile);

    [[nodiscard]] bool isFolder() const { return m_isFolder; }

    // The path of an input's output, which in a folder is called as the input, with this extension for its own unless
    // it is empty.
    [[nodiscard]] std::string of(const InputFile& input, std::string_view extension = "") const;

    // Files that no output may replace: the inputs of the run. To be called before the first claim.
    void protect(const std::vector<InputFile>& inputs);
    // To be called once for every output before it is written, from any thread. Throws FileError if the output is one
    // of the inputs, or another input has it already.
    void claim(const std::string& place);
    // Makes the folder that an output is to lie in. Throws FileError.
    void makeFolderOf(const std::string& place) const;

private:
    std::string m_output;
    bool m_isFolder;
    std::mutex m_mutex;
    std::set<std::string> m_claimed;                // under the mutex
    std::set<std::pair<dev_t, ino_t>> m_protected;  // the inputs on disk
};

}  // namespace kpx::tool
