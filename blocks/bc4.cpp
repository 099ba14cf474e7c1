// BC4 blocks.
#include "blocks/bc4.h"

#include <algorithm>

#include "blocks/interpolatedChannel.h"

namespace kpx {

void decompressBC4Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned) {
    const InterpolatedChannel grey(block, isSigned);
    A8R8G8B8Colour palette[8];
    std::transform(grey.palette().begin(), grey.palette().end(), palette, [](std::uint8_t v) {
        return A8R8G8B8Colour{255, v, v, v};
    });
    for (unsigned t = 0; t < 16; ++t) out[t / 4 * stride + t % 4] = palette[grey.index(t)];
}

}  // namespace kpx
