// Small pictures of large ones: what thumbnails and overviews show.
#pragma once

#include <vector>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// 8-bit RGBA, the top row first; colours are sRGB and not multiplied by alpha.
struct SmallPicture {
    int width;
    int height;
    std::vector<unsigned char> pixels;  // width * height * 4
};

// Reads all rows of the source into a picture that fits into size x size (at least 1) and has the source's aspect; a
// smaller source keeps its size. Each pixel is the mean of the area that it covers, in linear light and weighted by
// alpha. Floats above 1 are compressed by a tone curve that leaves the brightest value of the picture at full
// intensity; a picture without any is only encoded as sRGB. Throws FileError or host::HostError.
SmallPicture smallPicture(PixelSource& source, int size);

}  // namespace kpx::tool
