// Encoders of formats that are not block-compressed.
#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>

#include "examples/encoders/encoders.h"

namespace kpx::example {
namespace {

std::uint32_t field(float value, std::uint32_t mask) {
    if (mask == 0) return 0;
    const int shift = std::countr_zero(mask);
    return unorm(value, mask >> shift) << shift;
}

// Returns the colour of a height: transparent sea, shore, grass, rock or snow.
Texel heightColour(float height) {
    constexpr struct {
        float height;
        Texel colour;
    } stops[] = {
        {0.0F, {0.0F, 0.1F, 0.5F, 0.3F}},   {0.18F, {0.2F, 0.6F, 0.9F, 0.8F}}, {0.2F, {0.9F, 0.8F, 0.5F, 1.0F}},
        {0.3F, {0.2F, 0.6F, 0.2F, 1.0F}},   {0.6F, {0.4F, 0.4F, 0.1F, 1.0F}},  {0.8F, {0.5F, 0.35F, 0.25F, 1.0F}},
        {0.81F, {0.9F, 0.9F, 0.95F, 1.0F}}, {1.0F, {1.0F, 1.0F, 1.0F, 1.0F}},
    };
    std::size_t next = 1;
    while (next + 1 < std::size(stops) && height > stops[next].height) ++next;
    const auto& [lower, from] = stops[next - 1];
    const auto& [upper, to] = stops[next];
    Texel colour{};
    const float share = (height - lower) / (upper - lower);
    for (std::size_t c = 0; c < colour.size(); ++c) colour[c] = from[c] + share * (to[c] - from[c]);
    return colour;
}

// Only the first entries of the palette are used, as many as an index can select.
Bytes paletteOf(std::uint32_t entries, std::uint32_t used) {
    Bytes bytes;
    for (std::uint32_t i = 0; i < entries; ++i) {
        const float height = static_cast<float>(std::min(i, used - 1)) / static_cast<float>(used - 1);
        for (const float value : heightColour(height)) unorm8(bytes, value);
    }
    return bytes;
}

// The low half of a byte is the left pixel; a row ends with a whole byte.
Bytes nibblePalette(const Picture& picture, std::uint32_t entries) {
    Bytes bytes = paletteOf(entries, 16);
    const auto index = [&picture](unsigned x, unsigned y) {
        return x < picture.width ? unorm(picture.at(x, y)[0], 15) : 0;
    };
    for (unsigned y = 0; y < picture.height; ++y) {
        for (unsigned x = 0; x < picture.width; x += 2) {
            appendWord(bytes, index(x, y) | index(x + 1, y) << 4, 1);
        }
    }
    return bytes;
}

// The last pixel of an odd row has no partner, but its pair is complete.
Bytes pairs(const Picture& picture, bool greenFirst) {
    Bytes bytes;
    for (unsigned y = 0; y < picture.height; ++y) {
        for (unsigned x = 0; x < picture.width; x += 2) {
            const Texel& left = picture.at(x, y);
            const Texel& right = picture.at(std::min(x + 1, picture.width - 1), y);
            const float red = (left[0] + right[0]) / 2.0F;
            const float blue = (left[2] + right[2]) / 2.0F;
            if (greenFirst) {
                for (const float value : {left[1], red, right[1], blue}) unorm8(bytes, value);
            } else {
                for (const float value : {red, left[1], blue, right[1]}) unorm8(bytes, value);
            }
        }
    }
    return bytes;
}

}  // namespace

Bytes packed(const Picture& picture, std::uint32_t bitCount, const Masks& masks) {
    Bytes bytes;
    for (const Texel& texel : picture.texels) {
        const std::uint32_t word =
            field(texel[0], masks.r) | field(texel[1], masks.g) | field(texel[2], masks.b) | field(texel[3], masks.a);
        appendWord(bytes, word, bitCount / 8);
    }
    return bytes;
}

Bytes masked(const Picture& picture, const Naming& naming) {
    return packed(picture, naming.bitCount, naming.masks);
}

Bytes palette8(const Picture& picture, const Naming& /*naming*/) {
    Bytes bytes = paletteOf(256, 256);
    for (const Texel& texel : picture.texels) unorm8(bytes, texel[0]);
    return bytes;
}

Bytes palette4(const Picture& picture, const Naming& /*naming*/) {
    return nibblePalette(picture, 16);
}

Bytes palette4Of256(const Picture& picture, const Naming& /*naming*/) {
    return nibblePalette(picture, 256);
}

Bytes pairsRGBG(const Picture& picture, const Naming& /*naming*/) {
    return pairs(picture, false);
}

Bytes pairsGRGB(const Picture& picture, const Naming& /*naming*/) {
    return pairs(picture, true);
}

// The small floats are half floats without their sign and their last bits.
Bytes r11g11b10(const Picture& picture, const Naming& /*naming*/) {
    Bytes bytes;
    for (const Texel& texel : picture.texels) {
        const auto bits = [&texel](std::size_t c) { return std::uint32_t{halfOf(std::max(texel[c], 0.0F))}; };
        appendWord(bytes, bits(0) >> 4 | (bits(1) >> 4) << 11 | (bits(2) >> 5) << 22, 4);
    }
    return bytes;
}

// value = mantissa / 512 x 2^(exponent - 15) with one exponent for all three.
Bytes r9g9b9e5(const Picture& picture, const Naming& /*naming*/) {
    constexpr float largest = 65408.0F;  // 511 / 512 x 2^16
    Bytes bytes;
    for (const Texel& texel : picture.texels) {
        const auto value = [&](std::size_t c) { return std::clamp(texel[c], 0.0F, largest); };
        const float brightest = std::max({value(0), value(1), value(2), 0x1p-16F});
        int exponent = std::ilogb(brightest) + 16;
        // A mantissa that rounds up to 512 takes the next exponent.
        if (std::lround(std::ldexp(brightest, 24 - exponent)) > 511) ++exponent;
        const auto mantissa = [&](std::size_t c) {
            return static_cast<std::uint32_t>(std::lround(std::ldexp(value(c), 24 - exponent)));
        };
        appendWord(bytes,
                   mantissa(0) | mantissa(1) << 9 | mantissa(2) << 18 | static_cast<std::uint32_t>(exponent) << 27, 4);
    }
    return bytes;
}

}  // namespace kpx::example
