// What the wide kernels share besides their vector operations: constants of a lane and the sizes of tiles.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/littleEndian.h"

namespace {

using kpx::load64;

// Constants of a lane, the same in both.
struct LaneBytes {
    alignas(16) std::uint8_t byte[16];
};
struct LaneWords {
    alignas(16) std::uint16_t word[8];
};
constexpr std::uint8_t none = 0x80;  // a byte order that gives 0

constexpr std::size_t tileRowBytes = 16;

}  // namespace
