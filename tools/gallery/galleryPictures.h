// The pictures of one image as a page holds them: PNG files in data URIs.
#pragma once

#include <optional>
#include <string>

#include "tools/pictures/DdsSource.h"

namespace kpx::tool {

// The largest width and height of a thumbnail.
inline constexpr int thumbnailSize = 320;

struct GalleryPictures {
    std::string thumbnail;  // with its alpha
    int thumbnailWidth, thumbnailHeight;
    int width, height;  // of colour and alpha
    // Colour is opaque, as a browser loses the colours of transparent pixels.
    std::string colour;
    std::string alpha;               // as grey; empty where it is 255 everywhere, or there is none
    std::optional<double> exposure;  // in stops, of floats
};

struct GallerySettings {
    std::optional<double> exposure;  // of floats, in stops; none: one that fits
    std::optional<int> maxSide;      // larger pictures are reduced to it; none: full size
};

// Reads the source several times; only compressed pictures are kept in memory. Throws FileError or host::HostError.
GalleryPictures galleryPictures(DdsSource& source, const GallerySettings& settings);

}  // namespace kpx::tool
