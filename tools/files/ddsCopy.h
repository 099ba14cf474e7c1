// Files made of a new header and of data copied from another file, or converted from it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "explain/surfaces.h"

namespace kpx::tool {

// Bytes of a file.
struct ByteRange {
    std::uint64_t start;
    std::uint64_t count;
};

// Writes the header and then the ranges of the source into a file that exists. Throws FileError of the source and
// OutputError of the file, and Interrupted after a signal.
void writeParts(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
                const std::string& path);

// The same with the source's whole pictures, so many at the most (at least 1), converted by the layout's conversion.
void writeConverted(const std::string& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                    const std::string& path, std::uint64_t mostPictures);

// Throws OutputError where the destination is the source.
void checkIsNotInput(const std::string& source, const std::string& destination);

// Writes the header and then the ranges of the source to the destination, which appears whole or not at all. Throws
// FileError of the source and OutputError of the destination.
void writeCopy(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
               const std::string& destination);

}  // namespace kpx::tool
