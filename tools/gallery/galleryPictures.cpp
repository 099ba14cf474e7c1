// Pictures of a file for the page: as it is, its channels apart, reduced where asked.
#include "tools/gallery/galleryPictures.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "tools/pictures/ExposedSource.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/RowPacker.h"
#include "tools/pictures/channelUse.h"
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

// Of so many channels, with the pixels of each row in turn.
template <typename NextRow>
Png makePng(const ImageLayout& layout, size_t channels, NextRow nextRow) {
    const MemoryFile file;
    PngFile png(file.stream(), layout, channels, false);
    for (int y = 0; y < layout.height; ++y) png.writeRow(nextRow());
    png.finish();
    return {file.bytes().begin(), file.bytes().end()};
}

class Pictures {
public:
    Pictures(DdsSource& source, double exposure) : m_source(source), m_exposure(exposure) {}

    [[nodiscard]] SmallPicture reduced(int side) const {
        ExposedSource bytes = fromTheTop();
        return smallPicture(bytes, side);
    }

    [[nodiscard]] Png channels(const Pick& use) const {
        ExposedSource bytes = fromTheTop();
        RowPacker packer(bytes.layout(), use);
        return makePng(bytes.layout(), use.count, [&] { return packer.pack(bytes.nextRow()); });
    }

    [[nodiscard]] bool isOpaque(const Pick& alphaUse) const {
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

// So many of the channels red, green, blue and alpha, from the first.
Png pngOf(const SmallPicture& picture, size_t first, size_t channels) {
    const ImageLayout layout{picture.width, picture.height, 3, 1, false};
    std::vector<unsigned char> row(static_cast<size_t>(picture.width) * channels);
    const unsigned char* pixel = picture.pixels.data();
    const auto nextRow = [&] {
        for (auto place = row.begin(); place != row.end(); pixel += 4) {
            place = std::copy_n(pixel + first, channels, place);
        }
        return row.data();
    };
    return makePng(layout, channels, nextRow);
}

bool isOpaque(const SmallPicture& picture, size_t alpha) {
    for (size_t i = alpha; i < picture.pixels.size(); i += 4) {
        if (picture.pixels[i] != 255) return false;
    }
    return true;
}

}  // namespace

GalleryPictures galleryPictures(DdsSource& source, const GallerySettings& settings) {
    const ImageLayout& layout = source.layout();
    std::optional<double> exposure;
    if (layout.isFloat) {
        source.rewind();
        exposure = settings.exposure ? settings.exposure : fittingExposure(source);
    }
    const Pictures pictures(source, exposure.value_or(0.0));
    // RGB or RGBA: alpha alone has black for a colour here.
    const Pick use = channelUse(layout).dds;
    const auto& rows = use.rows;
    const std::uint8_t colours = rows[0] == rows[1] && rows[1] == rows[2] ? 1 : 3;
    const Pick alphaUse{1, {rows[3]}};
    const SmallPicture thumbnail = pictures.reduced(thumbnailSize);
    GalleryPictures made{
        pngOf(thumbnail, 0, 4), thumbnail.width, thumbnail.height, layout.width, layout.height, {}, {}, {}, exposure};
    const bool hasColours = layout.colours > 0;
    if (std::max(layout.width, layout.height) <= settings.maxSide.value_or(INT_MAX)) {
        made.colour = pictures.channels({colours, rows});
        if (use.count < 4 || pictures.isOpaque(alphaUse)) return made;
        made.alpha = pictures.channels(alphaUse);
        if (settings.hasBoth && hasColours) made.both = pictures.channels(use);
        return made;
    }
    const SmallPicture reduced = pictures.reduced(*settings.maxSide);
    made.width = reduced.width;
    made.height = reduced.height;
    made.colour = pngOf(reduced, 0, colours);
    // Where there is nothing but alpha, a small picture shows it as grey.
    const size_t alpha = hasColours ? 3 : 0;
    if (isOpaque(reduced, alpha)) return made;
    made.alpha = pngOf(reduced, alpha, 1);
    if (settings.hasBoth && hasColours) made.both = pngOf(reduced, 0, 4);
    return made;
}

Png smallPng(DdsSource& source, double exposure, int side) {
    return pngOf(Pictures(source, exposure).reduced(side), 0, 4);
}

}  // namespace kpx::tool
