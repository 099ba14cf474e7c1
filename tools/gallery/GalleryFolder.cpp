// A folder is replaced by exchanging two names in one step. Page, style and script are embedded in the program.
#include "tools/gallery/GalleryFolder.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>

#include "assets.h"
#include "tools/files/PendingFile.h"
#include "tools/pictures/PngFile.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

// A folder opened once, without following a link. Others who may write in its parent can rename it.
class OpenFolder {
public:
    // Throws OutputError.
    explicit OpenFolder(const std::string& name)
        : m_descriptor(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)),
          m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {
        if (m_descriptor < 0) throw systemError<OutputError>("cannot be opened", errno);
        if (access(m_path.c_str(), F_OK) != 0) m_path = name;
    }
    ~OpenFolder() { close(m_descriptor); }
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    // Returns the path of an entry, or of the folder itself.
    [[nodiscard]] std::string path(std::string_view entry = ".") const { return m_path + "/" + std::string(entry); }
    // Returns whether it belongs to the owner of the file.
    [[nodiscard]] bool isOfOwner(int file) const {
        struct stat own {
        }, other{};
        return fstat(m_descriptor, &own) == 0 && fstat(file, &other) == 0 && own.st_uid == other.st_uid;
    }

private:
    int m_descriptor;
    std::string m_path;
};

namespace {

namespace fs = std::filesystem;

// The start of every page, by which a later run recognises a gallery.
constexpr std::string_view mark = "<!DOCTYPE html>\n<!-- A gallery made by kpximage. -->\n";
constexpr const char* pageName = "index.html";
constexpr const char* picturesName = "pictures";

// "img/" and "img" are one folder.
std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

bool hasMark(const fs::path& page) {
    std::ifstream stream(page, std::ios::binary);
    std::string start(mark.size(), '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    return start == mark;
}

// Throws OutputError if the folder contains something that is not part of a gallery.
void checkIsGallery(const fs::path& folder) {
    const auto refuse = [](const std::string& name) {
        throw OutputError("contains " + name + ", which is not part of a gallery; name another folder");
    };
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        const fs::file_status status = entry.symlink_status();
        if (name == pageName && fs::is_regular_file(status) && hasMark(entry.path())) continue;
        if (name != picturesName || !fs::is_directory(status)) refuse(name);
        for (const fs::directory_entry& picture : fs::directory_iterator(entry.path())) {
            if (picture.path().extension() != ".png" || !fs::is_regular_file(picture.symlink_status()))
                refuse(name + "/" + picture.path().filename().string());
        }
    }
}

// Deletes a gallery, and its folder unless it contains more.
void remove(const OpenFolder& folder, const std::string& name) {
    fs::remove(folder.path(pageName));
    fs::remove_all(folder.path(picturesName));
    fs::remove(name);
}

// Throws OutputError unless the path is free, an empty folder or a gallery.
void checkMayReplace(const std::string& path) {
    const fs::file_status status = fs::symlink_status(path);
    if (!fs::exists(status)) return;
    if (fs::is_symlink(status)) throw OutputError("is a link; name the folder itself");
    if (!fs::is_directory(status)) throw OutputError("exists and is not a folder");
    checkIsGallery(path);
}

// Returns the source of a script or style in a Content-Security-Policy: its SHA-256 in base64.
std::string hashSource(std::string_view text) {
    const std::unique_ptr<GChecksum, void (*)(GChecksum*)> sum(g_checksum_new(G_CHECKSUM_SHA256), g_checksum_free);
    g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(text.data()), static_cast<gssize>(text.size()));
    guint8 digest[32];
    gsize bytes = sizeof digest;
    g_checksum_get_digest(sum.get(), digest, &bytes);
    const std::unique_ptr<char, void (*)(void*)> base64(g_base64_encode(digest, bytes), g_free);
    return std::string("'sha256-") + base64.get() + "'";
}

void replace(std::string& text, std::string_view place, std::string_view part) {
    text.replace(text.find(place), place.size(), part);
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
        m_open = std::make_unique<OpenFolder>(name);
        // Another user may have exchanged the folder before it was opened. A new file shows which owner the file system
        // gives to the files of this user.
        const PendingFile own(name + "-", 0600, Existing::refuse);
        if (!m_open->isOfOwner(own.descriptor())) throw OutputError("was exchanged by another user");
        fs::create_directory(m_open->path(picturesName));
    });
}

GalleryFolder::~GalleryFolder() {
    try {
        if (!m_temporary.empty()) remove(*m_open, m_temporary);
    } catch (const fs::filesystem_error&) {
        // It is left behind.
    }
}

std::string GalleryFolder::write(const std::string& name, const SmallPicture& picture, std::size_t first,
                                 std::size_t channels) const {
    std::string url = std::string(picturesName) + "/" + name + ".png";
    PngFile png(m_open->path(url), {picture.width, picture.height, 3, 1, false}, channels, false);
    std::vector<unsigned char> row(static_cast<std::size_t>(picture.width) * channels);
    const unsigned char* pixel = picture.pixels.data() + first;
    for (int y = 0; y < picture.height; ++y) {
        for (auto place = row.begin(); place != row.end(); pixel += 4) place = std::copy_n(pixel, channels, place);
        png.writeRow(row.data());
    }
    png.finish();
    return url;
}

// The page's policy allows its own script and style, and the pictures beside it ('self').
void GalleryFolder::writePage(const std::vector<std::string>& records) const {
    std::string files;
    for (std::string record : records) {
        // No text may end the block or begin a comment in it.
        for (std::size_t i = 0; (i = record.find('<', i)) != record.npos;) record.replace(i, 1, "\\u003C");
        files += "<script type=\"application/json\" class=\"file\">" + record + "</script>\n";
    }
    std::string page(gallery::page);
    replace(page, "{{policy}}",
            "default-src 'none'; img-src 'self'; script-src " + hashSource(gallery::script) + "; style-src " +
                hashSource(gallery::style) + "; base-uri 'none'; form-action 'none'");
    replace(page, "{{style}}", gallery::style);
    replace(page, "{{script}}", gallery::script);
    replace(page, "{{files}}", files);
    std::ofstream stream(m_open->path(pageName), std::ios::binary);
    stream << mark << page;
    stream.close();
    if (!stream) throw systemError<OutputError>("cannot be written", errno);
}

void GalleryFolder::commit() {
    stopIfInterrupted();
    withOutputErrors([&] {
        // mkdtemp creates a folder for its owner alone; the one in it has the permissions of the user's umask.
        const bool isReplacing = fs::exists(fs::symlink_status(m_path));
        const std::string model = isReplacing ? m_path : m_open->path(picturesName);
        fs::permissions(m_open->path(), fs::status(model).permissions());
        const unsigned how = isReplacing ? RENAME_EXCHANGE : RENAME_NOREPLACE;
        const auto exchange = [&] { return renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_path.c_str(), how); };
        if (exchange() != 0) throw systemError<OutputError>("cannot be replaced", errno);
        if (isReplacing) {
            const OpenFolder earlier(m_temporary);
            try {
                checkIsGallery(earlier.path());
            } catch (...) {
                // Something was added to the earlier gallery during the run: put it back.
                (void)exchange();
                throw;
            }
            remove(earlier, m_temporary);
        }
        m_temporary.clear();
    });
}

}  // namespace kpx::tool
