// A PNG file is known by its signature; everything else is the plug-in's to recognise.
#include "tools/pictures/PixelSource.h"

#include <png.h>

#include <array>
#include <fstream>

#include "explain/fileFacts.h"
#include "explain/otherFile.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/PngSource.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

bool isPng(const std::string& path) {
    std::array<char, 8> start{};
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), start.size());
    return file.gcount() == start.size() &&
           png_sig_cmp(reinterpret_cast<png_const_bytep>(start.data()), 0, start.size()) == 0;
}

}  // namespace

std::unique_ptr<PixelSource> openSource(const host::Plugin& plugin, const std::string& path, bool reduceTo8Bits) {
    checkIsNoPipe(path);
    if (isPng(path)) return std::make_unique<PngSource>(path, reduceTo8Bits);
    if (!plugin.isFile(path)) {
        const std::string other = otherFileText(readFacts(path));
        throw FileError(other.empty() ? std::string("is neither a ") + plugin.name() + " nor a PNG file" : other);
    }
    return std::make_unique<DdsSource>(plugin, path);
}

}  // namespace kpx::tool
