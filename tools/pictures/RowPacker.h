// Puts rows of byte channels, one a channel, into pixels.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "tools/pictures/channelUse.h"

namespace kpx::tool {

// Joins rows of `width` values, one a channel, to pixels. With the count known and the rows in locals, compilers make
// vectors of the loop.
template <std::size_t count, typename Value>
void joinRows(const Value* const* rows, std::size_t width, Value* to) {
    std::array<const Value*, count> channels{};
    std::copy_n(rows, count, channels.begin());
    for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t i = 0; i < count; ++i) to[count * x + i] = channels[i][x];
    }
}

template <typename Value>
void joinRows(const Value* const* rows, std::size_t count, std::size_t width, Value* to) {
    switch (count) {
        case 1:
            return joinRows<1>(rows, width, to);
        case 2:
            return joinRows<2>(rows, width, to);
        case 3:
            return joinRows<3>(rows, width, to);
        default:
            return joinRows<4>(rows, width, to);
    }
}

class RowPacker {
public:
    RowPacker(const ImageLayout& layout, const Pick& pick)
        : m_width(static_cast<std::size_t>(layout.width)),
          m_pick(pick),
          m_zeros(m_width),
          m_pixels(m_width * pick.count) {}

    // The pixels last until the next call.
    const unsigned char* pack(std::span<const unsigned char* const> rows) {
        std::array<const unsigned char*, 4> channels{};
        for (std::size_t i = 0; i < m_pick.count; ++i) {
            const std::int8_t row = m_pick.rows[i];
            channels[i] = row == Pick::zero ? m_zeros.data() : rows[static_cast<std::size_t>(row)];
        }
        if (m_pick.count == 1) return channels[0];
        joinRows(channels.data(), m_pick.count, m_width, m_pixels.data());
        return m_pixels.data();
    }

private:
    std::size_t m_width;
    Pick m_pick;
    std::vector<unsigned char> m_zeros;  // the row of Pick::zero
    std::vector<unsigned char> m_pixels;
};

}  // namespace kpx::tool
