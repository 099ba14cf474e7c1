// Lists folders without following links in them.
#include "tools/files/inputFiles.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include "explain/FileError.h"
#include "tools/terminal/console.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

std::string extensionOf(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

// Dangling links are listed, so that they are reported.
bool isFileOrBroken(const fs::directory_entry& entry) {
    std::error_code error;
    return entry.is_regular_file(error) || !entry.exists(error);
}

// The files of a folder by their extensions. A folder that cannot be listed is reported; the others are listed.
class Listing {
public:
    Listing(const fs::path& top, const Search& search) : m_top(top), m_search(search) { add(top); }

    [[nodiscard]] std::vector<InputFile> files() {
        for (const std::string& extension : m_search.extensions) {
            std::vector<InputFile>& files = m_files[extension];
            if (files.empty()) continue;
            std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
            return files;
        }
        return {};
    }
    [[nodiscard]] bool isComplete() const { return m_isComplete; }

private:
    void add(const fs::path& folder) {
        std::error_code error;
        if (!m_search.leftOut.empty() && folder != m_top && fs::equivalent(folder, m_search.leftOut, error)) return;
        error.clear();
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) add(*entry);
        if (!error) return;
        tell(folder.string(), "cannot be listed: " + systemErrorText(error.value()));
        m_isComplete = false;
    }

    void add(const fs::directory_entry& entry) {
        std::error_code error;
        if (m_search.isRecursive && !entry.is_symlink(error) && entry.is_directory(error)) return add(entry.path());
        const auto& wanted = m_search.extensions;
        const std::string extension = extensionOf(entry.path());
        if (std::find(wanted.begin(), wanted.end(), extension) == wanted.end() || !isFileOrBroken(entry)) return;
        std::string folder = entry.path().parent_path().lexically_relative(m_top).string();
        m_files[extension].push_back({entry.path().string(), folder == "." ? "" : std::move(folder)});
    }

    const fs::path& m_top;
    const Search& m_search;
    std::map<std::string, std::vector<InputFile>> m_files;
    bool m_isComplete = true;
};

}  // namespace

InputFiles inputFiles(const std::vector<std::string>& paths, const Search& search) {
    InputFiles all;
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            all.files.push_back({path, ""});
            continue;
        }
        const fs::path folder(path);
        Listing listing(folder, search);
        const std::vector<InputFile> files = listing.files();
        if (files.empty() && listing.isComplete()) {
            std::string names;
            for (const std::string& extension : search.extensions) names += (names.empty() ? "" : " or ") + extension;
            tell(path, "contains no " + names + " files" + (search.isRecursive ? "" : " (-r includes subfolders)"));
        }
        all.files.insert(all.files.end(), files.begin(), files.end());
        if (files.empty() || !listing.isComplete()) all.isComplete = false;
    }
    return all;
}

}  // namespace kpx::tool
