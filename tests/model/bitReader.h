// Reads the bits of a block one at a time: bit i is bit i mod 8 of byte i / 8, the first bit of a field its lowest.
#pragma once

#include <cstddef>
#include <span>

namespace model {

class BitReader {
public:
    explicit BitReader(std::span<const unsigned char> block, int position = 0) : m_block(block), m_position(position) {}

    int take(int count) {
        int value = 0;
        for (int i = 0; i < count; ++i) value |= takeBit() << i;
        return value;
    }

private:
    int takeBit() {
        const int byte = m_block[static_cast<std::size_t>(m_position / 8)];
        const int bit = (byte >> (m_position % 8)) & 1;
        ++m_position;
        return bit;
    }

    std::span<const unsigned char> m_block;
    int m_position;
};

// The field of count bits that starts at bit first.
inline int bitsOf(std::span<const unsigned char> block, int first, int count) {
    return BitReader(block, first).take(count);
}

}  // namespace model
