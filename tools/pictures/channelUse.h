// Where the channels of an image go in each output format, for every set of channels.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// The rows of an image that become the channels of an output.
struct Pick {
    static constexpr std::int8_t zero = -1;  // not a row: the channel is 0 everywhere

    std::uint8_t count;
    std::array<std::int8_t, 4> rows;  // their places in the image

    // Returns the row of a channel of the output; `zeros` for one that is 0.
    [[nodiscard]] const unsigned char* row(std::size_t channel, std::span<const unsigned char* const> source,
                                           const unsigned char* zeros) const {
        return rows[channel] == zero ? zeros : source[static_cast<std::size_t>(rows[channel])];
    }
};

struct ChannelUse {
    int colours;
    int mattes;
    Pick png;                // grey, grey and alpha, RGB or RGBA, by its count
    Pick dds;                // RGB or RGBA
    std::string_view names;  // of the image's channels in order, one letter each
};

// Returns the channels with these names, in any order; null if no image has them.
const ChannelUse* channelUse(std::string_view names);

// Throws FileError for a set of channels that no image has.
const ChannelUse& channelUse(const ImageLayout& layout);

}  // namespace kpx::tool
