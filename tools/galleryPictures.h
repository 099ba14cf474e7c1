// The pictures of one image as a page holds them: PNG files in data URIs.
#pragma once

#include <optional>
#include <string>

#include "tools/DdsSource.h"

namespace kpx::tool {

struct GalleryPictures {
    std::string thumbnail;  // with its alpha
    int thumbnailWidth, thumbnailHeight;
    // At full size. Colour is opaque, as a browser loses the colours of transparent pixels.
    std::string colour;
    std::string alpha;               // as grey; empty where it is 255 everywhere, or there is none
    std::optional<double> exposure;  // in stops, of floats
};

// Floats are shown at the exposure, or one that fits where none is given. Reads the source several times; only
// compressed pictures are kept in memory. Throws FileError or host::HostError.
GalleryPictures galleryPictures(DdsSource& source, std::optional<double> exposure);

}  // namespace kpx::tool
