// An image of floats as bytes, at an exposure.
#pragma once

#include <optional>
#include <vector>

#include "tools/pictures/FloatTable.h"
#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// Colours are brightened by so many stops and encoded as sRGB; what is brighter than full intensity is cut off, what is
// not a number is 0. Alpha is linear and has no exposure. An image of bytes stays as it is. The source must outlive
// this one.
class ExposedSource : public PixelSource {
public:
    ExposedSource(PixelSource& source, double exposure);

    [[nodiscard]] SourceKind kind() const override { return m_source.kind(); }
    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    [[nodiscard]] SourceTraits traits() const override;
    [[nodiscard]] bool isBlack() const override { return m_source.isBlack(); }
    std::span<const unsigned char* const> nextRow() override;

private:
    PixelSource& m_source;
    ImageLayout m_layout;
    std::optional<FloatTable> m_colour, m_alpha;      // bytes of values, where the source has floats
    std::vector<std::vector<unsigned char>> m_bytes;  // a row of each channel; none where the source has bytes
    std::vector<const unsigned char*> m_rows;
};

// The exposure in half stops at which all but the brightest fiftieth of an image of floats has its place below full
// intensity: 0 where that is so as it is and the image is not much darker either. Reads all rows.
double fittingExposure(PixelSource& source);

}  // namespace kpx::tool
