// Sources over a source: rows in another order, constant rows, and rows worked out from others.
#include "tools/pictures/pickedChannels.h"

#include <cmath>
#include <cstring>
#include <string_view>
#include <vector>

#include "tools/pictures/channelUse.h"
#include "tools/pictures/values.h"

namespace kpx::tool {
namespace {

constexpr std::string_view letters = "rgba01z";

// The length that is left for the third component of a unit vector.
double thirdComponent(double x, double y) {
    return std::sqrt(std::max(0.0, 1.0 - x * x - y * y));
}

// Bytes of 0 to 255 stand for -1 to 1.
unsigned char thirdByte(unsigned char x, unsigned char y) {
    const double z = thirdComponent(x / 127.5 - 1.0, y / 127.5 - 1.0);
    return static_cast<unsigned char>(std::lround((z + 1.0) * 127.5));
}

// Passes on what the source says of itself.
class SourceOverSource : public PixelSource {
public:
    explicit SourceOverSource(std::unique_ptr<PixelSource> source)
        : m_source(std::move(source)), m_layout(m_source->layout()) {}

    [[nodiscard]] SourceKind kind() const override { return m_source->kind(); }
    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    [[nodiscard]] SourceTraits traits() const override { return m_source->traits(); }
    [[nodiscard]] bool isBlack() const override { return m_source->isBlack(); }
    [[nodiscard]] bool isWhole() const override { return m_source->isWhole(); }
    void rewind() override { m_source->rewind(); }

protected:
    std::unique_ptr<PixelSource> m_source;
    ImageLayout m_layout;
};

class Swizzled : public SourceOverSource {
public:
    Swizzled(std::unique_ptr<PixelSource> source, std::string swizzle)
        : SourceOverSource(std::move(source)),
          m_pick(channelUse(m_layout).dds),
          m_letters(std::move(swizzle)),
          m_rows(m_letters.size()) {
        const std::size_t count = m_letters.size();
        m_layout.colours = count > 2 ? 3 : 1;
        m_layout.mattes = count % 2 == 0 ? 1 : 0;
        const auto width = static_cast<std::size_t>(m_layout.width);
        const std::size_t bytes = width * (m_layout.isFloat ? sizeof(float) : 1);
        m_zeros.assign(bytes, 0);
        m_ones.assign(bytes, 255);
        constexpr float one = 1.0F;
        for (std::size_t x = 0; m_layout.isFloat && x < width; ++x)
            std::memcpy(&m_ones[x * sizeof one], &one, sizeof one);
        m_third.resize(bytes);
    }

    [[nodiscard]] SourceTraits traits() const override {
        SourceTraits traits = m_source->traits();
        traits.lacksBlue = traits.ignoresAlpha = traits.isRed = false;
        return traits;
    }

    std::span<const unsigned char* const> nextRow() override {
        const auto rows = m_source->nextRow();
        for (std::size_t i = 0; i < m_rows.size(); ++i) m_rows[i] = rowOf(m_letters[i], rows);
        if (m_letters.find('z') != std::string::npos) workOutThird(m_rows[0], m_rows[1]);
        return m_rows;
    }

private:
    [[nodiscard]] const unsigned char* rowOf(char letter, std::span<const unsigned char* const> rows) const {
        if (letter == 'z') return m_third.data();
        if (letter == '0') return m_zeros.data();
        const std::size_t channel = letters.find(letter);
        if (letter == '1' || channel >= m_pick.count) return m_ones.data();
        const std::int8_t row = m_pick.rows[channel];
        return row == Pick::zero ? m_zeros.data() : rows[static_cast<std::size_t>(row)];
    }

    void workOutThird(const unsigned char* x, const unsigned char* y) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(m_layout.width); ++i) {
            if (m_layout.isFloat) {
                const auto z = static_cast<float>(thirdComponent(floatAt(x, i), floatAt(y, i)));
                std::memcpy(&m_third[i * sizeof z], &z, sizeof z);
            } else {
                m_third[i] = thirdByte(x[i], y[i]);
            }
        }
    }

    Pick m_pick;  // the source's red, green, blue and alpha
    std::string m_letters;
    std::vector<const unsigned char*> m_rows;
    std::vector<unsigned char> m_zeros, m_ones, m_third;
};

class WithoutAlpha : public SourceOverSource {
public:
    explicit WithoutAlpha(std::unique_ptr<PixelSource> source) : SourceOverSource(std::move(source)) {
        m_layout.mattes = 0;
    }

    std::span<const unsigned char* const> nextRow() override {
        return m_source->nextRow().first(static_cast<std::size_t>(m_layout.colours));
    }
};

class AsFloats : public SourceOverSource {
public:
    explicit AsFloats(std::unique_ptr<PixelSource> source) : SourceOverSource(std::move(source)) {
        m_layout.isFloat = true;
        const auto channels = static_cast<std::size_t>(m_layout.colours) + static_cast<std::size_t>(m_layout.mattes);
        m_values.assign(channels, std::vector<float>(static_cast<std::size_t>(m_layout.width)));
        for (const auto& values : m_values) m_rows.push_back(reinterpret_cast<const unsigned char*>(values.data()));
    }

    std::span<const unsigned char* const> nextRow() override {
        const auto rows = m_source->nextRow();
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            for (std::size_t x = 0; x < m_values[i].size(); ++x)
                m_values[i][x] = static_cast<float>(rows[i][x]) / 255.0F;
        }
        return m_rows;
    }

private:
    std::vector<std::vector<float>> m_values;
    std::vector<const unsigned char*> m_rows;
};

}  // namespace

bool isSwizzle(const std::string& text) {
    const bool isOfLetters = text.find_first_not_of(letters) == std::string::npos;
    const std::size_t third = text.find('z');
    const bool isThirdGood = third == std::string::npos || (third >= 2 && third == text.rfind('z'));
    return isOfLetters && isThirdGood && !text.empty() && text.size() <= 4;
}

std::unique_ptr<PixelSource> swizzled(std::unique_ptr<PixelSource> source, const std::string& swizzle) {
    if (source->isBlack() || swizzle.empty()) return source;
    return std::make_unique<Swizzled>(std::move(source), swizzle);
}

std::unique_ptr<PixelSource> opaque(std::unique_ptr<PixelSource> source, Opaque which) {
    const bool isMeant = which == Opaque::all || (which == Opaque::whereUnused && source->traits().ignoresAlpha);
    const ImageLayout& layout = source->layout();
    if (source->isBlack() || !isMeant || layout.mattes == 0 || layout.colours == 0) return source;
    return std::make_unique<WithoutAlpha>(std::move(source));
}

std::unique_ptr<PixelSource> asFloats(std::unique_ptr<PixelSource> source) {
    if (source->layout().isFloat) return source;
    return std::make_unique<AsFloats>(std::move(source));
}

}  // namespace kpx::tool
