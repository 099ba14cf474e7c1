// Loops over pixels that the compiler turns into vector code for whichever instructions the kernel around them may
// use. Each is inlined into that kernel, and none exists by itself.
#pragma once

#include <cstddef>
#include <cstdint>

#define KPX_LOOP [[gnu::always_inline]] static inline

namespace kpx {

template <typename Unit>
KPX_LOOP void splitUnits2(const Unit* __restrict pixels, std::size_t count, Unit* __restrict row0,
                          Unit* __restrict row1) {
    for (std::size_t x = 0; x < count; ++x) {
        row0[x] = pixels[2 * x];
        row1[x] = pixels[2 * x + 1];
    }
}

template <typename Unit>
KPX_LOOP void splitUnits3(const Unit* __restrict pixels, std::size_t count, Unit* __restrict row0,
                          Unit* __restrict row1, Unit* __restrict row2) {
    for (std::size_t x = 0; x < count; ++x) {
        row0[x] = pixels[3 * x];
        row1[x] = pixels[3 * x + 1];
        row2[x] = pixels[3 * x + 2];
    }
}

// (s + 127) x 255 / 254 = t + t / 254 for t = s + 127 of 0 to 254, and t / 254 is 1 for t = 254 alone.
KPX_LOOP void unsignBytes(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = static_cast<unsigned char>(bytes[i] + 127);
        bytes[i] = static_cast<unsigned char>(offset == 254 ? 255 : offset == 255 ? 0 : offset);
    }
}

}  // namespace kpx
