// Shared by the wide kernels: lane constants, tile sizes, gathering of fields, widening of half floats.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/littleEndian.h"
#include "blocks/wide/vectors.h"

namespace {

using kpx::load64;
using kpx::zeroByte;

// Constants of a lane, the same in both.
struct LaneBytes {
    alignas(16) std::uint8_t byte[16];
};
struct LaneWords {
    alignas(16) std::uint16_t word[8];
};

constexpr std::size_t tileRowBytes = 16;

// Returns the fields of each lane, one per word.
KPX_INLINE Wide gather(Wide lanes, const kpx::FieldGather& fields) {
    return mulLow16(shuffle8(lanes, load(&fields.bytes)), load(&fields.lift));
}

// Widens half floats, one per 32-bit word; exponent 31 is an ordinary exponent. Magnitudes below 0x400 are subnormal:
// multiples of 2^-24.
KPX_INLINE Wide widenHalfs(Wide words) {
    const Wide magnitude = words & spread32(0x7FFF);
    const Wide sign = shiftLeft32<16>(words & spread32(0x8000));
    const Wide normal = add32(shiftLeft32<13>(magnitude), spread32(112 << 23));
    const Wide subnormal = greater32(spread32(0x400), magnitude);
    return choose(normal, scaledFloats(magnitude, 0x1p-24F), subnormal) | sign;
}

// Stores the half floats of lane 0 as floats to one place, those of lane 1 to another. If all are finite in IEEE 754,
// the processor's own conversion may widen them.
template <bool finite>
KPX_INLINE void storeAsFloats(unsigned char* to0, unsigned char* to1, Wide halfs) {
    if constexpr (finite && hasHalfConversion) {
        storeFiniteHalfs(to0, to1, halfs);
    } else {
        storeLanes(to0, to1, widenHalfs(unpackLow16(halfs, zero())));
        storeLanes(to0 + 16, to1 + 16, widenHalfs(unpackHigh16(halfs, zero())));
    }
}

}  // namespace
