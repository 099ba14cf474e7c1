// DDS output through the host's writer.
#include "explain/text.h"
#include "host/HostError.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/outputs.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

namespace {

// Plug-ins round the width up to a multiple of this.
constexpr int widthUnit = 4;

// Writes the file and returns the width in its header.
uint32_t writeThroughHost(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const Pick pick = channelUse(layout).dds;
    host::ImageWriter writer(settings.plugin, path, {layout.width, layout.height, pick.count == 4}, settings.options);
    const std::vector<unsigned char> zeros(static_cast<size_t>(layout.width));
    std::vector<unsigned char*> channels(pick.count);
    for (int scanline = layout.height - 1; scanline >= 0; --scanline) {
        const auto rows = source.nextRow();
        // The interface has no pointers to constants; plug-ins only read the rows.
        for (size_t i = 0; i < channels.size(); ++i)
            channels[i] = const_cast<unsigned char*>(pick.row(i, rows, zeros.data()));
        writer.scanline(scanline, channels.data());
    }
    return writer.close();
}

}  // namespace

std::string writeDds(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const auto width = static_cast<uint32_t>(source.layout().width);
    if (width % widthUnit != 0 && !settings.isPadded)
        throw FileError(textOf("has a width of ", width, "; DDS output requires a multiple of ", widthUnit,
                               ". --pad widens it by repeating the last column"));
    try {
        const uint32_t stored = writeThroughHost(source, path, settings);
        return stored == width ? "" : textOf("the width ", width, " is stored as ", stored);
    } catch (const host::HostError& error) {
        throw OutputError(error.what(), error.code());
    }
}

}  // namespace kpx::tool
