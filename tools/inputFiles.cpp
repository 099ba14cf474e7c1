#include "tools/inputFiles.h"

#include <algorithm>
#include <filesystem>

#include "tools/OutputFormat.h"
#include "tools/console.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

bool isDdsName(const fs::path& path) {
    const std::string extension = path.extension().string();
    const OutputFormat* format = extension.empty() ? nullptr : outputFormat(extension.substr(1));
    return format != nullptr && format->extension == "dds";
}

template <typename Iterator>
void listInto(std::vector<InputFile>& files, const fs::path& folder) {
    for (const fs::directory_entry& entry : Iterator(folder)) {
        std::error_code error;
        if (!isDdsName(entry.path()) || !entry.is_regular_file(error)) continue;
        files.push_back({entry.path().string(), entry.path().parent_path().lexically_relative(folder).string()});
        if (files.back().folder == ".") files.back().folder.clear();
    }
}

std::vector<InputFile> filesIn(const fs::path& folder, bool isRecursive) {
    std::vector<InputFile> files;
    if (isRecursive) {
        listInto<fs::recursive_directory_iterator>(files, folder);
    } else {
        listInto<fs::directory_iterator>(files, folder);
    }
    std::sort(files.begin(), files.end(), [](const InputFile& a, const InputFile& b) { return a.path < b.path; });
    return files;
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
        try {
            const std::vector<InputFile> files = filesIn(path, isRecursive);
            if (files.empty())
                tell(path, isRecursive ? "holds no .dds files" : "holds no .dds files itself; -r looks below");
            all.files.insert(all.files.end(), files.begin(), files.end());
            if (files.empty()) all.isComplete = false;
        } catch (const fs::filesystem_error& failure) {
            tell(path, "cannot be listed: " + failure.code().message());
            all.isComplete = false;
        }
    }
    return all;
}

}  // namespace kpx::tool
