// The files that a user means by naming files and folders.
#pragma once

#include <string>
#include <vector>

namespace kpx::tool {

struct InputFile {
    std::string path;
    std::string folder;  // where it lies below the folder that was named; empty: in it, or named itself
};

struct InputFiles {
    std::vector<InputFile> files;
    bool isComplete = true;  // false if a folder could not be listed or has no such files, which has been told
};

struct Search {
    bool isRecursive = false;
    std::vector<std::string> extensions;  // with the dot, in lower case
    std::string leftOut;                  // a folder that is not entered; empty: none
};

// Files stand for themselves, whether they exist or not. Folders stand for the files in them that have the first of the
// extensions that any has, sorted by path. Links to folders below are not followed.
InputFiles inputFiles(const std::vector<std::string>& paths, const Search& search);

}  // namespace kpx::tool
