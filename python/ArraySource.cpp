// Arrays may have any strides: rows of channels are made of them value by value.
#include "python/ArraySource.h"

#include <algorithm>
#include <limits>

#include "tools/pictures/channelUse.h"
#include "tools/terminal/errors.h"

namespace kpx::python {
namespace {

// Red alone is written as grey, as other one-colour pictures are.
std::string withGrey(std::string names) {
    if (names.find_first_of("YGB") == names.npos) std::replace(names.begin(), names.end(), 'R', 'Y');
    return names;
}

int sideOf(std::ptrdiff_t count) {
    if (count > std::numeric_limits<int>::max()) throw tool::UsageError("array is too large for a DDS file");
    return static_cast<int>(count);
}

}  // namespace

ArraySource::ArraySource(const PixelArray& pixels, const std::string& names) : m_pixels(pixels) {
    const std::string channels = withGrey(names);
    const tool::ChannelUse* use = tool::channelUse(channels);
    if (use == nullptr) {
        throw tool::UsageError("array has the channels " + names +
                               ", which are none of Y, R, A, YA, RA, RG, RGA, RGB and RGBA");
    }
    m_layout = {sideOf(pixels.shape[1]), sideOf(pixels.shape[0]), use->colours, use->mattes, false};
    if (m_layout.width == 0 || m_layout.height == 0) {
        throw tool::UsageError("array has no pixels: it is " + std::to_string(m_layout.width) + " x " +
                               std::to_string(m_layout.height));
    }
    const auto width = static_cast<std::size_t>(m_layout.width);
    m_values.resize(width * names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        m_places.push_back(static_cast<std::ptrdiff_t>(channels.find(use->names[i])));
        m_rows.push_back(m_values.data() + i * width);
    }
}

std::span<const unsigned char* const> ArraySource::nextRow() {
    unsigned char* to = m_values.data();
    for (const std::ptrdiff_t place : m_places) {
        const unsigned char* from = m_pixels.values + place * m_pixels.strides[2];
        for (int x = 0; x < m_layout.width; ++x) *to++ = from[x * m_pixels.strides[1]];
    }
    m_pixels.values += m_pixels.strides[0];
    return m_rows;
}

}  // namespace kpx::python
