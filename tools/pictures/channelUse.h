// Which of an image's channels go where in each output format, for every set of channels that there is.
#pragma once

#include <string_view>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// The channel of the output in place i is the image's channel `digit`, or all zero for '-'.
struct ChannelUse {
    int colours;
    int mattes;
    std::string_view png;       // grey, grey and alpha, RGB or RGBA, by its length
    std::string_view dds;       // RGB or RGBA
    std::string_view exrNames;  // the names of the image's channels, in their order
};

// The channels by their names, in any order; null where no image has such.
const ChannelUse* channelUse(std::string_view names);

// Throws FileError for a set of channels that no image has.
const ChannelUse& channelUse(const ImageLayout& layout);

}  // namespace kpx::tool
