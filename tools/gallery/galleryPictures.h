// The pictures of one image as a page shows them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/pictures/DdsSource.h"

namespace kpx::tool {

// The largest width and height of a thumbnail.
inline constexpr int thumbnailSize = 320;

using Png = std::vector<std::uint8_t>;  // the bytes of a PNG file

struct GalleryPictures {
    Png thumbnail;  // with its alpha
    int thumbnailWidth, thumbnailHeight;
    int width, height;  // of colour, alpha and both
    // Colour is opaque, as a browser loses the colours of transparent pixels.
    Png colour;
    Png alpha;                       // as grey; empty where it is 255 everywhere, or there is none
    Png both;                        // colour as transparent as alpha says; empty unless asked for, and as alpha is
    std::optional<double> exposure;  // in stops, of floats
};

struct GallerySettings {
    std::optional<double> exposure;  // of floats, in stops; none: one that fits
    std::optional<int> maxSide;      // larger pictures are reduced to it; none: full size
    // Whether both is made: a browser masks colour by alpha only where both stand in the page.
    bool hasBoth = false;
};

// Reads the source several times; only compressed pictures are kept in memory. Throws FileError or host::HostError.
GalleryPictures galleryPictures(DdsSource& source, const GallerySettings& settings);

// A picture that fits into side x side, with its alpha; the exposure is that of floats. Throws as the other does.
Png smallPng(DdsSource& source, double exposure, int side);

}  // namespace kpx::tool
