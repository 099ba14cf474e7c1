// Puts rows of byte channels, one a channel, into pixels.
#pragma once

#include <array>
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
        : m_width(static_cast<std::size_t>(layout.width)),
          m_use(use),
          m_zeros(m_width),
          m_pixels(m_width * use.size()) {}

    // The pixels last until the next call.
    const unsigned char* pack(std::span<const unsigned char* const> rows) {
        std::array<const unsigned char*, 4> channels{};
        for (std::size_t place = 0; place < m_use.size(); ++place) {
            channels[place] = m_use[place] == '-' ? m_zeros.data() : rows[static_cast<std::size_t>(m_use[place] - '0')];
        }
        switch (m_use.size()) {
            case 1:
                return channels[0];
            case 2:
                return pack<2>(channels);
            case 3:
                return pack<3>(channels);
            default:
                return pack<4>(channels);
        }
    }

private:
    // With the count known and the rows in locals, compilers make vectors of the loop.
    template <std::size_t count>
    const unsigned char* pack(const std::array<const unsigned char*, 4>& channels) {
        const auto [first, second, third, fourth] = channels;
        unsigned char* to = m_pixels.data();
        for (std::size_t x = 0; x < m_width; ++x) {
            to[count * x] = first[x];
            to[count * x + 1] = second[x];
            if constexpr (count > 2) to[count * x + 2] = third[x];
            if constexpr (count > 3) to[count * x + 3] = fourth[x];
        }
        return to;
    }

    std::size_t m_width;
    std::string_view m_use;
    std::vector<unsigned char> m_zeros;  // the row of '-'
    std::vector<unsigned char> m_pixels;
};

}  // namespace kpx::tool
