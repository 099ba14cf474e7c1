// A folder is replaced by exchanging two names in one step.
#include "tools/gallery/GalleryFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* pageName = "index.html";
constexpr const char* picturesName = "pictures";

// "img/" and "img" are one folder.
std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

bool hasMark(const fs::path& page) {
    std::ifstream stream(page, std::ios::binary);
    std::string start(std::strlen(galleryMark), '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    return start == galleryMark;
}

// Returns the name of something in the folder that is no part of a gallery; empty if there is nothing of the kind.
std::string foreignPart(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::string name = entry.path().filename();
        const fs::file_status status = entry.symlink_status();
        const bool isPage = name == pageName && fs::is_regular_file(status) && hasMark(entry.path());
        if (isPage) continue;
        if (name != picturesName || !fs::is_directory(status)) return name;
        for (const fs::directory_entry& picture : fs::directory_iterator(entry.path())) {
            const bool isPicture =
                picture.path().extension() == ".png" && fs::is_regular_file(picture.symlink_status());
            if (!isPicture) return name + "/" + picture.path().filename().string();
        }
    }
    return {};
}

// Throws OutputError if the path is taken by something other than a gallery or an empty folder.
void checkMayReplace(const std::string& path) {
    const fs::file_status status = fs::symlink_status(path);
    if (!fs::exists(status)) return;
    if (fs::is_symlink(status)) throw OutputError("is a link; name the folder itself");
    if (!fs::is_directory(status)) throw OutputError("exists and is not a folder");
    const std::string foreign = foreignPart(path);
    if (!foreign.empty())
        throw OutputError("holds " + foreign + ", which is no part of a gallery; name another folder");
}

template <typename Work>
auto withOutputErrors(Work work) {
    try {
        return work();
    } catch (const fs::filesystem_error& error) {
        throw systemError<OutputError>("cannot be written", error.code().value());
    }
}

}  // namespace

GalleryFolder::GalleryFolder(const std::string& path) : m_path(withoutSlash(path)) {
    withOutputErrors([&] {
        checkMayReplace(m_path);
        const fs::path parent = fs::path(m_path).parent_path();
        if (!parent.empty()) fs::create_directories(parent);
        std::string name = (parent / ".kpximage-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw systemError<OutputError>("cannot be created", errno);
        m_temporary = name;
        fs::create_directory(fs::path(m_temporary) / picturesName);
    });
}

GalleryFolder::~GalleryFolder() {
    std::error_code error;
    if (!m_temporary.empty()) fs::remove_all(m_temporary, error);
}

std::string GalleryFolder::page() const {
    return m_temporary + "/" + pageName;
}

std::string GalleryFolder::write(const std::string& name, std::span<const unsigned char> bytes) const {
    std::string url = std::string(picturesName) + "/" + name;
    std::ofstream stream(m_temporary + "/" + url, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) throw systemError<OutputError>("cannot be written", errno);
    return url;
}

void GalleryFolder::commit() {
    stopIfInterrupted();
    withOutputErrors([&] {
        // mkdtemp makes a folder for its owner alone; the inner one has the permissions that the user's umask gives.
        const bool isReplacing = fs::exists(fs::symlink_status(m_path));
        fs::permissions(
            m_temporary,
            fs::status(isReplacing ? fs::path(m_path) : fs::path(m_temporary) / picturesName).permissions());
        const unsigned how = isReplacing ? RENAME_EXCHANGE : RENAME_NOREPLACE;
        if (renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_path.c_str(), how) != 0)
            throw systemError<OutputError>("cannot be replaced", errno);
        if (isReplacing) {
            // Something may have been added to the earlier gallery since it was looked at: then it is put back.
            const std::string foreign = foreignPart(m_temporary);
            if (!foreign.empty()) {
                (void)renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_path.c_str(), RENAME_EXCHANGE);
                throw OutputError("holds " + foreign + ", which is no part of a gallery; name another folder");
            }
            fs::remove_all(m_temporary);
        }
        m_temporary.clear();
    });
}

}  // namespace kpx::tool
