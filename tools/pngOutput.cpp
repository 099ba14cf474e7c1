// PNG output: bytes as they are, floats only with an exposure.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "tools/OutputFormat.h"
#include "tools/PngFile.h"
#include "tools/channelUse.h"
#include "tools/errors.h"

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

// Puts rows of channels into pixels.
class RowPacker {
public:
    RowPacker(const ImageLayout& layout, std::string_view use, double exposure)
        : m_isFloat(layout.isFloat),
          m_width(static_cast<size_t>(layout.width)),
          m_use(use),
          m_gain(std::exp2(exposure)),
          m_pixels(m_width * use.size()) {}

    const unsigned char* pack(std::span<const unsigned char* const> rows) {
        for (size_t channel = 0; channel < m_use.size(); ++channel) {
            if (m_use[channel] == '-') continue;  // stays zero
            const unsigned char* row = rows[static_cast<size_t>(m_use[channel] - '0')];
            for (size_t x = 0; x < m_width; ++x) m_pixels[x * m_use.size() + channel] = byteAt(row, x, channel);
        }
        return m_pixels.data();
    }

private:
    [[nodiscard]] unsigned char byteAt(const unsigned char* row, size_t x, size_t channel) const {
        if (!m_isFloat) return row[x];
        const double value = floatAt(row, x);
        return toByte(isAlpha(channel) ? value : srgbEncoded(value * m_gain));
    }
    // Alpha is linear and has no exposure.
    [[nodiscard]] bool isAlpha(size_t channel) const { return m_use.size() % 2 == 0 && channel + 1 == m_use.size(); }

    bool m_isFloat;
    size_t m_width;
    std::string_view m_use;
    double m_gain;
    std::vector<unsigned char> m_pixels;
};

}  // namespace

void writePng(PixelSource& source, const std::string& path, const std::string& /*name*/,
              const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    if (layout.isFloat && !settings.exposure) {
        throw FileError("has floating-point channels: write .exr, or choose the brightness of a PNG with --exposure");
    }
    const std::string_view use = channelUse(layout).png;
    RowPacker packer(layout, use, settings.exposure.value_or(0.0));
    // Floats are encoded as sRGB.
    PngFile file(path, layout, use.size(), layout.isFloat || source.traits().isSrgb);
    for (int y = 0; y < layout.height; ++y) file.writeRow(packer.pack(source.nextRow()));
    file.finish();
}

}  // namespace kpx::tool
