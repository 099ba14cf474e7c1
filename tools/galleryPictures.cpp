#include "tools/galleryPictures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tools/ExposedSource.h"
#include "tools/PngFile.h"
#include "tools/RowPacker.h"
#include "tools/base64.h"
#include "tools/channelUse.h"
#include "tools/thumbnailPicture.h"

namespace kpx::tool {
namespace {

constexpr int thumbnailSize = 320;

// A file in memory, for libpng to write to.
class MemoryFile {
public:
    MemoryFile() : m_stream(open_memstream(&m_bytes, &m_size)) {}
    ~MemoryFile() { std::free(m_bytes); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // To be closed by the taker; the bytes are whole then.
    [[nodiscard]] FILE* stream() const { return m_stream; }
    [[nodiscard]] std::span<const unsigned char> bytes() const {
        return {reinterpret_cast<const unsigned char*>(m_bytes), m_size};
    }

private:
    char* m_bytes = nullptr;
    size_t m_size = 0;
    FILE* m_stream;
};

// A PNG of so many channels, with the pixels of each row in turn.
template <typename NextRow>
std::string pngUri(const ImageLayout& layout, size_t channels, NextRow nextRow) {
    const MemoryFile file;
    PngFile png(file.stream(), layout, channels, false);
    for (int y = 0; y < layout.height; ++y) png.writeRow(nextRow());
    png.finish();
    std::string uri = "data:image/png;base64,";
    appendBase64(uri, file.bytes());
    return uri;
}

class Pictures {
public:
    Pictures(DdsSource& source, double exposure) : m_source(source), m_exposure(exposure) {}

    [[nodiscard]] SmallPicture thumbnail() const {
        ExposedSource bytes = fromTheTop();
        return smallPicture(bytes, thumbnailSize);
    }

    // The channels of a use as a PNG.
    [[nodiscard]] std::string uri(std::string_view use) const {
        ExposedSource bytes = fromTheTop();
        RowPacker packer(bytes.layout(), use);
        return pngUri(bytes.layout(), use.size(), [&] { return packer.pack(bytes.nextRow()); });
    }

    [[nodiscard]] bool isOpaque(std::string_view alphaUse) const {
        ExposedSource bytes = fromTheTop();
        RowPacker packer(bytes.layout(), alphaUse);
        for (int y = 0; y < bytes.layout().height; ++y) {
            const std::span row(packer.pack(bytes.nextRow()), static_cast<size_t>(bytes.layout().width));
            if (std::any_of(row.begin(), row.end(), [](unsigned char alpha) { return alpha != 255; })) return false;
        }
        return true;
    }

private:
    [[nodiscard]] ExposedSource fromTheTop() const {
        m_source.rewind();
        return {m_source, m_exposure};
    }

    DdsSource& m_source;
    double m_exposure;
};

std::string thumbnailUri(const SmallPicture& picture) {
    const ImageLayout layout{picture.width, picture.height, 3, 1, false};
    const unsigned char* row = picture.pixels.data();
    const auto nextRow = [&] {
        const unsigned char* pixels = row;
        row += static_cast<size_t>(layout.width) * 4;
        return pixels;
    };
    return pngUri(layout, 4, nextRow);
}

}  // namespace

GalleryPictures galleryPictures(DdsSource& source, std::optional<double> exposure) {
    if (!source.layout().isFloat) {
        exposure.reset();
    } else if (!exposure) {
        source.rewind();
        exposure = fittingExposure(source);
    }
    const Pictures pictures(source, exposure.value_or(0.0));
    // RGB or RGBA: alpha alone has black for a colour here.
    const std::string_view use = channelUse(source.layout()).dds;
    const bool isGrey = use[0] == use[1] && use[1] == use[2];
    const std::string_view alphaUse = use.substr(3);
    const SmallPicture thumbnail = pictures.thumbnail();
    return {thumbnailUri(thumbnail),
            thumbnail.width,
            thumbnail.height,
            pictures.uri(use.substr(0, isGrey ? 1 : 3)),
            alphaUse.empty() || pictures.isOpaque(alphaUse) ? "" : pictures.uri(alphaUse),
            exposure};
}

}  // namespace kpx::tool
