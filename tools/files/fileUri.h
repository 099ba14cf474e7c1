// Files named by URIs, as file managers do.
#pragma once

#include <string>

namespace kpx::tool {

// The path of a file: URI; any other text is a path itself. Throws FileError where the URI is of another computer or
// is no good.
std::string pathOfFile(const std::string& pathOrUri);

// The file: URI of a path, made absolute. Bytes are escaped as GLib does, so that thumbnails are found again.
std::string uriOfPath(const std::string& path);

}  // namespace kpx::tool
