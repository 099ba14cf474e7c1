// Folders are listed here, links below them not followed.
#include "tools/files/inputFiles.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "explain/FileError.h"
#include "tools/terminal/console.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

bool isDdsName(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".dds";
}

// A link that leads nowhere is listed, so that it is told.
bool isFileOrBroken(const fs::directory_entry& entry) {
    std::error_code error;
    return entry.is_regular_file(error) || !entry.exists(error);
}

// The files of a folder in the order of their paths. A folder that cannot be listed is told, and the others are listed
// all the same.
class Listing {
public:
    Listing(const fs::path& top, bool isRecursive) : m_top(top), m_isRecursive(isRecursive) {
        add(top);
        std::sort(m_files.begin(), m_files.end(),
                  [](const InputFile& a, const InputFile& b) { return a.path < b.path; });
    }

    [[nodiscard]] const std::vector<InputFile>& files() const { return m_files; }
    [[nodiscard]] bool isComplete() const { return m_isComplete; }

private:
    void add(const fs::path& folder);
    void add(const fs::directory_entry& entry);

    const fs::path& m_top;
    const bool m_isRecursive;
    std::vector<InputFile> m_files;
    bool m_isComplete = true;
};

void Listing::add(const fs::path& folder) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) add(*entry);
    if (!error) return;
    tell(folder.string(), "cannot be listed: " + systemErrorText(error.value()));
    m_isComplete = false;
}

void Listing::add(const fs::directory_entry& entry) {
    std::error_code error;
    if (m_isRecursive && !entry.is_symlink(error) && entry.is_directory(error)) {
        add(entry.path());
    } else if (isDdsName(entry.path()) && isFileOrBroken(entry)) {
        m_files.push_back({entry.path().string(), entry.path().parent_path().lexically_relative(m_top).string()});
        if (m_files.back().folder == ".") m_files.back().folder.clear();
    }
}

}  // namespace

InputFiles inputFiles(const std::vector<std::string>& paths, bool isRecursive) {
    InputFiles all;
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            all.files.push_back({path, ""});
            continue;
        }
        const Listing listing(path, isRecursive);
        if (listing.files().empty() && listing.isComplete()) {
            tell(path, isRecursive ? "holds no .dds files" : "holds no .dds files itself; -r looks below");
        }
        all.files.insert(all.files.end(), listing.files().begin(), listing.files().end());
        if (listing.files().empty() || !listing.isComplete()) all.isComplete = false;
    }
    return all;
}

}  // namespace kpx::tool
