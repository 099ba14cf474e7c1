// A picture to be encoded: texels of four floats, painted by a function of the position.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace kpx::example {

// Red, green, blue, alpha; 0 to 1, and beyond in pictures of high dynamic range.
using Texel = std::array<float, 4>;

// The texel at u (0 left to 1 right), v (0 top to 1 bottom).
using Painter = Texel (*)(float u, float v);

struct Size {
    unsigned width, height;
};

struct Picture {
    unsigned width, height;
    std::vector<Texel> texels;  // row by row, top row first

    const Texel& at(unsigned x, unsigned y) const { return texels[std::size_t{y} * width + x]; }
};

// Each texel is the mean of a few samples, so that edges are smooth.
Picture paint(Painter painter, Size size);

}  // namespace kpx::example
