// The headers and the size of a file, which is all that a verdict on it is made from; taken from its first bytes, read
// from the disk, and turned into bytes again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "dds/ddsFile.h"

namespace kpx {

struct FileFacts {
    std::uint64_t fileBytes;
    DdsFileHeader header;         // zero from where the file ends
    DDS_HEADER_DXT10 dx10Header;  // the 20 bytes after the header, whatever they are; zero from where the file ends

    // The bytes that follow the header.
    constexpr std::uint64_t bytesAfterHeader() const {
        return fileBytes < sizeof header ? 0 : fileBytes - sizeof header;
    }
};

// How many bytes of a file's start the facts are taken from.
inline constexpr std::size_t factBytes = sizeof(DdsFileHeader) + sizeof(DDS_HEADER_DXT10);

// start holds at least the first factBytes bytes, or the whole of a shorter file.
FileFacts factsOf(std::span<const unsigned char> start, std::uint64_t fileBytes);

// Whether the reader takes what follows the header for a DX10 header, and all of it is there.
bool hasDx10Header(const FileFacts& facts);

// The bytes before the pixel data: the header, and the DX10 header where the file has one.
std::vector<unsigned char> headerBytes(const FileFacts& facts);

// Reads the facts of an open file. Throws FileError if it cannot be read.
FileFacts readFacts(int descriptor);

}  // namespace kpx
