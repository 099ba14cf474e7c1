// A slow, obvious model of the whole reader: the picture that a file must decode to. Pixels are computed on demand, so
// memory does not depend on the size that a file declares.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace model {

enum class Result {
    refused,   // fewer than 128 bytes: no picture
    decoded,   // the file's own picture
    fallback,  // the 64 by 64 opaque black picture
};

// Channel values in output order: a byte each, or the bits of a 32-bit float.
using Pixel = std::array<std::uint32_t, 4>;

struct Picture {
    Result result = Result::refused;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint32_t channels =
        0;  // channel rows of a scanline, 1 to 4; the last is the alpha channel's, where it has one
    bool hasAlpha = false;
    int bits = 0;         // of a channel value: 8, or 32 for floats
    std::string printed;  // the message on standard output without its newline, or empty

    // Returns the pixel in column x of stored row y (0 is the top). Requires: both inside the picture. Not thread-safe.
    std::function<Pixel(std::uint64_t x, std::uint64_t y)> pixelAt;
};

// Returns the picture of a file with these bytes, which are copied.
Picture read(std::span<const unsigned char> file);

}  // namespace model
