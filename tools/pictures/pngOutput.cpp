// PNG output: bytes as they are, floats only with an exposure.
#include "tools/pictures/ExposedSource.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/RowPacker.h"
#include "tools/pictures/channelUse.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

void writePng(PixelSource& source, const std::string& path, const std::string& /*name*/,
              const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    if (layout.isFloat && !settings.exposure) {
        throw FileError("has floating-point channels: write .exr, or choose the brightness of a PNG with --exposure");
    }
    const std::string_view use = channelUse(layout).png;
    ExposedSource bytes(source, settings.exposure.value_or(0.0));
    RowPacker packer(layout, use);
    PngFile file(path, layout, use.size(), bytes.traits().isSrgb, settings.pngEffort);
    for (int y = 0; y < layout.height; ++y) file.writeRow(packer.pack(bytes.nextRow()));
    file.finish();
}

}  // namespace kpx::tool
