// DDS output through the host's writer.
#include "host/HostError.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/channelUse.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

namespace {

// Returns the width that the file declares.
uint32_t writeThroughHost(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const std::string_view use = channelUse(layout).dds;
    host::ImageWriter writer(settings.plugin, path, {layout.width, layout.height, use.size() == 4}, settings.options);
    std::vector<unsigned char> zeros(static_cast<size_t>(layout.width));
    std::vector<unsigned char*> channels(use.size());
    for (int scanline = layout.height - 1; scanline >= 0; --scanline) {
        const auto rows = source.nextRow();
        for (size_t i = 0; i < use.size(); ++i) {
            // The interface takes no pointers to constants; plug-ins only read the rows that they write.
            channels[i] =
                use[i] == '-' ? zeros.data() : const_cast<unsigned char*>(rows[static_cast<size_t>(use[i] - '0')]);
        }
        writer.scanline(scanline, channels.data());
    }
    return writer.close();
}

}  // namespace

std::string writeDdsFile(PixelSource& source, const std::string& path, const std::string& name,
                         const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    if (layout.isFloat) throw FileError("has floating-point channels, which cannot be written as DDS: write .exr");
    uint32_t stored = 0;
    try {
        stored = writeThroughHost(source, path, settings);
    } catch (const host::HostError& error) {
        throw OutputError(withName(error.what(), path, name));
    }
    if (stored == static_cast<uint32_t>(layout.width)) return {};
    return "note: the width " + std::to_string(layout.width) + " is stored as " + std::to_string(stored);
}

void writeDds(PixelSource& source, const std::string& path, const std::string& name, const OutputSettings& settings) {
    const std::string note = writeDdsFile(source, path, name, settings);
    if (!note.empty()) tell(name, note);
}

}  // namespace kpx::tool
