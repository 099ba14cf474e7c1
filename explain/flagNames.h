// The published names of the flags in a header.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kpx {

struct FlagName {
    std::uint32_t flag;
    const char* name;
};

std::span<const FlagName> headerFlagNames();       // of DDS_HEADER.dwFlags
std::span<const FlagName> pixelFormatFlagNames();  // of DDS_PIXELFORMAT.dwFlags

// The flags as a number, and the names of those that have one: 0x41 DDPF_ALPHAPIXELS DDPF_RGB.
std::string flagText(std::span<const FlagName> names, std::uint32_t flags);

}  // namespace kpx
