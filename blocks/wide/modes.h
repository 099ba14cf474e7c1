// Decodes blocks of formats with modes in an order that the processor predicts well.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "blocks/wide/lanes.h"

namespace {

// Blocks are decoded in stretches, and in each stretch mode by mode. A branch on the mode of every block would be
// mispredicted half the time.
constexpr std::size_t stretch = 64;
constexpr std::size_t cacheLine = 64;

// Decodes the blocks listed in order, all of one mode.
using ModeDecoder = void (*)(const unsigned char* blocks, const std::uint8_t* order, std::size_t count,
                             unsigned char* out, std::size_t rowBytes);

template <auto tile, std::size_t tileBytes>
KPX_TARGET void runOf(const unsigned char* blocks, const std::uint8_t* order, std::size_t count, unsigned char* out,
                      std::size_t rowBytes) {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char* const to = out + tileBytes * order[i];
        // Hardware prefetchers do not predict the order of the tiles. Prefetching the same place in the next stretch
        // makes BC6H with mixed modes a quarter faster; smaller tiles gain nothing.
        if constexpr (tileBytes == cacheLine) {
            for (std::size_t r = 0; r < 4; ++r) fetch(to + r * rowBytes + stretch * tileBytes);
        }
        tile(blocks + 16 * order[i], to, rowBytes);
    }
}

struct FileOrder {
    std::uint8_t index[stretch];
};
constexpr FileOrder fileOrder = [] {
    FileOrder order{};
    for (std::size_t i = 0; i < stretch; ++i) order.index[i] = static_cast<std::uint8_t>(i);
    return order;
}();

template <std::size_t modes, std::size_t tileBytes, typename ModeOf>
KPX_INLINE void decodeByModes(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes,
                              const ModeDecoder (&runs)[modes], ModeOf modeOf) {
    for (std::size_t n = 0; count != 0; count -= n, blocks += 16 * n, out += tileBytes * n) {
        n = std::min(count, stretch);
        std::uint8_t mode[stretch] = {};
        unsigned differences = 0;
        for (std::size_t i = 0; i < n; ++i) {
            mode[i] = modeOf(blocks[16 * i]);
            differences |= mode[i] ^ unsigned { mode[0] };
        }
        if (differences == 0) {
            runs[mode[0]](blocks, fileOrder.index, n, out, rowBytes);
            continue;
        }
        std::uint8_t order[modes][stretch];
        std::size_t counts[modes] = {};
        for (std::size_t i = 0; i < n; ++i) order[mode[i]][counts[mode[i]]++] = static_cast<std::uint8_t>(i);
        for (std::size_t m = 0; m < modes; ++m) {
            if (counts[m] != 0) runs[m](blocks, order[m], counts[m], out, rowBytes);
        }
    }
}

}  // namespace
