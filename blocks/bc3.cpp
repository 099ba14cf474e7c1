// BC3 blocks: the BC1 routine decodes the colour half, then each texel gets its alpha.
#include "blocks/bc3.h"

#include "blocks/bc1.h"
#include "blocks/interpolatedChannel.h"
#include "blocks/premultiplied.h"

namespace kpx {

int decompressInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                               short premultiplied) {
    decompressColourBlock(block + 8, out, stride, 0);
    // Unlike in BC4, equal endpoints select the eight-value mode.
    const ChannelPalette palette = unsignedPalette(block[0], block[1], block[0] >= block[1]);
    const std::uint64_t indices = load64(block) >> 16;
    for (unsigned t = 0; t < 16; ++t) {
        setAlpha(out[t / 4 * stride + t % 4], palette[indices >> (3 * t) & 7], premultiplied);
    }
    return 16;
}

}  // namespace kpx
