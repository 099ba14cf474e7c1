// Compares the conversion of floats to bytes with the formula of IEC 61966-2-1.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tools/pictures/adjustedSource.h"

namespace {

using namespace kpx::tool;

int byteOf(double share) {
    return static_cast<int>(std::lround(255.0 * (share > 0.0 ? std::min(share, 1.0) : 0.0)));
}

int colourOf(double light) {
    return byteOf(light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(std::min(light, 1.0), 1 / 2.4) - 0.055);
}

// A picture of one row, with the same values as colour and alpha.
class Row : public PixelSource {
public:
    explicit Row(const std::vector<float>& values)
        : m_layout{static_cast<int>(values.size()), 1, 1, 1, true},
          m_rows(2, reinterpret_cast<const unsigned char*>(values.data())) {}
    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    std::span<const unsigned char* const> nextRow() override { return m_rows; }

private:
    ImageLayout m_layout;
    std::vector<const unsigned char*> m_rows;
};

// Returns, for each byte, the first float that becomes it, and the float before that.
template <typename Function>
void addSteps(std::vector<float>& values, Function byte) {
    for (int value = 1; value <= 255; ++value) {
        std::uint32_t low = 0, high = std::bit_cast<std::uint32_t>(INFINITY);
        while (high - low > 1) {
            const std::uint32_t middle = (low + high) / 2;
            (byte(std::bit_cast<float>(middle)) < value ? low : high) = middle;
        }
        values.insert(values.end(), {std::bit_cast<float>(low), std::bit_cast<float>(high)});
    }
}

TEST(AsBytes, MatchesTheFormulaForAllFloats) {
    for (const double stops : {0.0, -3.3, 5.5, 64.0, -64.0}) {
        std::vector<float> values;
        for (std::uint32_t upper = 0; upper <= 0xFFFF; ++upper) {
            for (const std::uint32_t lower : {0x0000U, 0x0001U, 0x9E37U, 0xFFFFU})
                values.push_back(std::bit_cast<float>(upper << 16 | lower));
        }
        const auto colour = [gain = std::exp2(stops)](double value) { return colourOf(value * gain); };
        addSteps(values, colour);
        addSteps(values, byteOf);
        const auto source = asBytes(std::make_unique<Row>(values), stops);
        const auto bytes = source->nextRow();
        for (std::size_t i = 0; i < values.size(); ++i) {
            ASSERT_EQ(bytes[0][i], colour(values[i])) << values[i] << " at " << stops;
            ASSERT_EQ(bytes[1][i], byteOf(values[i])) << values[i];
        }
    }
}

}  // namespace
