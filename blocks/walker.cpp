// The kernel decodes the complete tiles of a row in one strip, directly into the image. Tiles that cross an edge are
// decoded into a scratch tile, and their visible part is copied.
#include "blocks/walker.h"

#include <algorithm>
#include <cstring>

namespace kpx {
namespace {

constexpr std::size_t tileSide = 4;
constexpr std::size_t largestTexel = 16;

void decodeEdgeTile(StripKernel kernel, const unsigned char* block, unsigned char* out, std::size_t rowBytes,
                    std::size_t visibleBytes, std::size_t visibleRows, std::size_t texelBytes) {
    alignas(float) unsigned char tile[tileSide * tileSide * largestTexel];
    kernel(block, 1, tile, tileSide * texelBytes);
    for (std::size_t row = 0; row < visibleRows; ++row) {
        std::memcpy(out + row * rowBytes, tile + row * tileSide * texelBytes, visibleBytes);
    }
}

}  // namespace

void walkBlocks(StripKernel kernel, const unsigned char* blocks, std::size_t blockBytes, const BlockTarget& target) {
    if (target.width == 0 || target.height == 0) return;
    const std::size_t texelBytes = target.texelBytes;
    const std::size_t rowBytes = target.width * texelBytes;
    const std::size_t columns = (std::size_t{target.width} + 3) / 4;
    for (std::size_t y = 0; y < target.height; y += tileSide) {
        unsigned char* out = target.pixels + y * rowBytes;
        const std::size_t rows = std::min(tileSide, target.height - y);
        const std::size_t whole = rows == tileSide ? target.width / tileSide : 0;
        if (whole != 0) kernel(blocks, whole, out, rowBytes);
        for (std::size_t tile = whole; tile < columns; ++tile) {
            const std::size_t x = tile * tileSide;
            const std::size_t visible = std::min(tileSide, target.width - x);
            decodeEdgeTile(kernel, blocks + tile * blockBytes, out + x * texelBytes, rowBytes, visible * texelBytes,
                           rows, texelBytes);
        }
        blocks += columns * blockBytes;
    }
}

}  // namespace kpx
