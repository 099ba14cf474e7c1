// PNG output of 8 bits a channel.
#include "tools/pictures/ExposedSource.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/RowPacker.h"
#include "tools/pictures/channelUse.h"

namespace kpx::tool {

std::string writePng(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const Pick pick = channelUse(layout).png;
    ExposedSource bytes(source, settings.exposure);
    RowPacker packer(layout, pick);
    PngFile file(path, layout, pick.count, bytes.traits().isSrgb, settings.pngEffort);
    for (int y = 0; y < layout.height; ++y) file.writeRow(packer.pack(bytes.nextRow()));
    file.finish();
    return {};
}

}  // namespace kpx::tool
