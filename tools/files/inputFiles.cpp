// Lists folders without following links in them.
#include "tools/files/inputFiles.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include "tools/terminal/errors.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

struct Listing {
    std::map<std::string, std::vector<InputFile>> files;  // by extension
    bool isComplete = true;
};

// Adds the files of a folder. A folder that cannot be listed is reported; the others are listed.
void list(const fs::path& folder, const fs::path& top, const Search& search, Listing& listing) {
    std::error_code error;
    if (!search.leftOut.empty() && folder != top && fs::equivalent(folder, search.leftOut, error)) return;
    error.clear();
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        std::error_code ignored;
        if (search.isRecursive && !entry->is_symlink(ignored) && entry->is_directory(ignored)) {
            list(entry->path(), top, search, listing);
            continue;
        }
        const std::string extension = extensionOf(entry->path());
        const bool isWanted = std::count(search.extensions.begin(), search.extensions.end(), extension) > 0;
        // Dangling links are listed, so that they are reported.
        if (!isWanted || (!entry->is_regular_file(ignored) && entry->exists(ignored))) continue;
        const std::string place = folder.lexically_relative(top).string();
        listing.files[extension].push_back({entry->path().string(), place == "." ? "" : place});
    }
    if (!error) return;
    printMessage(folder.string(), "cannot be listed: " + systemErrorText(error.value()));
    listing.isComplete = false;
}

}  // namespace

std::string extensionOf(const std::string& path) {
    std::string extension = fs::path(path).extension().string();
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

InputFiles inputFiles(const std::vector<std::string>& paths, const Search& search) {
    InputFiles all;
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            all.files.push_back({path, ""});
            continue;
        }
        Listing listing;
        list(path, path, search, listing);
        std::vector<InputFile> files;
        std::string names;
        for (const std::string& extension : search.extensions) {
            if (files.empty()) files = listing.files[extension];
            names += (names.empty() ? "" : " or ") + extension;
        }
        if (files.empty() && listing.isComplete)
            printMessage(path,
                         "contains no " + names + " files" + (search.isRecursive ? "" : " (-r includes subfolders)"));
        if (files.empty() || !listing.isComplete) all.isComplete = false;
        std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
        all.files.insert(all.files.end(), files.begin(), files.end());
    }
    return all;
}

}  // namespace kpx::tool
