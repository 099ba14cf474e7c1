// The page of a gallery being written, file by file.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "tools/terminal/json.h"

namespace kpx::tool {

// Everything that comes from files and names stands in the page as JSON, of which no character means anything in HTML.
class GalleryPage {
public:
    // Starts the page, which is to name these places.
    GalleryPage(const std::string& path, const std::vector<std::string>& places);

    // Adds a file by what is to be told of it, and its pictures, which may be null.
    void add(const Json& file, const Json& pictures);
    // To be called after the last file. Throws OutputError unless the page is whole.
    void finish();

private:
    void addBlock(const std::string& attributes, const Json& object);
    void noteFailure();

    std::ofstream m_stream;
    int m_cause = 0;  // errno of the first failure
    std::size_t m_count = 0;
};

}  // namespace kpx::tool
