// DDS output through the host's writer.
#include "explain/text.h"
#include "host/HostError.h"
#include "tools/pictures/ExposedSource.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/channelUse.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

namespace {

// Plug-ins round widths up to a multiple of this.
constexpr int widthUnit = 4;

// Returns the width that the file declares.
uint32_t writeThroughHost(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const Pick pick = channelUse(layout).dds;
    host::ImageWriter writer(settings.plugin, path, {layout.width, layout.height, pick.count == 4}, settings.options);
    std::vector<unsigned char> zeros(static_cast<size_t>(layout.width));
    std::vector<unsigned char*> channels(pick.count);
    for (int scanline = layout.height - 1; scanline >= 0; --scanline) {
        const auto rows = source.nextRow();
        for (size_t i = 0; i < channels.size(); ++i) {
            const std::int8_t row = pick.rows[i];
            // The interface takes no pointers to constants; plug-ins only read the rows that they write.
            channels[i] =
                row == Pick::zero ? zeros.data() : const_cast<unsigned char*>(rows[static_cast<std::size_t>(row)]);
        }
        writer.scanline(scanline, channels.data());
    }
    return writer.close();
}

}  // namespace

std::string writeDds(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const auto width = static_cast<uint32_t>(source.layout().width);
    if (width % widthUnit != 0 && !settings.isPadded)
        throw FileError(textOf("has a width of ", width, ", and DDS files are written with a multiple of ", widthUnit,
                               ". --pad repeats the last column up to there"));
    ExposedSource bytes(source, settings.exposure);
    try {
        const uint32_t stored = writeThroughHost(bytes, path, settings);
        return stored == width ? "" : textOf("the width ", width, " is stored as ", stored);
    } catch (const host::HostError& error) {
        throw OutputError(error.what(), error.code());
    }
}

}  // namespace kpx::tool
