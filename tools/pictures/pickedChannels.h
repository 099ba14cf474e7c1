// An image with other channels than its file has.
#pragma once

#include <memory>
#include <string>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// Of which images the alpha is dropped: of formats that leave it without meaning, or of all.
enum class Opaque { no, whereUnused, all };

// Whether the text is one to four of the letters of a swizzle: r g b a 0 1 z.
bool isSwizzle(const std::string& text);

// Returns an image whose channels are those of the swizzle: one letter makes it grey, two grey and alpha, three RGB,
// four RGBA. z is the third component of the unit normal whose x and y are the first two letters. The stand-in for an
// undecodable picture stays as it is.
std::unique_ptr<PixelSource> swizzled(std::unique_ptr<PixelSource> source, const std::string& swizzle);

// Returns the image without its alpha, if it has colours and is one of those meant.
std::unique_ptr<PixelSource> opaque(std::unique_ptr<PixelSource> source, Opaque which);

// Returns an image of floats: a byte n becomes n / 255.
std::unique_ptr<PixelSource> asFloats(std::unique_ptr<PixelSource> source);

}  // namespace kpx::tool
