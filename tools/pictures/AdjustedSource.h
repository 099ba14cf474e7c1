// An image as it is to be written where that is not as it was read: without alpha, or with a blue channel worked out.
#pragma once

#include <memory>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

enum class Opaque { no, whereUnused, all };

struct Adjustments {
    bool normalZ = false;        // blue of a two-channel normal map from red and green
    Opaque opaque = Opaque::no;  // no alpha: of formats that leave it without meaning, or of every image
};

// The source itself where nothing is to be adjusted. Throws FileError where the image is not such that it could be.
std::unique_ptr<PixelSource> adjusted(std::unique_ptr<PixelSource> source, const Adjustments& adjustments);

}  // namespace kpx::tool
