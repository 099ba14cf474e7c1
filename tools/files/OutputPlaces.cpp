// Whether the output is a folder, which files may be replaced, and the folders that are created.
#include "tools/files/OutputPlaces.h"

#include <sys/stat.h>

#include <filesystem>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

bool isFolderMeant(const std::string& output, bool isForSeveral, bool isNamedAsFile) {
    std::error_code error;
    if (fs::is_directory(output, error)) return true;
    const bool isSlashed = output.ends_with('/');
    const fs::path name = isSlashed ? fs::path(output).parent_path() : fs::path(output);
    const bool isFree = !fs::exists(fs::symlink_status(name, error));
    if (isFree && (isSlashed || (isForSeveral && !isNamedAsFile))) return true;
    if (isForSeveral || isSlashed) throw UsageError(output + " is not a folder");
    return false;
}

}  // namespace

OutputPlaces::OutputPlaces(std::string output, bool isForSeveral, bool isNamedAsFile, Replacing replacing)
    : m_output(std::move(output)),
      m_isFolder(isFolderMeant(m_output, isForSeveral, isNamedAsFile)),
      m_replacing(replacing) {}

std::string OutputPlaces::of(const InputFile& input, std::string_view extension) const {
    if (!m_isFolder) return m_output;
    fs::path name = fs::path(input.path).filename();
    if (!extension.empty()) name = fs::path(input.path).stem().string() + "." + std::string(extension);
    return (fs::path(m_output) / input.folder / name).string();
}

void OutputPlaces::protect(const std::vector<InputFile>& inputs) {
    struct stat status {};
    for (const InputFile& input : inputs) {
        if (stat(input.path.c_str(), &status) == 0) m_protected.emplace(status.st_dev, status.st_ino);
    }
}

bool OutputPlaces::claim(const std::string& place, const std::string& input) {
    {
        // Two places may lead to the same file through links.
        std::error_code error;
        const fs::path file = fs::weakly_canonical(fs::absolute(place), error);
        const std::lock_guard lock(m_mutex);
        if (!m_claimed.insert(error ? place : file.string()).second)
            throw OutputError("is already the output of another input", place);
    }
    struct stat output {
    }, source{};
    if (stat(place.c_str(), &output) == 0) {
        if (m_protected.contains({output.st_dev, output.st_ino}))
            throw OutputError("is an input of this run and is not replaced", place);
        const bool isOlder = stat(input.c_str(), &source) == 0 && timeOf(source.st_mtim) > timeOf(output.st_mtim);
        if (m_replacing.isUpdating && !isOlder) return false;
        if (!m_replacing.isUpdating && !m_replacing.isForced)
            throw OutputError("already exists; --force replaces it", place);
    }
    if (!m_isFolder) return true;
    std::error_code error;
    const fs::path folder = fs::path(place).parent_path();
    fs::create_directories(folder, error);
    if (fs::is_directory(folder)) return true;
    throw OutputError("cannot be created as a folder: " + systemErrorText(error.value()), folder, error.value());
}

}  // namespace kpx::tool
