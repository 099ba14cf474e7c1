// The pictures of a file that holds several, as a strip of small ones.
#pragma once

#include <string>

#include "host/Plugin.h"
#include "tools/terminal/json.h"

namespace kpx::tool {

// The largest width and height of a picture in a strip, and how many of a file are shown.
inline constexpr int stripSide = 96;
inline constexpr std::size_t stripLength = 48;

// {"title", "notes": [...], "surfaces": [{"name", "width", "height", "picture"}]}, in the order of the file: the name
// is that of surfaceName, the size that of the surface, the picture a PNG file, missing where it cannot be decoded.
// Null where the file has one picture, or the size of its pictures is not known. Each is decoded from a temporary file,
// and nothing is told; the exposure is that of floats. Throws FileError, or Interrupted after a signal.
Json surfaceStrip(const host::Plugin& plugin, const std::string& path, double exposure);

}  // namespace kpx::tool
