// Files made of a new header and of data copied from another file, or recoded from it.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>

#include "explain/surfaces.h"
#include "tools/files/OpenFile.h"
#include "tools/files/PendingFile.h"

namespace kpx::tool {

// Bytes of a file.
struct ByteRange {
    std::uint64_t start;
    std::uint64_t count;
};

// Writes the header and then the ranges of the source to an open file, from its start. Throws FileError for the source
// (also if another program changes it), OutputError for the file, and Interrupted after a signal.
void writeParts(const OpenFile& source, std::initializer_list<ByteRange> ranges, std::span<const unsigned char> header,
                int descriptor);

// Writes a surface of the source as a file of its own. Throws like writeParts.
void writeSurface(const OpenFile& source, const SurfaceLayout& layout, const Surface& surface, int descriptor);

// Writes the header and the recoded pixels of the source's whole pictures, at most maxPictures (at least 1) of them.
// Throws like writeParts.
void writeRecoded(const OpenFile& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                  int descriptor, std::uint64_t maxPictures);

// Writes a file that appears whole or not at all, with the permissions that cp gives a copy of the source. `write`
// fills the open file. Throws what it throws, and OutputError with the output's name.
void writeCopy(const OpenFile& source, const std::string& output, Existing existing,
               const std::function<void(int descriptor)>& write);

}  // namespace kpx::tool
