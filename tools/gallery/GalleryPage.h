// The page of a gallery being written, file by file.
#pragma once

#include <fstream>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tools/json/json.h"

namespace kpx::tool {

// Takes a picture out of the page: by a name that is safe in every folder and no other picture has, and the bytes of
// the file. Returns the URL by which the page finds it. Throws OutputError.
using KeepPicture = std::function<std::string(const std::string& name, std::span<const unsigned char> bytes)>;

// Everything that comes from files and names stands in the page as JSON, of which no character means anything in HTML.
// Pictures are PNG files, given as binary values, in whose places the page has their URLs.
class GalleryPage {
public:
    // Starts the page, which is to name these places. Without `keep`, pictures stand in the page.
    GalleryPage(const std::string& path, const std::vector<std::string>& places, KeepPicture keep);

    // Adds a file by what is to be told of it, the pictures of its card and those of the viewer. The two are read when
    // they come to be shown; they may be null.
    void add(const Json& file, Json thumbnails, Json pictures);
    // To be called after the last file. Throws OutputError unless the page and its pictures are whole.
    void finish();

private:
    void addBlock(const std::string& attributes, const Json& object);
    void placePictures(const std::string& name, Json& value);
    [[nodiscard]] std::string urlOf(const std::string& name, std::span<const unsigned char> bytes);
    void noteFailure();

    std::ofstream m_stream;
    KeepPicture m_keep;
    std::string m_failure;  // the first
    std::size_t m_count = 0;
};

}  // namespace kpx::tool
