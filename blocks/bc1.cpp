// BC1 blocks. Endpoints are widened by x 255 / maximum and interpolated by divisions, all truncating. This is on
// purpose: neither bit replication nor rounding.
#include "blocks/bc1.h"

#include "blocks/littleEndian.h"

namespace kpx {
namespace {

A8R8G8B8Colour widen565(unsigned colour) {
    return {255, static_cast<std::uint8_t>((colour >> 11) * 255 / 31),
            static_cast<std::uint8_t>((colour >> 5 & 63) * 255 / 63),
            static_cast<std::uint8_t>((colour & 31) * 255 / 31)};
}

// Returns the opaque colour (w0 x c0 + w1 x c1) / (w0 + w1), truncated in each channel.
template <unsigned w0, unsigned w1>
A8R8G8B8Colour blend(A8R8G8B8Colour c0, A8R8G8B8Colour c1) {
    const auto channel = [](unsigned v0, unsigned v1) {
        return static_cast<std::uint8_t>((w0 * v0 + w1 * v1) / (w0 + w1));
    };
    return {255, channel(c0.r, c1.r), channel(c0.g, c1.g), channel(c0.b, c1.b)};
}

}  // namespace

int decompressColourBlock(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, short isDXT1) {
    const unsigned colour0 = load16(block);
    const unsigned colour1 = load16(block + 2);
    const A8R8G8B8Colour c0 = widen565(colour0);
    const A8R8G8B8Colour c1 = widen565(colour1);
    const bool threeColours = isDXT1 != 0 && colour0 <= colour1;
    const A8R8G8B8Colour palette[4] = {c0, c1, threeColours ? blend<1, 1>(c0, c1) : blend<2, 1>(c0, c1),
                                       threeColours ? A8R8G8B8Colour{0, 0, 0, 0} : blend<1, 2>(c0, c1)};
    for (std::size_t row = 0; row < 4; ++row, out += stride) {
        const unsigned indices = block[4 + row];
        for (unsigned column = 0; column < 4; ++column) out[column] = palette[indices >> (2 * column) & 3];
    }
    return 8;
}

}  // namespace kpx
