// PNG files are recognised by their signature, all others by the plug-in. The table has one row per set of channels.
#include "tools/pictures/PixelSource.h"

#include <png.h>

#include <algorithm>

#include "explain/text.h"
#include "explain/verdict.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/PngSource.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr std::int8_t no = Pick::zero;

constexpr ChannelUse uses[] = {
    {0, 1, {1, {0}}, {4, {no, no, no, 0}}, "A"},
    {1, 0, {1, {0}}, {3, {0, 0, 0}}, "Y"},
    {1, 1, {2, {0, 1}}, {4, {0, 0, 0, 1}}, "YA"},
    {2, 0, {3, {0, 1, no}}, {3, {0, 1, no}}, "RG"},
    {2, 1, {4, {0, 1, no, 2}}, {4, {0, 1, no, 2}}, "RGA"},
    {3, 0, {3, {0, 1, 2}}, {3, {0, 1, 2}}, "RGB"},
    {3, 1, {4, {0, 1, 2, 3}}, {4, {0, 1, 2, 3}}, "RGBA"},
    // Four colours without a matte: the plug-in's stand-in for what it cannot decode.
    {4, 0, {4, {0, 1, 2, 3}}, {4, {0, 1, 2, 3}}, "RGBA"},
};

}  // namespace

const ChannelUse* channelUse(std::string_view names) {
    for (const ChannelUse& use : uses) {
        if (std::is_permutation(use.names.begin(), use.names.end(), names.begin(), names.end())) return &use;
    }
    return nullptr;
}

const ChannelUse& channelUse(const ImageLayout& layout) {
    for (const ChannelUse& use : uses) {
        if (use.colours == layout.colours && use.mattes == layout.mattes) return use;
    }
    throw FileError(
        textOf("has ", layout.colours, " colour and ", layout.mattes, " alpha channels, which cannot be converted"));
}

bool isPng(const OpenFile& file) {
    constexpr std::size_t signatureBytes = 8;
    const DdsFileHeader& start = file.facts().header;
    return png_sig_cmp(reinterpret_cast<png_const_bytep>(&start), 0, signatureBytes) == 0;
}

std::unique_ptr<PixelSource> openSource(const host::Plugin& plugin, OpenFile file, bool reduceTo8Bits) {
    if (isPng(file)) return std::make_unique<PngSource>(std::move(file), reduceTo8Bits);
    if (!plugin.isFile(file.path())) {
        const std::string other = otherFileText(file.facts());
        throw FileError(other.empty() ? std::string("is neither a ") + plugin.name() + " nor a PNG file" : other);
    }
    return std::make_unique<DdsSource>(plugin, file);
}

}  // namespace kpx::tool
