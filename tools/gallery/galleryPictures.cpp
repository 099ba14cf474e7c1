// Pictures of a file for the page: reduced, with its alpha and apart from it.
#include "tools/gallery/galleryPictures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "tools/pictures/ExposedSource.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/thumbnailPicture.h"

namespace kpx::tool {
namespace {

// A file in memory, for libpng to write to.
class MemoryFile {
public:
    MemoryFile() : m_stream(open_memstream(&m_bytes, &m_size)) {}
    ~MemoryFile() { std::free(m_bytes); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // The caller closes the stream; the bytes are complete after that.
    [[nodiscard]] FILE* stream() const { return m_stream; }
    [[nodiscard]] std::span<const unsigned char> bytes() const {
        return {reinterpret_cast<const unsigned char*>(m_bytes), m_size};
    }

private:
    char* m_bytes = nullptr;
    size_t m_size = 0;
    FILE* m_stream;
};

SmallPicture reduced(DdsSource& source, double exposure, int side) {
    source.rewind();
    ExposedSource bytes(source, exposure);
    return smallPicture(bytes, side);
}

// So many of the channels red, green, blue and alpha, from the first.
Png pngOf(const SmallPicture& picture, size_t first, size_t channels) {
    const MemoryFile file;
    PngFile png(file.stream(), {picture.width, picture.height, 3, 1, false}, channels, false);
    std::vector<unsigned char> row(static_cast<size_t>(picture.width) * channels);
    const unsigned char* pixel = picture.pixels.data();
    for (int y = 0; y < picture.height; ++y) {
        for (auto place = row.begin(); place != row.end(); pixel += 4) {
            place = std::copy_n(pixel + first, channels, place);
        }
        png.writeRow(row.data());
    }
    png.finish();
    return {file.bytes().begin(), file.bytes().end()};
}

bool isOpaque(const SmallPicture& picture) {
    for (size_t i = 3; i < picture.pixels.size(); i += 4) {
        if (picture.pixels[i] != 255) return false;
    }
    return true;
}

}  // namespace

GalleryPictures galleryPictures(DdsSource& source, const GallerySettings& settings) {
    std::optional<double> exposure;
    if (source.layout().isFloat) {
        source.rewind();
        exposure = settings.exposure ? settings.exposure : fittingExposure(source);
    }
    const double stops = exposure.value_or(0.0);
    const SmallPicture picture = reduced(source, stops, settings.maxSide);
    GalleryPictures made{
        picture.width, picture.height, pngOf(reduced(source, stops, thumbnailSide), 0, 4), pngOf(picture, 0, 4), {}, {},
        exposure};
    if (!isOpaque(picture)) {
        made.colour = pngOf(picture, 0, 3);
        made.alpha = pngOf(picture, 3, 1);
    }
    return made;
}

Png smallPng(DdsSource& source, double exposure, int side) {
    return pngOf(reduced(source, exposure, side), 0, 4);
}

}  // namespace kpx::tool
