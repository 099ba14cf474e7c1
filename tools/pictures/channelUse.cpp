// The table, a row a set of channels.
#include "tools/pictures/channelUse.h"

#include <algorithm>
#include <string>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr ChannelUse uses[] = {
    {0, 1, "0", "---0", "A"},
    {1, 0, "0", "000", "Y"},
    {1, 1, "01", "0001", "YA"},
    {2, 0, "01-", "01-", "RG"},
    {2, 1, "01-2", "01-2", "RGA"},
    {3, 0, "012", "012", "RGB"},
    {3, 1, "0123", "0123", "RGBA"},
    // A picture of four colours without a matte is the plug-in's stand-in for what it cannot decode.
    {4, 0, "0123", "0123", "RGBA"},
};

}  // namespace

const ChannelUse* channelUse(std::string_view names) {
    for (const ChannelUse& use : uses) {
        if (std::is_permutation(use.exrNames.begin(), use.exrNames.end(), names.begin(), names.end())) return &use;
    }
    return nullptr;
}

const ChannelUse& channelUse(const ImageLayout& layout) {
    for (const ChannelUse& use : uses) {
        if (use.colours == layout.colours && use.mattes == layout.mattes) return use;
    }
    throw FileError("has " + std::to_string(layout.colours) + " colour and " + std::to_string(layout.mattes) +
                    " matte channels, which cannot be converted");
}

}  // namespace kpx::tool
