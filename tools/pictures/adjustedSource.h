// Images over other images: other channels, floats as bytes, bytes as floats.
#pragma once

#include <memory>
#include <string>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// Which images lose their alpha: those whose format does not use it, or all.
enum class Opaque { no, whereUnused, all };

// Whether the text is one to four of the letters of a swizzle: r g b a 0 1 z.
bool isSwizzle(const std::string& text);

// Returns an image whose channels are those of the swizzle: one letter makes it grey, two grey and alpha, three RGB,
// four RGBA. z is the third component of the unit normal whose x and y are the first two letters. The stand-in for an
// undecodable picture stays as it is.
std::unique_ptr<PixelSource> swizzled(std::unique_ptr<PixelSource> source, const std::string& swizzle);

// Returns the image without its alpha if it has colours and is one of those meant.
std::unique_ptr<PixelSource> opaque(std::unique_ptr<PixelSource> source, Opaque which);

// Returns an image of floats: a byte n becomes n / 255.
std::unique_ptr<PixelSource> asFloats(std::unique_ptr<PixelSource> source);

// Returns an image of bytes. Colours of floats are brightened by `stops` and encoded as sRGB; values above 1 are
// clipped, NaN is 0. Alpha is linear and not brightened.
std::unique_ptr<PixelSource> asBytes(std::unique_ptr<PixelSource> source, double stops);

// Returns the exposure of an image of floats, in half stops, at which 98 % of its pixels lie below full intensity; 0 if
// that holds already and the image is at most two stops darker. Reads all rows and rewinds the source.
double fittingExposure(PixelSource& source);

}  // namespace kpx::tool
