// BC2 blocks: the BC1 routine decodes the colour half, then each texel gets its alpha.
#include "blocks/bc2.h"

#include "blocks/bc1.h"
#include "blocks/littleEndian.h"
#include "blocks/premultiplied.h"

namespace kpx {

int decompressNonInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                                  short premultiplied) {
    decompressColourBlock(block + 8, out, stride, 0);
    const std::uint64_t nibbles = load64(block);
    for (unsigned t = 0; t < 16; ++t) {
        const auto alpha = static_cast<std::uint8_t>((nibbles >> (4 * t) & 15) * 17);
        setAlpha(out[t / 4 * stride + t % 4], alpha, premultiplied);
    }
    return 16;
}

}  // namespace kpx
