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
    bool isComplete = true;  // false where a folder could not be listed, which has been told
};

// Files stand for themselves, whether they exist or not. Folders stand for the .dds files in them, sorted by name, and
// with `isRecursive` for those in the folders below as well; links to folders below are not followed.
InputFiles inputFiles(const std::vector<std::string>& paths, bool isRecursive);

}  // namespace kpx::tool
