// The records of a DDS file, with the field names, flags and codes of the published format. All fields are unsigned
// 32-bit little-endian integers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/littleEndian.h"

namespace kpx {

struct DDS_PIXELFORMAT {
    std::uint32_t dwSize;
    std::uint32_t dwFlags;
    std::uint32_t dwFourCC;  // four characters in file order, or a numeric code
    std::uint32_t dwRGBBitCount;
    std::uint32_t dwRBitMask, dwGBitMask, dwBBitMask, dwABitMask;
};

struct DDS_HEADER {
    std::uint32_t dwSize;
    std::uint32_t dwFlags;
    std::uint32_t dwHeight;
    std::uint32_t dwWidth;
    std::uint32_t dwPitchOrLinearSize;
    std::uint32_t dwDepth;
    std::uint32_t dwMipMapCount;
    std::uint32_t dwReserved1[11];
    DDS_PIXELFORMAT ddspf;
    std::uint32_t dwCaps, dwCaps2, dwCaps3, dwCaps4;
    std::uint32_t dwReserved2;
};

// The first 128 bytes of a file.
struct DdsFileHeader {
    std::uint32_t magic;
    DDS_HEADER header;
};
static_assert(sizeof(DdsFileHeader) == 128 && offsetof(DdsFileHeader, header.ddspf.dwFlags) == 80 &&
              offsetof(DdsFileHeader, header.dwCaps) == 108);

// Follows the header when dwFourCC is "DX10".
struct DDS_HEADER_DXT10 {
    std::uint32_t dxgiFormat;
    std::uint32_t resourceDimension;
    std::uint32_t miscFlag;
    std::uint32_t arraySize;
    std::uint32_t miscFlags2;  // bits 0 to 2: the alpha mode
};
static_assert(sizeof(DDS_HEADER_DXT10) == 20);

constexpr std::uint32_t fourCC(const char (&characters)[5]) {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(characters[i]);
    return code;
}

inline constexpr std::uint32_t ddsMagic = fourCC("DDS ");

// DDS_HEADER.dwFlags, including those that the reader ignores
inline constexpr std::uint32_t DDSD_CAPS = 0x1;
inline constexpr std::uint32_t DDSD_HEIGHT = 0x2;
inline constexpr std::uint32_t DDSD_WIDTH = 0x4;
inline constexpr std::uint32_t DDSD_PITCH = 0x8;
inline constexpr std::uint32_t DDSD_PIXELFORMAT = 0x1000;
inline constexpr std::uint32_t DDSD_MIPMAPCOUNT = 0x20000;
inline constexpr std::uint32_t DDSD_LINEARSIZE = 0x80000;
inline constexpr std::uint32_t DDSD_DEPTH = 0x800000;

// DDS_HEADER.dwCaps and dwCaps2
inline constexpr std::uint32_t DDSCAPS_COMPLEX = 0x8;
inline constexpr std::uint32_t DDSCAPS_TEXTURE = 0x1000;
inline constexpr std::uint32_t DDSCAPS_MIPMAP = 0x400000;
inline constexpr std::uint32_t DDSCAPS2_CUBEMAP = 0x200;
inline constexpr std::uint32_t DDSCAPS2_CUBEMAP_POSITIVEX = 0x400;  // each further face is the next bit
inline constexpr std::uint32_t DDSCAPS2_CUBEMAP_ALLFACES = 0xFC00;
inline constexpr std::uint32_t DDSCAPS2_VOLUME = 0x200000;

// DDS_PIXELFORMAT.dwFlags
inline constexpr std::uint32_t DDPF_ALPHAPIXELS = 0x1;
inline constexpr std::uint32_t DDPF_ALPHA = 0x2;
inline constexpr std::uint32_t DDPF_FOURCC = 0x4;
inline constexpr std::uint32_t DDPF_PALETTEINDEXED4 = 0x8;
inline constexpr std::uint32_t DDPF_PALETTEINDEXEDTO8 = 0x10;
inline constexpr std::uint32_t DDPF_PALETTEINDEXED8 = 0x20;
inline constexpr std::uint32_t DDPF_RGB = 0x40;
inline constexpr std::uint32_t DDPF_YUV = 0x200;
inline constexpr std::uint32_t DDPF_ZBUFFER = 0x400;
inline constexpr std::uint32_t DDPF_ALPHAPREMULT = 0x8000;
inline constexpr std::uint32_t DDPF_LUMINANCE = 0x20000;
inline constexpr std::uint32_t DDPF_BUMPLUMINANCE = 0x40000;
inline constexpr std::uint32_t DDPF_BUMPDUDV = 0x80000;
inline constexpr std::uint32_t DDPF_NORMAL = 0x80000000;
inline constexpr std::uint32_t anyPaletteFlag = DDPF_PALETTEINDEXED4 | DDPF_PALETTEINDEXEDTO8 | DDPF_PALETTEINDEXED8;

// This system's own codes, for formats without a published one.
inline constexpr std::uint32_t CODE_SINGLE16 = 134;
inline constexpr std::uint32_t CODE_DUAL8 = 135;
inline constexpr std::uint32_t CODE_SINGLE8 = 136;
inline constexpr std::uint32_t CODE_RGB_FLOAT32 = 1116;

// DDS_HEADER_DXT10
inline constexpr std::uint32_t D3D10_RESOURCE_DIMENSION_TEXTURE1D = 2;
inline constexpr std::uint32_t D3D10_RESOURCE_DIMENSION_TEXTURE2D = 3;
inline constexpr std::uint32_t D3D10_RESOURCE_DIMENSION_TEXTURE3D = 4;
inline constexpr std::uint32_t D3D10_RESOURCE_MISC_TEXTURECUBE = 4;
inline constexpr std::uint32_t dx10Code = fourCC("DX10");
inline constexpr std::uint32_t largestDxgiFormat = 99;
inline constexpr std::uint32_t dxgiBC6HSigned = 96;
inline constexpr std::uint32_t alphaModeMask = 7;
inline constexpr std::uint32_t alphaModePremultiplied = 2;

}  // namespace kpx
