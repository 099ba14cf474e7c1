// The page of a gallery as it is written: the embedded page, style and script, and a block of JSON per file.
#pragma once

#include <fstream>
#include <string>

#include "tools/json/json.h"

namespace kpx::tool {

// Whatever comes from files and names stands in the page as JSON, none of whose characters means anything in HTML.
class GalleryPage {
public:
    // Starts the page.
    explicit GalleryPage(const std::string& path);

    void add(const Json& file);
    // To be called after the last file. Throws OutputError unless the page is whole.
    void finish();

private:
    std::ofstream m_stream;
};

}  // namespace kpx::tool
