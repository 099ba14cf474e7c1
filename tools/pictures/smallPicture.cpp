// Sums of linear light over the areas of pixels.
#include "tools/pictures/smallPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "tools/pictures/adjustedSource.h"
#include "tools/pictures/values.h"

namespace kpx::tool {
namespace {

using Light = std::array<double, 4>;  // linear red, green and blue multiplied by alpha, and alpha

void add(Light& sum, const Light& light, double weight) {
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += light[i] * weight;
}

std::array<double, 256> linearValues() {
    std::array<double, 256> values{};
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = srgbDecoded(static_cast<double>(i) / 255.0);
    return values;
}

// Calls add(pixel, steps) for the one or two pixels of the small picture that pixel i of the source lies in. Lengths
// are whole numbers of steps: a pixel of the source is `to` steps long, one of the small picture `from`.
template <typename Add>
void share(std::int64_t i, std::int64_t from, std::int64_t to, Add add) {
    const std::int64_t start = i * to, end = start + to;
    const std::int64_t pixel = start / from;
    const std::int64_t boundary = std::min((pixel + 1) * from, end);
    add(static_cast<std::size_t>(pixel), static_cast<double>(boundary - start));
    if (end > boundary) add(static_cast<std::size_t>(pixel + 1), static_cast<double>(end - boundary));
}

int scaled(int side, int longerSide, int size) {
    if (longerSide <= size) return side;
    return std::max(1, static_cast<int>(std::lround(static_cast<double>(side) * size / longerSide)));
}

}  // namespace

std::unique_ptr<PixelSource> asShown(std::unique_ptr<PixelSource> source, double stops) {
    const char* channels = source->layout().colours == 0 ? "aaa1" : source->traits().ignoresAlpha ? "rgb1" : "rgba";
    return swizzled(asBytes(std::move(source), stops), channels);
}

SmallPicture smallPicture(PixelSource& source, int size) {
    static const std::array<double, 256> linear = linearValues();
    const ImageLayout& layout = source.layout();
    const int longerSide = std::max(layout.width, layout.height);
    SmallPicture picture{scaled(layout.width, longerSide, size), scaled(layout.height, longerSide, size), {}};
    const auto width = static_cast<std::size_t>(picture.width);
    std::vector<Light> sums(width * static_cast<std::size_t>(picture.height)), row(width);
    for (int y = 0; y < layout.height; ++y) {
        std::fill(row.begin(), row.end(), Light{});
        const auto rows = source.nextRow();
        for (int x = 0; x < layout.width; ++x) {
            const double alpha = rows[3][x] / 255.0;
            const Light light{linear[rows[0][x]] * alpha, linear[rows[1][x]] * alpha, linear[rows[2][x]] * alpha,
                              alpha};
            share(x, layout.width, picture.width,
                  [&](std::size_t pixel, double steps) { add(row[pixel], light, steps); });
        }
        share(y, layout.height, picture.height, [&](std::size_t pixel, double steps) {
            for (std::size_t x = 0; x < width; ++x) add(sums[pixel * width + x], row[x], steps);
        });
    }
    source.rewind();
    const double area = static_cast<double>(layout.width) * layout.height;
    picture.pixels.reserve(sums.size() * 4);
    for (const Light& sum : sums) {
        for (std::size_t i = 0; i < 3; ++i)
            picture.pixels.push_back(toByte(srgbEncoded(sum[3] > 0.0 ? sum[i] / sum[3] : 0.0)));
        picture.pixels.push_back(toByte(sum[3] / area));
    }
    return picture;
}

}  // namespace kpx::tool
