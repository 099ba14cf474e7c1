// The names by the constants of the file's records.
#include "explain/flagNames.h"

#include "dds/ddsFile.h"
#include "explain/text.h"

namespace kpx {
namespace {

constexpr FlagName headerFlags[] = {
    {DDSD_CAPS, "DDSD_CAPS"},
    {DDSD_HEIGHT, "DDSD_HEIGHT"},
    {DDSD_WIDTH, "DDSD_WIDTH"},
    {DDSD_PITCH, "DDSD_PITCH"},
    {DDSD_PIXELFORMAT, "DDSD_PIXELFORMAT"},
    {DDSD_MIPMAPCOUNT, "DDSD_MIPMAPCOUNT"},
    {DDSD_LINEARSIZE, "DDSD_LINEARSIZE"},
    {DDSD_DEPTH, "DDSD_DEPTH"},
};

constexpr FlagName pixelFormatFlags[] = {
    {DDPF_ALPHAPIXELS, "DDPF_ALPHAPIXELS"},
    {DDPF_ALPHA, "DDPF_ALPHA"},
    {DDPF_FOURCC, "DDPF_FOURCC"},
    {DDPF_PALETTEINDEXED4, "DDPF_PALETTEINDEXED4"},
    {DDPF_PALETTEINDEXEDTO8, "DDPF_PALETTEINDEXEDTO8"},
    {DDPF_PALETTEINDEXED8, "DDPF_PALETTEINDEXED8"},
    {DDPF_RGB, "DDPF_RGB"},
    {DDPF_YUV, "DDPF_YUV"},
    {DDPF_ZBUFFER, "DDPF_ZBUFFER"},
    {DDPF_ALPHAPREMULT, "DDPF_ALPHAPREMULT"},
    {DDPF_LUMINANCE, "DDPF_LUMINANCE"},
    {DDPF_BUMPLUMINANCE, "DDPF_BUMPLUMINANCE"},
    {DDPF_BUMPDUDV, "DDPF_BUMPDUDV"},
    {DDPF_NORMAL, "DDPF_NORMAL"},
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
