// The pictures of a file that holds several, as a strip of small ones.
#pragma once

#include <cstdint>
#include <string>

#include "explain/fileFacts.h"
#include "host/Plugin.h"
#include "tools/files/OpenFile.h"
#include "tools/json/json.h"

namespace kpx::tool {

// The largest width and height of a picture in a strip, how many of a file are shown, and how much of its data is read
// for them.
inline constexpr int stripSide = 96;
inline constexpr std::uint64_t stripLength = 48;
inline constexpr std::uint64_t stripBytes = std::uint64_t{128} << 20;

// What a strip is made of.
struct StripSource {
    const OpenFile* file;
    FileFacts facts;        // of the whole file; the data of what the strip does not show may be missing
    bool isMended = false;  // the file is a repaired copy
    double exposure = 0.0;  // of floats
};

// How many pictures the strip of a file shows; 0 where the first is too large, or the size is not known.
std::uint64_t stripCount(const FileFacts& facts);

// {"title", "notes": [...], "surfaces": [{"name", "width", "height", "picture"}]}, in the order of the file: the name
// is that of surfaceName, the size that of the surface, the picture a PNG file, missing where it cannot be decoded.
// Null where the file has one picture, or the size of its pictures is not known. Each is decoded from a temporary file,
// and nothing is told. Throws OutputError where there is no such file to be had, or Interrupted after a signal.
Json surfaceStrip(const host::Plugin& plugin, const StripSource& source);

}  // namespace kpx::tool
