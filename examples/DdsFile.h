// The parts of a DDS file, and the ways in which its header names its format.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "dds/ddsFile.h"
#include "dds/formatTable.h"
#include "examples/pictures/Picture.h"

namespace kpx::example {

using Bytes = std::vector<unsigned char>;

// The fields of the headers that name a format.
struct Naming {
    std::uint32_t flags;      // DDS_PIXELFORMAT.dwFlags
    std::uint32_t code;       // dwFourCC
    std::uint32_t bitCount;   // dwRGBBitCount
    Masks masks;              // red, green, blue, alpha
    std::uint32_t dxgi;       // with the code "DX10"
    std::uint32_t alphaMode;  // with the code "DX10"
    std::uint32_t sizeFlag;   // the meaning of dwPitchOrLinearSize: DDSD_PITCH or DDSD_LINEARSIZE
};

constexpr Naming masks(std::uint32_t bitCount, const Masks& masks) {
    return {DDPF_RGB | (masks.a != 0 ? DDPF_ALPHAPIXELS : 0), 0, bitCount, masks, 0, 0, DDSD_PITCH};
}

constexpr Naming alphaOnly(std::uint32_t bitCount, std::uint32_t mask) {
    return {DDPF_ALPHA, 0, bitCount, {0, 0, 0, mask}, 0, 0, DDSD_PITCH};
}

constexpr Naming luminance(std::uint32_t bitCount, const Masks& masks) {
    return {DDPF_LUMINANCE | (masks.a != 0 ? DDPF_ALPHAPIXELS : 0), 0, bitCount, masks, 0, 0, DDSD_PITCH};
}

constexpr Naming palette(std::uint32_t flag, std::uint32_t bitCount) {
    return {flag, 0, bitCount, {}, 0, 0, DDSD_PITCH};
}

constexpr Naming code(std::uint32_t code) {
    return {DDPF_FOURCC, code, 0, {}, 0, 0, DDSD_PITCH};
}

// Returns the naming of block-compressed data, with its linear size.
constexpr Naming blocks(const char (&characters)[5]) {
    return {DDPF_FOURCC, fourCC(characters), 0, {}, 0, 0, DDSD_LINEARSIZE};
}

constexpr Naming dx10(std::uint32_t dxgi, std::uint32_t alphaMode = 0) {
    return {DDPF_FOURCC, fourCC("DX10"), 0, {}, dxgi, alphaMode, DDSD_PITCH};
}

constexpr Naming dx10Blocks(std::uint32_t dxgi, std::uint32_t alphaMode = 0) {
    Naming naming = dx10(dxgi, alphaMode);
    naming.sizeFlag = DDSD_LINEARSIZE;
    return naming;
}

// Encodes a picture, in the format of the naming or of the encoder's name.
using Encoder = Bytes (*)(const Picture& picture, const Naming& naming);

struct DdsFile {
    DdsFileHeader header;
    std::optional<DDS_HEADER_DXT10> dx10Header;
    Bytes data;
};

DdsFile encode(const Picture& picture, const Naming& naming, Encoder encoder);
Bytes bytesOf(const DdsFile& file);

}  // namespace kpx::example
