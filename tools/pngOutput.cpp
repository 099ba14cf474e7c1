// PNG output: bytes as they are, floats only with an exposure.
#include "tools/ExposedSource.h"
#include "tools/OutputFormat.h"
#include "tools/PngFile.h"
#include "tools/RowPacker.h"
#include "tools/channelUse.h"
#include "tools/errors.h"

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
    PngFile file(path, layout, use.size(), bytes.traits().isSrgb);
    for (int y = 0; y < layout.height; ++y) file.writeRow(packer.pack(bytes.nextRow()));
    file.finish();
}

}  // namespace kpx::tool
