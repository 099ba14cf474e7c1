// The texel that all 8-bit block decoders write.
#pragma once

#include <cstdint>

namespace kpx {

// One decoded texel, in memory order a, r, g, b; alpha 0 is transparent, 255 opaque.
struct A8R8G8B8Colour {
    std::uint8_t a, r, g, b;

    bool operator==(const A8R8G8B8Colour&) const = default;
};
static_assert(sizeof(A8R8G8B8Colour) == 4 && alignof(A8R8G8B8Colour) == 1, "texels lie in byte buffers");

}  // namespace kpx
