// The folder of a gallery, which appears whole or not at all.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/pictures/smallPicture.h"

namespace kpx::tool {

class OpenFolder;

// The gallery is written to a folder with a temporary name beside its destination. Committing renames the folder and
// deletes an earlier gallery; anything else at the destination is never touched.
class GalleryFolder {
public:
    // Creates the temporary folder. Throws OutputError, also if the destination is a file, a link, or a folder that
    // contains something other than a gallery.
    explicit GalleryFolder(const std::string& path);
    // Deletes the temporary folder unless it has been committed.
    ~GalleryFolder();
    GalleryFolder(const GalleryFolder&) = delete;
    GalleryFolder& operator=(const GalleryFolder&) = delete;

    // Writes some channels of a picture, from RGBA channel number `first`, as NAME.png and returns its URL for the
    // page. Requires: the name is safe in every file system. Throws OutputError.
    [[nodiscard]] std::string write(const std::string& name, const SmallPicture& picture, std::size_t first = 0,
                                    std::size_t channels = 4) const;

    // Writes the page with these records of files, which are JSON. Throws OutputError.
    void writePage(const std::vector<std::string>& records) const;

    // Gives the folder its name and deletes the earlier gallery. Throws OutputError, or Interrupted after a signal.
    void commit();

private:
    std::string m_path;
    std::string m_temporary;
    std::unique_ptr<OpenFolder> m_open;  // the temporary folder, whatever gets its name
};

}  // namespace kpx::tool
