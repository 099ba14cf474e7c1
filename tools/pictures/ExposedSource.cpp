// Exposure, the encoding of sRGB, and the search for a fitting exposure.
#include "tools/pictures/ExposedSource.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace kpx::tool {
namespace {

// A share of full intensity as a byte; what is not a number counts as 0.
unsigned char toByte(double share) {
    return static_cast<unsigned char>(std::lround(255.0 * (share > 0.0 ? std::min(share, 1.0) : 0.0)));
}

// The sRGB transfer function of IEC 61966-2-1, up to full intensity.
double srgbEncoded(double linear) {
    if (linear >= 1.0) return 1.0;
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

float floatAt(const unsigned char* row, size_t x) {
    float value = 0.0F;
    std::memcpy(&value, row + x * sizeof value, sizeof value);
    return value;
}

// How many pixels have their brightest colour in which half stop.
class Histogram {
public:
    // What is black, negative or not a number is left out.
    void add(float brightest) {
        if (!(brightest > 0.0F)) return;
        const double halfStops = std::ceil(2.0 * std::log2(std::min(brightest, largest)));
        ++m_counts[static_cast<size_t>(std::max(halfStops, static_cast<double>(lowest)) - lowest)];
        ++m_total;
    }

    // The top of the half stop, counted from full intensity, below which all but a fiftieth lies.
    [[nodiscard]] int top() const {
        std::uint64_t above = 0;
        for (int halfStop = highest; halfStop > lowest; --halfStop) {
            above += m_counts[static_cast<size_t>(halfStop - lowest)];
            if (above * 50 > m_total) return halfStop;
        }
        return m_total == 0 ? 0 : lowest;
    }

private:
    static constexpr float largest = 16777216.0F;             // 2^24; infinity counts as this
    static constexpr int lowest = -2 * 24, highest = 2 * 24;  // half stops
    std::array<std::uint64_t, highest - lowest + 1> m_counts{};
    std::uint64_t m_total = 0;
};

}  // namespace

ExposedSource::ExposedSource(PixelSource& source, double exposure)
    : m_source(source), m_gain(std::exp2(exposure)), m_layout(source.layout()) {
    if (!m_layout.isFloat) return;
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
        const bool isAlpha = channel >= static_cast<size_t>(m_layout.colours);
        for (size_t x = 0; x < m_bytes[channel].size(); ++x) {
            const double value = floatAt(rows[channel], x);
            m_bytes[channel][x] = toByte(isAlpha ? value : srgbEncoded(value * m_gain));
        }
    }
    return m_rows;
}

double fittingExposure(PixelSource& source) {
    constexpr int darkest = -4;  // half stops below full intensity that need no exposure
    const ImageLayout& layout = source.layout();
    Histogram histogram;
    for (int y = 0; y < layout.height; ++y) {
        const auto rows = source.nextRow().first(static_cast<size_t>(layout.colours));
        for (size_t x = 0; x < static_cast<size_t>(layout.width); ++x) {
            float brightest = 0.0F;
            for (const unsigned char* row : rows) brightest = std::max(brightest, floatAt(row, x));
            histogram.add(brightest);
        }
    }
    const int top = histogram.top();
    return top <= 0 && top >= darkest ? 0.0 : -top / 2.0;
}

}  // namespace kpx::tool
