// An array in memory as a picture that is written.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "tools/pictures/PixelSource.h"

namespace kpx::python {

// Bytes along the axes height, width and channels. The strides are in bytes, of any sign.
struct PixelArray {
    const unsigned char* values;  // where the first pixel is
    std::array<std::ptrdiff_t, 3> shape, strides;
};

class ArraySource : public tool::PixelSource {
public:
    // With a letter for each channel, in any order. What the array is of must outlive the source. Throws UsageError for
    // names that no picture has, and for sizes of none.
    ArraySource(const PixelArray& pixels, const std::string& names);

    [[nodiscard]] tool::SourceKind kind() const override { return tool::SourceKind::dds; }
    [[nodiscard]] const tool::ImageLayout& layout() const override { return m_layout; }
    std::span<const unsigned char* const> nextRow() override;

private:
    tool::ImageLayout m_layout{};
    PixelArray m_pixels;                   // from the next row on
    std::vector<std::ptrdiff_t> m_places;  // of the picture's channels on the array's last axis
    std::vector<unsigned char> m_values;   // a row of each channel in turn
    std::vector<const unsigned char*> m_rows;
};

}  // namespace kpx::python
