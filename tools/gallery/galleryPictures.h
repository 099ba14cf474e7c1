// The pictures of one image as a page shows them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/pictures/DdsSource.h"

namespace kpx::tool {

// The largest width and height of a thumbnail.
inline constexpr int thumbnailSide = 256;

using Png = std::vector<std::uint8_t>;  // the bytes of a PNG file

struct GallerySettings {
    std::optional<double> exposure;  // of floats, in stops; none: one that fits each
    int maxSide = 512;               // larger pictures are reduced to it
};

struct GalleryPictures {
    int width, height;  // of all pictures but the thumbnail
    Png thumbnail;      // with alpha
    Png all;            // with alpha
    Png colour, alpha;  // opaque colour, and alpha as grey; empty if alpha is 255 everywhere, or there is none
    std::optional<double> exposure;  // in stops, of floats
};

// Reads the source a few times; only reduced pictures are kept in memory. Throws FileError or host::HostError.
GalleryPictures galleryPictures(DdsSource& source, const GallerySettings& settings);

// Returns a picture that fits into side x side, with its alpha; the exposure is that of floats. Throws the same.
Png smallPng(DdsSource& source, double exposure, int side);

}  // namespace kpx::tool
