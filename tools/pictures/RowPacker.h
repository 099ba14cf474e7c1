// Puts rows of byte channels, one a channel, into pixels.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

class RowPacker {
public:
    // The pixel's byte in place i is the image's channel `digit`, or zero for '-'. `use` must outlive the packer.
    RowPacker(const ImageLayout& layout, std::string_view use)
        : m_width(static_cast<std::size_t>(layout.width)), m_use(use), m_pixels(m_width * use.size()) {}

    // The pixels last until the next call.
    const unsigned char* pack(std::span<const unsigned char* const> rows) {
        for (std::size_t place = 0; place < m_use.size(); ++place) {
            if (m_use[place] == '-') continue;
            const unsigned char* row = rows[static_cast<std::size_t>(m_use[place] - '0')];
            for (std::size_t x = 0; x < m_width; ++x) m_pixels[x * m_use.size() + place] = row[x];
        }
        return m_pixels.data();
    }

private:
    std::size_t m_width;
    std::string_view m_use;
    std::vector<unsigned char> m_pixels;
};

}  // namespace kpx::tool
