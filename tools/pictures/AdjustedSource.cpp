// Sources over a source: one drops the matte, one works blue out.
#include "tools/pictures/AdjustedSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "explain/text.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// The length that is left for the third coordinate of a unit vector.
double thirdCoordinate(double x, double y) {
    return std::sqrt(std::max(0.0, 1.0 - x * x - y * y));
}

// Bytes of 0 to 255 stand for -1 to 1.
unsigned char thirdByte(unsigned char x, unsigned char y) {
    const double z = thirdCoordinate(x / 127.5 - 1.0, y / 127.5 - 1.0);
    return static_cast<unsigned char>(std::lround((z + 1.0) * 127.5));
}

float floatAt(const unsigned char* row, std::size_t x) {
    float value = 0.0F;
    std::memcpy(&value, row + x * sizeof value, sizeof value);
    return value;
}

class AdjustedSource : public PixelSource {
public:
    explicit AdjustedSource(std::unique_ptr<PixelSource> source)
        : m_source(std::move(source)), m_layout(m_source->layout()) {}

    [[nodiscard]] SourceKind kind() const override { return m_source->kind(); }
    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    [[nodiscard]] SourceTraits traits() const override { return m_source->traits(); }
    std::span<const unsigned char* const> nextRow() override;

    void dropAlpha();
    void addBlue();

private:
    void computeBlue(const unsigned char* red, const unsigned char* green);

    std::unique_ptr<PixelSource> m_source;
    ImageLayout m_layout;
    std::vector<unsigned char> m_blue;  // a row; empty where blue stays as it is
    std::vector<const unsigned char*> m_rows;
};

void AdjustedSource::dropAlpha() {
    if (m_layout.colours == 0) throw FileError("is nothing but alpha, of which --opaque=all leaves nothing");
    m_layout.mattes = 0;
}

void AdjustedSource::addBlue() {
    const bool hasOwnBlue = m_layout.colours == 3 && !traits().lacksBlue;
    if (m_layout.colours < 2 || hasOwnBlue) {
        throw FileError(textOf("has ", m_layout.colours, " colour channels", hasOwnBlue ? ", blue among them" : "",
                               "; --normal-z takes a normal map of two"));
    }
    m_layout.colours = 3;
    m_blue.resize(static_cast<std::size_t>(m_layout.width) * (m_layout.isFloat ? sizeof(float) : 1));
}

void AdjustedSource::computeBlue(const unsigned char* red, const unsigned char* green) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(m_layout.width); ++x) {
        if (m_layout.isFloat) {
            const auto z = static_cast<float>(thirdCoordinate(floatAt(red, x), floatAt(green, x)));
            std::memcpy(&m_blue[x * sizeof z], &z, sizeof z);
        } else {
            m_blue[x] = thirdByte(red[x], green[x]);
        }
    }
}

std::span<const unsigned char* const> AdjustedSource::nextRow() {
    const auto rows = m_source->nextRow();
    const auto colours = static_cast<std::size_t>(std::min(m_source->layout().colours, m_layout.colours));
    m_rows.assign(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(colours));
    if (!m_blue.empty()) {
        computeBlue(rows[0], rows[1]);
        m_rows.resize(2);
        m_rows.push_back(m_blue.data());
    }
    if (m_layout.mattes > 0) m_rows.push_back(rows.back());
    return m_rows;
}

}  // namespace

std::unique_ptr<PixelSource> adjusted(std::unique_ptr<PixelSource> source, const Adjustments& adjustments) {
    const bool isOpaque = adjustments.opaque == Opaque::all ||
                          (adjustments.opaque == Opaque::whereUnused && source->traits().ignoresAlpha);
    const bool dropsAlpha = isOpaque && source->layout().mattes > 0;
    // The picture that stands for an undecodable one is neither a normal map nor transparent.
    if (source->isBlack() || (!dropsAlpha && !adjustments.normalZ)) return source;
    auto result = std::make_unique<AdjustedSource>(std::move(source));
    if (dropsAlpha) result->dropAlpha();
    if (adjustments.normalZ) result->addBlue();
    return result;
}

}  // namespace kpx::tool
