// Loops over pixels that the compiler vectorises. Each is inlined into a kernel, with the instructions that this kernel
// may use.
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

// With t = s + 127 (0 to 254), (s + 127) x 255 / 254 = t + t / 254, where t / 254 is 1 only for t = 254.
KPX_LOOP void unsignBytes(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = static_cast<unsigned char>(bytes[i] + 127);
        bytes[i] = static_cast<unsigned char>(offset == 254 ? 255 : offset == 255 ? 0 : offset);
    }
}

}  // namespace kpx
