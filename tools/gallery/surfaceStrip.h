// The pictures of a file that contains several, as a strip of small ones.
#pragma once

#include <cstdint>
#include <string>

#include "explain/verdict.h"
#include "host/Plugin.h"
#include "tools/files/OpenFile.h"
#include "tools/gallery/GalleryFolder.h"
#include "tools/json/json.h"

namespace kpx::tool {

// The most data that is read for the strip of a file.
inline constexpr std::uint64_t stripBytes = std::uint64_t{128} << 20;

// Returns the number of pictures in the strip of a file; 0 if the first is too large or the size is not known.
std::uint64_t stripCount(const FileFacts& facts);

// Returns {"title", "notes": [...], "surfaces": [{"name", "width", "height", "picture"}]}, in the order of the file;
// null if the file has one picture or their size is not known. Floats are shown at an exposure in stops. Names of
// picture files begin with the prefix; a picture that cannot be decoded has none. Throws OutputError or Interrupted.
Json surfaceStrip(const host::Plugin& plugin, const OpenFile& file, const FileFacts& facts, double exposure,
                  const GalleryFolder& folder, const std::string& prefix);

}  // namespace kpx::tool
