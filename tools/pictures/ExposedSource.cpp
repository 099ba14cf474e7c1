// Exposure, the encoding of sRGB, and the search for a fitting exposure.
#include "tools/pictures/ExposedSource.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>

#include "tools/pictures/values.h"

namespace kpx::tool {
namespace {

// How many pixels have their brightest colour in which half stop.
class Histogram {
public:
    // What is black, negative or not a number is left out.
    void add(float brightest) { ++m_counts[m_number(brightest)]; }

    // The top of the half stop, counted from full intensity, below which all but a fiftieth lies.
    [[nodiscard]] int top() const {
        const std::uint64_t total = std::accumulate(m_counts.begin() + 1, m_counts.end(), std::uint64_t{0});
        std::uint64_t above = 0;
        for (int halfStop = highest; halfStop > lowest; --halfStop) {
            above += m_counts[static_cast<size_t>(halfStop - leftOut)];
            if (above * 50 > total) return halfStop;
        }
        return total == 0 ? 0 : lowest;
    }

private:
    static constexpr float largest = 16777216.0F;             // 2^24; infinity counts as this
    static constexpr int lowest = -2 * 24, highest = 2 * 24;  // half stops
    static constexpr int leftOut = lowest - 1;

    // Half stops from what is left out, 0, on; what lies below the lowest counts as that.
    static std::uint8_t numberOf(float brightest) {
        if (!(brightest > 0.0F)) return 0;
        const double halfStops = std::ceil(2.0 * std::log2(std::min(brightest, largest)));
        return static_cast<std::uint8_t>(std::max(halfStops, static_cast<double>(lowest)) - leftOut);
    }

    FloatTable m_number{numberOf};
    std::array<std::uint64_t, 256> m_counts{};  // by that number
};

}  // namespace

ExposedSource::ExposedSource(PixelSource& source, double exposure) : m_source(source), m_layout(source.layout()) {
    if (!m_layout.isFloat) return;
    m_colour.emplace([gain = std::exp2(exposure)](double value) { return toByte(srgbEncoded(value * gain)); });
    if (m_layout.mattes > 0) m_alpha.emplace([](double value) { return toByte(value); });
    m_layout.isFloat = false;
    const int channels = m_layout.colours + m_layout.mattes;
    m_bytes.assign(static_cast<size_t>(channels), std::vector<unsigned char>(static_cast<size_t>(m_layout.width)));
    for (const auto& bytes : m_bytes) m_rows.push_back(bytes.data());
}

SourceTraits ExposedSource::traits() const {
    SourceTraits traits = m_source.traits();
    if (!m_bytes.empty()) traits.isSrgb = true;
    return traits;
}

std::span<const unsigned char* const> ExposedSource::nextRow() {
    const auto rows = m_source.nextRow();
    if (m_bytes.empty()) return rows;
    for (size_t channel = 0; channel < m_bytes.size(); ++channel) {
        const FloatTable& byteOf = *(channel < static_cast<size_t>(m_layout.colours) ? m_colour : m_alpha);
        unsigned char* bytes = m_bytes[channel].data();
        for (size_t x = 0; x < m_bytes[channel].size(); ++x) bytes[x] = byteOf(floatAt(rows[channel], x));
    }
    return m_rows;
}

double fittingExposure(PixelSource& source) {
    constexpr int darkest = -4;  // half stops below full intensity that need no exposure
    const ImageLayout& layout = source.layout();
    Histogram histogram;
    std::vector<float> brightest(static_cast<size_t>(layout.width));  // colour of each pixel of a row
    for (int y = 0; y < layout.height; ++y) {
        const auto rows = source.nextRow().first(static_cast<size_t>(layout.colours));
        std::fill(brightest.begin(), brightest.end(), 0.0F);
        for (const unsigned char* row : rows) {
            for (size_t x = 0; x < brightest.size(); ++x) brightest[x] = std::max(brightest[x], floatAt(row, x));
        }
        for (const float value : brightest) histogram.add(value);
    }
    const int top = histogram.top();
    return top <= 0 && top >= darkest ? 0.0 : -top / 2.0;
}

}  // namespace kpx::tool
