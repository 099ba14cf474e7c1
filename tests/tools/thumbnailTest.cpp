// Small pictures of pictures given as numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tools/pictures/thumbnailPicture.h"

namespace {

using namespace kpx::tool;
using Pixels = std::vector<unsigned char>;

// A picture of interleaved values, bytes or floats.
template <typename Value>
class NumberSource : public PixelSource {
public:
    NumberSource(ImageLayout layout, std::vector<Value> values, SourceTraits traits = {})
        : m_layout(layout), m_traits(traits), m_values(std::move(values)) {
        m_layout.isFloat = sizeof(Value) == sizeof(float);
        m_values.resize(static_cast<size_t>(layout.width) * static_cast<size_t>(layout.height) * channels());
    }

    [[nodiscard]] SourceKind kind() const override { return SourceKind::dds; }
    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    [[nodiscard]] SourceTraits traits() const override { return m_traits; }

    std::span<const unsigned char* const> nextRow() override {
        const auto width = static_cast<size_t>(m_layout.width);
        m_row.clear();
        for (size_t channel = 0; channel < channels(); ++channel) {
            for (size_t x = 0; x < width; ++x) m_row.push_back(m_values[(m_y * width + x) * channels() + channel]);
        }
        ++m_y;
        m_pointers.clear();
        for (size_t channel = 0; channel < channels(); ++channel) {
            m_pointers.push_back(reinterpret_cast<const unsigned char*>(&m_row[channel * width]));
        }
        return m_pointers;
    }

private:
    [[nodiscard]] size_t channels() const { return static_cast<size_t>(m_layout.colours + m_layout.mattes); }

    ImageLayout m_layout;
    SourceTraits m_traits;
    std::vector<Value> m_values, m_row;
    std::vector<const unsigned char*> m_pointers;
    size_t m_y = 0;
};

using ByteSource = NumberSource<unsigned char>;
using FloatSource = NumberSource<float>;

TEST(SmallPicture, FitsIntoTheSquareWithoutBeingEnlarged) {
    const struct {
        int width, height, size, smallWidth, smallHeight;
    } cases[] = {{8, 8, 4, 4, 4},           {8, 4, 4, 4, 2},  {5, 3, 4, 4, 2},   {3, 7, 4, 2, 4},
                 {1000, 1, 16, 16, 1},      {1, 50, 7, 1, 7}, {5, 3, 128, 5, 3}, {128, 128, 128, 128, 128},
                 {129, 128, 128, 128, 127}, {2, 2, 1, 1, 1}};
    for (const auto& c : cases) {
        ByteSource source({c.width, c.height, 1, 0, false}, {});
        const SmallPicture picture = smallPicture(source, c.size);
        EXPECT_EQ(picture.width, c.smallWidth) << c.width << " x " << c.height << " into " << c.size;
        EXPECT_EQ(picture.height, c.smallHeight) << c.width << " x " << c.height << " into " << c.size;
        EXPECT_EQ(picture.pixels.size(), static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * 4);
    }
}

TEST(SmallPicture, OfASmallerSourceIsTheSource) {
    Pixels all;
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<unsigned char>(value);
        all.insert(all.end(),
                   {byte, static_cast<unsigned char>(255 - value), static_cast<unsigned char>(byte ^ 90), 255});
    }
    ByteSource source({256, 1, 3, 1, false}, all);
    EXPECT_EQ(smallPicture(source, 256).pixels, all);
}

TEST(SmallPicture, PutsEverySetOfChannelsInItsPlace) {
    const struct {
        int colours, mattes;
        Pixels expected;
    } cases[] = {{0, 1, {10, 10, 10, 255}}, {1, 0, {10, 10, 10, 255}}, {1, 1, {10, 10, 10, 20}},
                 {2, 0, {10, 20, 0, 255}},  {2, 1, {10, 20, 0, 30}},   {3, 0, {10, 20, 30, 255}},
                 {3, 1, {10, 20, 30, 40}},  {4, 0, {10, 20, 30, 40}}};
    for (const auto& c : cases) {
        ByteSource source({1, 1, c.colours, c.mattes, false}, {10, 20, 30, 40});
        EXPECT_EQ(smallPicture(source, 8).pixels, c.expected) << c.colours << " colours, " << c.mattes << " mattes";
    }
}

// 188 is the byte of half the light of 255.
TEST(SmallPicture, IsTheMeanOfLightWeightedByAlpha) {
    const struct {
        const char* what;
        ImageLayout layout;
        Pixels values;
        Pixels expected;
    } cases[] = {
        {"black and white", {2, 1, 1, 0, false}, {0, 255}, {188, 188, 188, 255}},
        {"in a column", {1, 2, 1, 0, false}, {255, 0}, {188, 188, 188, 255}},
        {"what is transparent has no colour",
         {2, 1, 3, 1, false},
         {200, 100, 50, 255, 0, 255, 0, 0},
         {200, 100, 50, 128}},
        {"nothing but transparency", {2, 1, 3, 1, false}, {200, 100, 50, 0, 9, 9, 9, 0}, {0, 0, 0, 0}},
        // A third of the light is 156 (0.3333), and the middle pixel belongs to both halves.
        {"three into one", {3, 1, 1, 0, false}, {255, 0, 0}, {156, 156, 156, 255}},
    };
    for (const auto& c : cases) {
        ByteSource source(c.layout, c.values);
        EXPECT_EQ(smallPicture(source, 1).pixels, c.expected) << c.what;
    }
    ByteSource three({3, 1, 1, 0, false}, {0, 255, 0});
    EXPECT_EQ(smallPicture(three, 2).pixels, (Pixels{156, 156, 156, 255, 156, 156, 156, 255}));
}

TEST(SmallPicture, LeavesOutAlphaWithoutMeaning) {
    SourceTraits traits;
    traits.ignoresAlpha = true;
    ByteSource source({1, 1, 3, 1, false}, {10, 20, 30, 0}, traits);
    EXPECT_EQ(smallPicture(source, 8).pixels, (Pixels{10, 20, 30, 255}));
}

TEST(SmallPicture, CompressesOnlyFloatsAboveOne) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float none = std::numeric_limits<float>::quiet_NaN();
    const struct {
        const char* what;
        std::vector<float> values;
        std::vector<int> reds;
    } cases[] = {
        {"up to 1: encoded only", {0.0F, 0.5F, 1.0F, -1.0F}, {0, 188, 255, 0}},
        // With white at 4: 4 becomes 1, 1 becomes 17/32, 0.25 becomes 13/64.
        {"up to 4", {0.0F, 0.25F, 1.0F, 4.0F}, {0, 124, 193, 255}},
        {"neither number nor end", {none, infinity, 0.0F, 1.0F}, {0, 255, 0, 188}},
    };
    for (const auto& c : cases) {
        FloatSource source({4, 1, 1, 0, true}, c.values);
        const SmallPicture picture = smallPicture(source, 4);
        for (size_t i = 0; i < c.reds.size(); ++i) EXPECT_EQ(picture.pixels[i * 4], c.reds[i]) << c.what << ", " << i;
    }
}

}  // namespace
