// What becomes of a file: the reader's own plan of loading it, from the file's headers and size; and what a file is
// that is no DDS file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "reader/loadPlan.h"

namespace kpx {

// The headers and the size of a file, which decide everything but the values of its pixels.
struct FileFacts {
    std::uint64_t fileBytes;
    DdsFileHeader header;         // zero beyond the end of the file
    DDS_HEADER_DXT10 dx10Header;  // the 20 bytes after the header, whatever they are; zero beyond the end of the file

    // The bytes that follow the header.
    constexpr std::uint64_t bytesAfterHeader() const {
        return fileBytes < sizeof header ? 0 : fileBytes - sizeof header;
    }
};

// The bytes at the start of a file that the facts are taken from.
inline constexpr std::size_t factBytes = sizeof(DdsFileHeader) + sizeof(DDS_HEADER_DXT10);

// Requires: start has at least factBytes bytes, or is the whole of a shorter file.
FileFacts factsOf(std::span<const unsigned char> start, std::uint64_t fileBytes);

// Returns whether the reader takes what follows the header for a DX10 header, and the file has all of it.
bool hasDx10Header(const FileFacts& facts);

// Returns whether the 20 bytes after the header can be a DX10 header that the flags lead the reader past: its fields
// are plausible, what it describes fits in the data after it, and the data is not just what the flags require without
// it.
bool canHaveDx10Header(const FileFacts& facts);

// Returns the bytes before the pixel data: the header, and the DX10 header if the file has one.
std::vector<unsigned char> headerBytes(const FileFacts& facts);

// Returns whether the file begins with "DDS", by which hosts recognise it.
bool startsAsDds(const FileFacts& facts);

// Returns what a file is that is empty, begins like another format or has its header in another place, and what to
// do with it: "is a PNG picture: ..." without the final period. Empty for every other file.
std::string otherFileText(const FileFacts& facts);
// Returns the same, or at least that it is not a DDS file, for every file that hosts do not recognise.
std::string notDdsText(const FileFacts& facts);

enum class Result : std::uint8_t {
    decoded,  // the file's own picture
    black,    // the 64 by 64 opaque black picture
    refused,  // no picture: the file cannot be opened
};

struct Verdict : LoadPlan {
    Result result;
};

// Assumes that there is as much memory as the limits allow.
Verdict judge(const FileFacts& facts);

}  // namespace kpx
