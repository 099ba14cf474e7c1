// Files made of a new header and of data copied from another file, or converted from it.
#pragma once

#include <cstdint>
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
// (also if another program changes it meanwhile), OutputError for the file, and Interrupted after a signal.
void writeParts(const OpenFile& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
                int descriptor);

// Writes the header and the source's whole pictures, at most mostPictures (at least 1) of them, converted by the
// layout's conversion. Throws like writeParts.
void writeConverted(const OpenFile& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                    int descriptor, std::uint64_t mostPictures);

// The permissions of a copy, as cp makes it: those of the source, less the user's umask.
mode_t permissionsOfCopy(const OpenFile& source);

}  // namespace kpx::tool
