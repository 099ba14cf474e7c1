// BC4 and BC5 blocks. The 3-bit index of texel t stands at bit 16 + 3t of each 8-byte half.
#include "blocks/bc4bc5.h"

#include <algorithm>

#include "blocks/alphaPalette.h"
#include "blocks/littleEndian.h"

namespace kpx {
namespace {

// One single-channel block, ready to give its texels.
class Channel {
public:
    Channel(const unsigned char* block, bool isSigned)
        : m_palette(isSigned ? signedPalette(block[0], block[1])
                             : unsignedPalette(block[0], block[1], block[0] > block[1])),
          m_indices(load64(block) >> 16) {}

    const AlphaPalette& palette() const { return m_palette; }
    std::size_t index(unsigned t) const { return m_indices >> (3 * t) & 7; }
    std::uint8_t texel(unsigned t) const { return m_palette[index(t)]; }

private:
    AlphaPalette m_palette;
    std::uint64_t m_indices;
};

}  // namespace

void decompressBC4Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned) {
    const Channel grey(block, isSigned);
    A8R8G8B8Colour palette[8];
    std::transform(grey.palette().begin(), grey.palette().end(), palette, [](std::uint8_t v) {
        return A8R8G8B8Colour{255, v, v, v};
    });
    for (unsigned t = 0; t < 16; ++t) out[t / 4 * stride + t % 4] = palette[grey.index(t)];
}

void decompressBC5Block(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride, bool isSigned) {
    const Channel red(block, isSigned);
    const Channel green(block + 8, isSigned);
    for (unsigned t = 0; t < 16; ++t) out[t / 4 * stride + t % 4] = {255, red.texel(t), green.texel(t), 0};
}

}  // namespace kpx
