// BC2 and BC3 blocks: the colour half through the BC1 routine, then the alpha of each texel.
#include "blocks/bc2bc3.h"

#include "blocks/alphaPalette.h"
#include "blocks/bc1.h"
#include "blocks/littleEndian.h"

namespace kpx {
namespace {

void setAlpha(A8R8G8B8Colour& texel, std::uint8_t alpha, short premultiplied) {
    texel.a = alpha;
    if (premultiplied == 0) return;
    texel.r = dividePremultiplied(texel.r, alpha);
    texel.g = dividePremultiplied(texel.g, alpha);
    texel.b = dividePremultiplied(texel.b, alpha);
}

}  // namespace

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

int decompressInterpAlphaBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride,
                               short premultiplied) {
    decompressColourBlock(block + 8, out, stride, 0);
    // Equal endpoints choose the eight-value mode here, unlike in BC4.
    const AlphaPalette palette = unsignedPalette(block[0], block[1], block[0] >= block[1]);
    const std::uint64_t indices = load64(block) >> 16;
    for (unsigned t = 0; t < 16; ++t) {
        setAlpha(out[t / 4 * stride + t % 4], palette[indices >> (3 * t) & 7], premultiplied);
    }
    return 16;
}

}  // namespace kpx
