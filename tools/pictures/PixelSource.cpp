// PNG files are recognised by their signature, all others by the plug-in.
#include "tools/pictures/PixelSource.h"

#include <png.h>

#include <array>

#include "explain/verdict.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/PngSource.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
bool isPng(const OpenFile& file) {
    std::array<unsigned char, 8> start{};
    return file.readSome(0, start) == start.size() && png_sig_cmp(start.data(), 0, start.size()) == 0;
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
