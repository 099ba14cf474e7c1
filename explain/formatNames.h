// What formats are called, by the table of formats, decoded or not.
#pragma once

#include <cstdint>
#include <string>

#include "dds/formatTable.h"

namespace kpx {

// "DXT1" in quotes, the number of a numeric code, or hexadecimal where it is neither.
std::string codeText(std::uint32_t code);

// The same, a published number with its name: 20 D3DFMT_R8G8B8.
std::string namedCode(std::uint32_t code);

// 71 BC1_UNORM, or the number alone.
std::string dxgiText(std::uint32_t dxgiFormat);

// The format in words: code 36 D3DFMT_A16B16G16R16, masks D3DFMT_R5G6B5.
std::string formatText(const Format& format);

// Returns how many channels a host gets of the format, in words: "4", or "3 or 4" if the header says.
std::string channelCount(const Format& format);

// The other name of the same data: the DXGI format of a legacy one, and the reverse. Empty where there is none.
std::string otherName(const Format& format);

}  // namespace kpx
