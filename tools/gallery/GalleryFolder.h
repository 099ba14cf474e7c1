// The folder of a gallery, which appears whole or not at all.
#pragma once

#include <span>
#include <string>

namespace kpx::tool {

// The gallery is written to a folder with a temporary name beside the one that is named, and takes its place at the
// end. An earlier gallery stays until then; whatever else has the name is never touched.
class GalleryFolder {
public:
    // Creates the temporary folder. Throws OutputError, also if the name is that of a file, a link, or a folder that
    // holds something other than a gallery.
    explicit GalleryFolder(const std::string& path);
    // Deletes the temporary folder unless it has been committed.
    ~GalleryFolder();
    GalleryFolder(const GalleryFolder&) = delete;
    GalleryFolder& operator=(const GalleryFolder&) = delete;

    // The path of the page.
    [[nodiscard]] std::string page() const;
    // Writes a picture of this name, which must be safe in every file system, and returns its URL for the page. Throws
    // OutputError.
    [[nodiscard]] std::string write(const std::string& name, std::span<const unsigned char> bytes) const;

    // Gives the folder its name and deletes the earlier gallery. Throws OutputError, or Interrupted after a signal.
    void commit();

private:
    std::string m_path;
    std::string m_temporary;
};

// What every page begins with, by which a later run knows the folder.
inline constexpr const char* galleryMark = "<!DOCTYPE html>\n<!-- A gallery made by kpximage. -->\n";

}  // namespace kpx::tool
