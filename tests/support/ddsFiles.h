// Makes DDS files in memory, and reads files for tests to compare.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <vector>

#include "dds/ddsFile.h"
#include "reader/TddsReader.h"
#include "tests/support/memoryFile.h"

namespace testing_support {

using Bytes = std::vector<unsigned char>;

// Returns a header with the given size; the test sets the rest.
inline kpx::DdsFileHeader headerOf(std::uint32_t width, std::uint32_t height) {
    kpx::DdsFileHeader file{};
    file.magic = kpx::ddsMagic;
    file.header.dwSize = 124;
    file.header.dwWidth = width;
    file.header.dwHeight = height;
    file.header.ddspf.dwSize = 32;
    return file;
}

template <typename Record>
void append(Bytes& bytes, const Record& record) {
    const std::size_t end = bytes.size();
    bytes.resize(end + sizeof record);
    std::memcpy(bytes.data() + end, &record, sizeof record);
}

template <typename Record>
Bytes bytesOf(const Record& record) {
    Bytes bytes;
    append(bytes, record);
    return bytes;
}

// Returns a header with a format code, DDPF_FOURCC and further header flags.
inline kpx::DdsFileHeader codeHeader(std::uint32_t code, std::uint32_t width, std::uint32_t height,
                                     std::uint32_t headerFlags = 0) {
    kpx::DdsFileHeader file = headerOf(width, height);
    file.header.dwFlags = headerFlags;
    file.header.ddspf.dwFlags = kpx::DDPF_FOURCC;
    file.header.ddspf.dwFourCC = code;
    return file;
}

inline Bytes fileOf(const kpx::DdsFileHeader& header, std::span<const unsigned char> data = {}) {
    Bytes bytes(sizeof header + data.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    std::copy(data.begin(), data.end(), bytes.begin() + sizeof header);
    return bytes;
}

// Returns the header of a square with flags, bits and masks.
inline kpx::DdsFileHeader maskHeader(std::uint32_t flags, std::uint32_t bitCount, const kpx::Masks& masks,
                                     std::uint32_t side) {
    kpx::DdsFileHeader file = headerOf(side, side);
    file.header.ddspf = {32, flags, 0, bitCount, masks.r, masks.g, masks.b, masks.a};
    return file;
}

// Returns the header of 8-bit pixels that are decoded to three channels.
inline kpx::DdsFileHeader rowOfBytes(std::uint32_t width, std::uint32_t height) {
    kpx::DdsFileHeader file = headerOf(width, height);
    file.header.ddspf = {32, kpx::DDPF_RGB, 0, 8, 0xE0, 0x1C, 0x03, 0};
    return file;
}

inline Bytes withData(Bytes file, std::size_t bytes) {
    file.resize(file.size() + bytes, 0x55);
    return file;
}

inline Bytes cutTo(Bytes file, std::size_t bytes) {
    file.resize(bytes);
    return file;
}

inline Bytes dx10File(std::uint32_t dxgiFormat, std::uint32_t width, std::uint32_t height,
                      std::span<const unsigned char> data = {}, std::uint32_t miscFlags2 = 0) {
    Bytes bytes = fileOf(codeHeader(kpx::fourCC("DX10"), width, height));
    append(bytes, kpx::DDS_HEADER_DXT10{dxgiFormat, 3, 0, 1, miscFlags2});
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

// A file with the lifetime of the object.
struct TemporaryFile : MemoryFile {
    explicit TemporaryFile(std::span<const unsigned char> content) { write(content); }
};

inline Bytes readFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace testing_support
