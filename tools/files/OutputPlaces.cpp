// The question whether a folder is meant, and the folders that are made.
#include "tools/files/OutputPlaces.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

bool isFolderThere(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

bool isFolderMeant(const std::vector<std::string>& inputs, const std::string& output, bool isNamedAsFile) {
    if (isFolderThere(output)) return true;
    const bool hasFolder = std::any_of(inputs.begin(), inputs.end(), isFolderThere);
    const bool isSlashed = output.ends_with('/');
    std::error_code error;
    const bool isFree =
        !fs::exists(fs::symlink_status(isSlashed ? fs::path(output).parent_path() : fs::path(output), error));
    if (isFree && (isSlashed || (hasFolder && !isNamedAsFile))) return true;
    if (inputs.size() > 1 || hasFolder || isSlashed) throw UsageError(output + " is not a folder");
    return false;
}

}  // namespace

OutputPlaces::OutputPlaces(const std::vector<std::string>& inputs, std::string output, bool isNamedAsFile)
    : m_output(std::move(output)), m_isFolder(isFolderMeant(inputs, m_output, isNamedAsFile)) {}

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

void OutputPlaces::claim(const std::string& place) {
    struct stat status {};
    if (stat(place.c_str(), &status) == 0 && m_protected.contains({status.st_dev, status.st_ino}))
        throw FileError("is not written: its output " + place + " is an input of this run");
    const std::lock_guard lock(m_mutex);
    if (m_claimed.insert(place).second) return;
    throw FileError("would overwrite " + place + ", just made of another input of the same name");
}

void OutputPlaces::makeFolderOf(const std::string& place) const {
    if (!m_isFolder) return;
    // Where a folder below cannot be made, neither can the file in it, which is told.
    std::error_code error;
    fs::create_directories(fs::path(place).parent_path(), error);
    if (!isFolderThere(m_output))
        throw FileError(m_output + " cannot be made a folder: " + systemErrorText(error.value()));
}

}  // namespace kpx::tool
