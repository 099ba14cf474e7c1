#include "explain/flagNames.h"

#include "explain/text.h"
#include "reader/ddsFile.h"

namespace kpx {
namespace {

constexpr FlagName headerFlags[] = {
    {DDSD_CAPS, "DDSD_CAPS"},
    {DDSD_HEIGHT, "DDSD_HEIGHT"},
    {DDSD_WIDTH, "DDSD_WIDTH"},
    {DDSD_PITCH, "DDSD_PITCH"},
    {DDSD_PIXELFORMAT, "DDSD_PIXELFORMAT"},
    {0x20000, "DDSD_MIPMAPCOUNT"},
    {DDSD_LINEARSIZE, "DDSD_LINEARSIZE"},
    {0x800000, "DDSD_DEPTH"},
};

constexpr FlagName pixelFormatFlags[] = {
    {DDPF_ALPHAPIXELS, "DDPF_ALPHAPIXELS"},
    {DDPF_ALPHA, "DDPF_ALPHA"},
    {DDPF_FOURCC, "DDPF_FOURCC"},
    {DDPF_PALETTEINDEXED4, "DDPF_PALETTEINDEXED4"},
    {DDPF_PALETTEINDEXEDTO8, "DDPF_PALETTEINDEXEDTO8"},
    {DDPF_PALETTEINDEXED8, "DDPF_PALETTEINDEXED8"},
    {DDPF_RGB, "DDPF_RGB"},
    {0x200, "DDPF_YUV"},
    {0x400, "DDPF_ZBUFFER"},
    {0x8000, "DDPF_ALPHAPREMULT"},
    {DDPF_LUMINANCE, "DDPF_LUMINANCE"},
    {0x40000, "DDPF_BUMPLUMINANCE"},
    {0x80000, "DDPF_BUMPDUDV"},
    {0x80000000, "DDPF_NORMAL"},
};

}  // namespace

std::span<const FlagName> headerFlagNames() {
    return headerFlags;
}

std::span<const FlagName> pixelFormatFlagNames() {
    return pixelFormatFlags;
}

std::string flagText(std::span<const FlagName> names, std::uint32_t flags) {
    std::string text = hex(flags);
    for (const FlagName& row : names) {
        if ((flags & row.flag) != 0) text += textOf(" ", row.name);
    }
    return text;
}

}  // namespace kpx
