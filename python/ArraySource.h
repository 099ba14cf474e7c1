// A NumPy array as a picture that is written.
#pragma once

#include <pybind11/numpy.h>

#include <array>
#include <string>
#include <vector>

#include "tools/pictures/PixelSource.h"

namespace kpx::python {

class ArraySource : public tool::PixelSource {
public:
    // Of shape (height, width, channels), of bytes unless it is of floats, with a name for each channel, in any order.
    // The array must outlive the source. Throws UsageError for names that no picture has, and sizes of none.
    ArraySource(const pybind11::array& pixels, const std::string& names);

    [[nodiscard]] tool::SourceKind kind() const override { return tool::SourceKind::dds; }
    [[nodiscard]] const tool::ImageLayout& layout() const override { return m_layout; }
    std::span<const unsigned char* const> nextRow() override;

private:
    tool::ImageLayout m_layout{};
    const unsigned char* m_next;  // the first value of the next row
    std::array<pybind11::ssize_t, 3> m_strides{};
    std::vector<pybind11::ssize_t> m_places;  // of the picture's channels on the array's last axis
    std::vector<unsigned char> m_values;      // a row of each channel in turn
    std::vector<const unsigned char*> m_rows;
};

}  // namespace kpx::python
