// Files made of a new header and of data copied from another file.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kpx::tool {

// Bytes of a file.
struct ByteRange {
    std::uint64_t start;
    std::uint64_t count;
};

// Writes the header and then the ranges of the source into a file that exists. Throws FileError of the source and
// OutputError of the file.
void writeParts(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
                const std::string& path);

// Writes the header and then the ranges of the source to the destination, which appears whole or not at all. Throws
// FileError of the source and OutputError of the destination.
void writeCopy(const std::string& source, std::span<const ByteRange> ranges, std::span<const unsigned char> header,
               const std::string& destination);

}  // namespace kpx::tool
