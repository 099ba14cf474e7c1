// The pictures of a file that holds several, as a strip of small ones.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "explain/verdict.h"
#include "host/Plugin.h"
#include "tools/files/OpenFile.h"
#include "tools/gallery/galleryPictures.h"
#include "tools/json/json.h"

namespace kpx::tool {

// The largest width and height of a picture in a strip, how many of a file are shown, and how much of its data is read
// for them.
inline constexpr int stripSide = 96;
inline constexpr std::uint64_t stripLength = 48;
inline constexpr std::uint64_t stripBytes = std::uint64_t{128} << 20;

// Returns how many pictures the strip of a file shows; 0 if the first is too large, or the size is not known.
std::uint64_t stripCount(const FileFacts& facts);

// Keeps a picture under a name and returns its URL.
using KeepPicture = std::function<std::string(const std::string& name, const Png& picture)>;

// Returns {"title", "notes": [...], "surfaces": [{"name", "width", "height", "picture"}]}, in the order of the file;
// null if the file has one picture, or the size of its pictures is not known. The exposure is that of floats. A picture
// that cannot be decoded is missing. Each is decoded from a temporary file. Throws OutputError or Interrupted.
Json surfaceStrip(const host::Plugin& plugin, const OpenFile& file, const FileFacts& facts, double exposure,
                  const KeepPicture& keep);

}  // namespace kpx::tool
