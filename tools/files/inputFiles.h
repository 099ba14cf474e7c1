// The files named by the user's files and folders.
#pragma once

#include <string>
#include <vector>

namespace kpx::tool {

struct InputFile {
    std::string path;
    std::string folder;  // its place below the named folder; empty: in it, or named itself
};

struct InputFiles {
    std::vector<InputFile> files;
    bool isComplete = true;  // false if a folder could not be listed or has no such files (reported)
};

struct Search {
    bool isRecursive = false;
    std::vector<std::string> extensions;  // with the dot, in lower case
    std::string leftOut;                  // a folder that is not entered; empty: none
};

// Returns the extension of a path with its dot, in lower case.
std::string extensionOf(const std::string& path);

// Returns files as they are, whether they exist or not, and for each folder its files with the first of the extensions
// that any file has, sorted by path. Links to folders are not followed.
InputFiles inputFiles(const std::vector<std::string>& paths, const Search& search);

}  // namespace kpx::tool
