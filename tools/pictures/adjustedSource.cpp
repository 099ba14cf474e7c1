// One class for all adjustments; each is a function of a row.
#include "tools/pictures/adjustedSource.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numeric>
#include <string_view>
#include <vector>

#include "tools/pictures/values.h"

namespace kpx::tool {
namespace {

using Rows = std::span<const unsigned char* const>;

// A function from floats to bytes, as a table.
// Requires a function that is 0 for NaN and for x <= 0, never falls, and rises by at most 1 between two floats that
// differ in their lower 16 bits only. A lookup takes about a nanosecond.
class ByteTable {
public:
    template <typename Function>
    explicit ByteTable(Function function) {
        // The bits of positive floats are in the order of their values.
        std::uint32_t bits = 0;
        for (std::size_t byte = 1; byte <= 255; ++byte) {
            for (std::uint32_t end = infinity + 1; bits < end;) {
                const std::uint32_t middle = (bits + end) / 2;
                if (function(std::bit_cast<float>(middle)) < byte)
                    bits = middle + 1;
                else
                    end = middle;
            }
            m_first[byte] = bits;
        }
        std::uint8_t byte = 0;
        for (std::uint32_t upper = 0; upper < m_bytes.size(); ++upper) {
            while (m_first[byte + 1U] <= upper << 16) ++byte;
            m_bytes[upper] = byte;
        }
    }

    [[nodiscard]] std::uint8_t operator()(float value) const {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        if (bits > infinity) return 0;  // negative or NaN
        const std::uint8_t byte = m_bytes[bits >> 16];
        return static_cast<std::uint8_t>(byte + (bits >= m_first[byte + 1U] ? 1 : 0));
    }

private:
    static constexpr std::uint32_t infinity = 0x7F800000;

    std::array<std::uint32_t, 257> m_first = [] {  // the first float of each byte, as bits
        std::array<std::uint32_t, 257> never{};
        never.back() = UINT32_MAX;
        return never;
    }();
    std::array<std::uint8_t, (infinity >> 16) + 1> m_bytes{};  // of floats by their upper 16 bits
};

constexpr std::string_view letters = "rgba01z";

class AdjustedSource : public PixelSource {
public:
    using Adjust = std::function<Rows(Rows)>;

    AdjustedSource(std::unique_ptr<PixelSource> source, const ImageLayout& layout, const SourceTraits& traits,
                   Adjust adjust)
        : m_source(std::move(source)), m_layout(layout), m_traits(traits), m_adjust(std::move(adjust)) {}

    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    [[nodiscard]] SourceTraits traits() const override { return m_traits; }
    [[nodiscard]] bool isBlack() const override { return m_source->isBlack(); }
    [[nodiscard]] bool isWhole() const override { return m_source->isWhole(); }
    void rewind() override { m_source->rewind(); }
    Rows nextRow() override { return m_adjust(m_source->nextRow()); }

private:
    std::unique_ptr<PixelSource> m_source;
    ImageLayout m_layout;
    SourceTraits m_traits;
    Adjust m_adjust;
};

std::unique_ptr<PixelSource> adjusted(std::unique_ptr<PixelSource> source, const ImageLayout& layout,
                                      const SourceTraits& traits, AdjustedSource::Adjust adjust) {
    return std::make_unique<AdjustedSource>(std::move(source), layout, traits, std::move(adjust));
}

// Returns the third component of a unit vector.
double thirdComponent(double x, double y) {
    return std::sqrt(std::max(0.0, 1.0 - x * x - y * y));
}

void addThirdComponents(const unsigned char* x, const unsigned char* y, std::size_t width, bool isFloat,
                        unsigned char* to) {
    for (std::size_t i = 0; i < width; ++i) {
        if (isFloat)
            putFloat(to, i, static_cast<float>(thirdComponent(floatAt(x, i), floatAt(y, i))));
        else  // bytes of 0 to 255 stand for -1 to 1
            to[i] = static_cast<unsigned char>(
                std::lround((thirdComponent(x[i] / 127.5 - 1.0, y[i] / 127.5 - 1.0) + 1.0) * 127.5));
    }
}

// The rows that the letters 0, 1 and z stand for.
std::shared_ptr<ChannelRows> rowsOfLetters(const ImageLayout& layout) {
    auto rows = std::make_shared<ChannelRows>(layout, 3);
    std::fill_n(rows->row(1), layout.isFloat ? 0 : rows->width(), static_cast<unsigned char>(255));
    for (std::size_t x = 0; layout.isFloat && x < rows->width(); ++x) putFloat(rows->row(1), x, 1.0F);
    return rows;
}

}  // namespace

bool isSwizzle(const std::string& text) {
    const bool isOfLetters = text.find_first_not_of(letters) == std::string::npos;
    const std::size_t third = text.find('z');
    const bool isThirdGood = third == std::string::npos || (third >= 2 && third == text.rfind('z'));
    return isOfLetters && isThirdGood && !text.empty() && text.size() <= 4;
}

std::unique_ptr<PixelSource> swizzled(std::unique_ptr<PixelSource> source, const std::string& swizzle) {
    if (source->isBlack() || swizzle.empty()) return source;
    ImageLayout layout = source->layout();
    const Pick pick = channelUse(layout).dds;  // red, green, blue and alpha
    const std::shared_ptr<ChannelRows> own = rowsOfLetters(layout);
    layout.colours = swizzle.size() > 2 ? 3 : 1;
    layout.mattes = swizzle.size() % 2 == 0 ? 1 : 0;
    SourceTraits traits = source->traits();
    traits.ignoresAlpha = traits.isRed = false;
    std::vector<const unsigned char*> picked(swizzle.size());
    return adjusted(std::move(source), layout, traits, [=](Rows rows) mutable -> Rows {
        const unsigned char* byLetter[letters.size()] = {};
        for (std::size_t i = 0; i < 4; ++i) byLetter[i] = i < pick.count ? pick.row(i, rows, own->row(0)) : own->row(1);
        for (std::size_t i = 0; i < 3; ++i) byLetter[4 + i] = own->row(i);
        for (std::size_t i = 0; i < picked.size(); ++i) picked[i] = byLetter[letters.find(swizzle[i])];
        if (swizzle.find('z') != std::string::npos)
            addThirdComponents(picked[0], picked[1], own->width(), layout.isFloat, own->row(2));
        return picked;
    });
}

std::unique_ptr<PixelSource> opaque(std::unique_ptr<PixelSource> source, Opaque which) {
    const SourceTraits traits = source->traits();
    const bool isMeant = which == Opaque::all || (which == Opaque::whereUnused && traits.ignoresAlpha);
    ImageLayout layout = source->layout();
    if (source->isBlack() || !isMeant || layout.mattes == 0 || layout.colours == 0) return source;
    layout.mattes = 0;
    const auto colours = static_cast<std::size_t>(layout.colours);
    return adjusted(std::move(source), layout, traits, [colours](Rows rows) { return rows.first(colours); });
}

std::unique_ptr<PixelSource> asFloats(std::unique_ptr<PixelSource> source) {
    ImageLayout layout = source->layout();
    if (layout.isFloat) return source;
    layout.isFloat = true;
    const auto floats = std::make_shared<ChannelRows>(layout);
    const SourceTraits traits = source->traits();
    return adjusted(std::move(source), layout, traits, [floats](Rows rows) {
        for (std::size_t channel = 0; channel < rows.size(); ++channel) {
            for (std::size_t x = 0; x < floats->width(); ++x)
                putFloat(floats->row(channel), x, static_cast<float>(rows[channel][x]) / 255.0F);
        }
        return floats->rows();
    });
}

std::unique_ptr<PixelSource> asBytes(std::unique_ptr<PixelSource> source, double stops) {
    ImageLayout layout = source->layout();
    if (!layout.isFloat) return source;
    layout.isFloat = false;
    SourceTraits traits = source->traits();
    traits.isSrgb = true;
    const auto bytes = std::make_shared<ChannelRows>(layout);
    const ByteTable colour([gain = std::exp2(stops)](double value) { return toByte(srgbEncoded(value * gain)); });
    const ByteTable alpha(toByte);
    const auto colours = static_cast<std::size_t>(layout.colours);
    return adjusted(std::move(source), layout, traits, [=](Rows rows) {
        for (std::size_t channel = 0; channel < rows.size(); ++channel) {
            const ByteTable& byteOf = channel < colours ? colour : alpha;
            unsigned char* to = bytes->row(channel);
            for (std::size_t x = 0; x < bytes->width(); ++x) to[x] = byteOf(floatAt(rows[channel], x));
        }
        return bytes->rows();
    });
}

double fittingExposure(PixelSource& source) {
    constexpr int lowest = -48, highest = 48;                  // half stops from full intensity
    std::array<std::uint64_t, highest - lowest + 1> counts{};  // of pixels by their brightest colour
    const ImageLayout& layout = source.layout();
    std::vector<float> brightest(static_cast<std::size_t>(layout.width));
    for (int y = 0; y < layout.height; ++y) {
        const Rows rows = source.nextRow().first(static_cast<std::size_t>(layout.colours));
        std::fill(brightest.begin(), brightest.end(), 0.0F);
        for (const unsigned char* row : rows) {
            for (std::size_t x = 0; x < brightest.size(); ++x) brightest[x] = std::max(brightest[x], floatAt(row, x));
        }
        for (const double value : brightest) {
            if (value <= 0.0) continue;
            const double halfStops = std::clamp<double>(std::ceil(2.0 * std::log2(value)), lowest, highest);
            ++counts[static_cast<std::size_t>(static_cast<int>(halfStops) - lowest)];
        }
    }
    source.rewind();
    const std::uint64_t total = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    std::size_t top = counts.size() - 1;
    for (std::uint64_t above = counts[top]; top > 0 && above * 50 <= total; above += counts[top]) --top;
    const int halfStops = static_cast<int>(top) + lowest;
    return total == 0 || (halfStops <= 0 && halfStops >= -4) ? 0.0 : -halfStops / 2.0;
}

}  // namespace kpx::tool
