// Flags of the published header that the reader does not look at, but the tool does.
#pragma once

#include <cstdint>

namespace kpx {

// DDS_HEADER.dwFlags
inline constexpr std::uint32_t DDSD_MIPMAPCOUNT = 0x20000;
inline constexpr std::uint32_t DDSD_DEPTH = 0x800000;

// DDS_HEADER.dwCaps and dwCaps2
inline constexpr std::uint32_t DDSCAPS_COMPLEX = 0x8;
inline constexpr std::uint32_t DDSCAPS_MIPMAP = 0x400000;
inline constexpr std::uint32_t DDSCAPS2_CUBEMAP = 0x200;
inline constexpr std::uint32_t DDSCAPS2_CUBEMAP_POSITIVEX = 0x400;  // the other faces follow, each the next bit
inline constexpr std::uint32_t DDSCAPS2_CUBEMAP_ALLFACES = 0xFC00;
inline constexpr std::uint32_t DDSCAPS2_VOLUME = 0x200000;

// DDS_PIXELFORMAT.dwFlags
inline constexpr std::uint32_t DDPF_BUMPDUDV = 0x80000;

// DDS_HEADER_DXT10
inline constexpr std::uint32_t D3D10_RESOURCE_DIMENSION_TEXTURE1D = 2;
inline constexpr std::uint32_t D3D10_RESOURCE_DIMENSION_TEXTURE2D = 3;
inline constexpr std::uint32_t D3D10_RESOURCE_DIMENSION_TEXTURE3D = 4;
inline constexpr std::uint32_t D3D10_RESOURCE_MISC_TEXTURECUBE = 4;

}  // namespace kpx
