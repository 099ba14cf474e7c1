// Texels are averaged over areas, in light and not in its encoding.
#include "tools/pictures/thumbnailPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "tools/pictures/channelUse.h"
#include "tools/pictures/values.h"

namespace kpx::tool {
namespace {

constexpr double largestHalf = 65504.0;  // brighter floats, infinity among them, count as this
constexpr int noChannel = Pick::zero;

// Linear light, the colours multiplied by alpha.
struct Light {
    double red = 0.0, green = 0.0, blue = 0.0, alpha = 0.0;

    void add(const Light& other, double weight) {
        red += other.red * weight;
        green += other.green * weight;
        blue += other.blue * weight;
        alpha += other.alpha * weight;
    }
};

// Takes pixels out of rows of channels.
class PixelReader {
public:
    PixelReader(const ImageLayout& layout, const SourceTraits& traits) : m_isFloat(layout.isFloat) {
        const Pick pick = channelUse(layout).png;
        const bool isGrey = pick.count <= 2;
        m_colours = {pick.rows[0], pick.rows[isGrey ? 0 : 1], pick.rows[isGrey ? 0 : 2]};
        if (pick.count % 2 == 0 && !traits.ignoresAlpha) m_alpha = pick.rows[pick.count - 1U];
        for (size_t i = 0; i < m_linear.size(); ++i) m_linear[i] = srgbDecoded(static_cast<double>(i) / 255.0);
    }

    [[nodiscard]] Light at(std::span<const unsigned char* const> rows, size_t x) const {
        const double alpha = m_alpha == noChannel ? 1.0 : alphaAt(rows[static_cast<size_t>(m_alpha)], x);
        const auto colour = [&](int channel) {
            return channel == noChannel ? 0.0 : colourAt(rows[static_cast<size_t>(channel)], x) * alpha;
        };
        return {colour(m_colours[0]), colour(m_colours[1]), colour(m_colours[2]), alpha};
    }

private:
    [[nodiscard]] double alphaAt(const unsigned char* row, size_t x) const {
        return m_isFloat ? limited(floatAt(row, x), 1.0) : row[x] / 255.0;
    }
    [[nodiscard]] double colourAt(const unsigned char* row, size_t x) const {
        return m_isFloat ? limited(floatAt(row, x), largestHalf) : m_linear[row[x]];
    }

    bool m_isFloat;
    std::array<int, 3> m_colours{};
    int m_alpha = noChannel;
    std::array<double, 256> m_linear{};
};

// The share of source rows or columns in those of the small picture, taken one after the other. Lengths are whole
// numbers of steps: a source pixel is `to` steps long, a pixel of the small picture `from`.
class Shares {
public:
    Shares(int from, int to) : m_from(from), m_to(to), m_left(from) {}

    // Calls add(pixel, steps) for each of the one or two small pixels that the next source pixel lies in.
    template <typename Add>
    void next(Add add) {
        const std::int64_t part = std::min(m_to, m_left);
        add(m_pixel, static_cast<double>(part));
        m_left -= part;
        if (m_left > 0) return;
        ++m_pixel;
        m_left = m_from - (m_to - part);
        if (m_to > part) add(m_pixel, static_cast<double>(m_to - part));
    }

private:
    std::int64_t m_from, m_to;
    std::size_t m_pixel = 0;
    std::int64_t m_left;  // steps of that pixel
};

// The means of the areas, row by row.
std::vector<Light> averaged(PixelSource& source, int width, int height) {
    const ImageLayout& layout = source.layout();
    const PixelReader pixels(layout, source.traits());
    const auto rowSize = static_cast<size_t>(width);
    std::vector<Light> sums(rowSize * static_cast<size_t>(height));
    std::vector<Light> row(rowSize);
    Shares ofRows(layout.height, height);
    for (int y = 0; y < layout.height; ++y) {
        std::fill(row.begin(), row.end(), Light{});
        const auto rows = source.nextRow();
        Shares ofColumns(layout.width, width);
        for (size_t x = 0; x < static_cast<size_t>(layout.width); ++x) {
            const Light light = pixels.at(rows, x);
            ofColumns.next([&](size_t pixel, double steps) { row[pixel].add(light, steps); });
        }
        ofRows.next([&](size_t pixel, double steps) {
            for (size_t x = 0; x < rowSize; ++x) sums[pixel * rowSize + x].add(row[x], steps);
        });
    }
    const double area = static_cast<double>(layout.width) * layout.height;
    for (Light& sum : sums) sum = {sum.red / area, sum.green / area, sum.blue / area, sum.alpha / area};
    return sums;
}

void divideByAlpha(Light& light) {
    if (light.alpha <= 0.0) return;
    light.red /= light.alpha;
    light.green /= light.alpha;
    light.blue /= light.alpha;
}

// Reinhard's curve with a white point: 0 stays 0, `white` becomes 1, and for a white of 1 nothing changes.
double toned(double value, double white) {
    return value * (1.0 + value / (white * white)) / (1.0 + value);
}

int scaled(int side, int longerSide, int size) {
    if (longerSide <= size) return side;
    return std::max(1, static_cast<int>(std::lround(static_cast<double>(side) * size / longerSide)));
}

}  // namespace

SmallPicture smallPicture(PixelSource& source, int size) {
    const ImageLayout& layout = source.layout();
    const int longerSide = std::max(layout.width, layout.height);
    SmallPicture picture{scaled(layout.width, longerSide, size), scaled(layout.height, longerSide, size), {}};
    std::vector<Light> lights = averaged(source, picture.width, picture.height);
    double white = 1.0;
    for (Light& light : lights) {
        divideByAlpha(light);
        white = std::max({white, light.red, light.green, light.blue});
    }
    picture.pixels.reserve(lights.size() * 4);
    for (const Light& light : lights) {
        for (const double colour : {light.red, light.green, light.blue}) {
            picture.pixels.push_back(toByte(srgbEncoded(toned(colour, white))));
        }
        picture.pixels.push_back(toByte(light.alpha));
    }
    return picture;
}

}  // namespace kpx::tool
