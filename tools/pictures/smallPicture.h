// Small pictures of large ones, for thumbnails and galleries.
#pragma once

#include <memory>
#include <vector>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// 8-bit RGBA, the top row first; colours are sRGB and not multiplied by alpha.
struct SmallPicture {
    int width;
    int height;
    std::vector<unsigned char> pixels;  // width * height * 4
};

// Returns the image as 8-bit RGBA, as a screen shows it: floats at an exposure in stops, alpha alone as grey, alpha
// that the format does not use as 255.
std::unique_ptr<PixelSource> asShown(std::unique_ptr<PixelSource> source, double stops);

// Reduces such an image to size x size (at least 1), keeping its aspect; a smaller image keeps its size. Each pixel is
// the mean of the area that it covers, in linear light and weighted by alpha. Reads all rows and rewinds the source.
// Throws FileError or host::HostError.
SmallPicture smallPicture(PixelSource& source, int size);

}  // namespace kpx::tool
