// BC5 blocks.
#include "blocks/bc5.h"

#include "blocks/interpolatedChannel.h"

namespace kpx {

void decompressBC5Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned) {
    const InterpolatedChannel red(block, isSigned);
    const InterpolatedChannel green(block + 8, isSigned);
    for (unsigned t = 0; t < 16; ++t) out[t / 4 * stride + t % 4] = {255, red.texel(t), green.texel(t), 0};
}

}  // namespace kpx
