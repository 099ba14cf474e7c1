// What formats and flags are called, by the table of formats and by the published names.
#pragma once

#include <cstdint>
#include <string>

#include "dds/formatTable.h"

namespace kpx {

// Returns a code of four characters in quotes, as in "DXT1"; the number of a numeric code; hexadecimal if it is
// neither.
std::string codeText(std::uint32_t code);

// The same, with the name of a published number: 20 D3DFMT_R8G8B8.
std::string namedCode(std::uint32_t code);

// Returns 71 BC1_UNORM, or the number alone.
std::string dxgiText(std::uint32_t dxgiFormat);

// Returns a format in words: code 36 D3DFMT_A16B16G16R16, masks D3DFMT_R5G6B5.
std::string formatText(const Format& format);

// Returns the channels that a host gets of the format, in words: "4", or "3 or 4" if the header decides.
std::string channelCount(const Format& format);

// Return flags as a number with the names of those that have one: 0x41 DDPF_ALPHAPIXELS DDPF_RGB.
std::string headerFlagText(std::uint32_t flags);  // of DDS_HEADER.dwFlags
std::string pixelFlagText(std::uint32_t flags);   // of DDS_PIXELFORMAT.dwFlags

}  // namespace kpx
