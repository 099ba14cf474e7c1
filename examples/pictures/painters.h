// What the examples show.
#pragma once

#include "examples/pictures/Picture.h"

namespace kpx::example {

// Hues over colour bars over a grey ramp, white in the top left corner, with a soft hole in alpha on the right: every
// flip, exchange of channels and lost alpha shows.
Texel testCard(float u, float v);
// The test card without its hole.
Texel opaqueCard(float u, float v);
// The test card in greys, with its hole.
Texel greyCard(float u, float v);
// Hills: height in red, green and blue alike.
Texel heights(float u, float v);
// The hills' normals, as 0.5 + 0.5 x each component.
Texel normals(float u, float v);
// A sun of 4000 over a sea, in a sky around 1.
Texel sky(float u, float v);
// Values from -0.2 to 0.8.
Texel signedWaves(float u, float v);

}  // namespace kpx::example
