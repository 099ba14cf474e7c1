// Reads and writes bit fields of a block one bit at a time. Bit i is bit i mod 8 of byte i / 8; the first bit of a
// field is its lowest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace model {

class BitReader {
public:
    explicit BitReader(std::span<const unsigned char> block, int position = 0) : m_block(block), m_position(position) {}

    int take(int count) {
        int value = 0;
        for (int i = 0; i < count; ++i, ++m_position) {
            const int byte = m_block[static_cast<std::size_t>(m_position / 8)];
            value |= (byte >> m_position % 8 & 1) << i;
        }
        return value;
    }

private:
    std::span<const unsigned char> m_block;
    int m_position;
};

// Returns the field of count bits that starts at bit first.
inline int bitsOf(std::span<const unsigned char> block, int first, int count) {
    return BitReader(block, first).take(count);
}

// Stores the low bits of a value into such a field.
inline void putBits(std::span<unsigned char> block, int first, int count, std::int64_t value) {
    for (int i = 0; i < count; ++i) {
        unsigned char& byte = block[static_cast<std::size_t>((first + i) / 8)];
        const int bit = 1 << (first + i) % 8;
        byte = static_cast<unsigned char>((value >> i & 1) != 0 ? byte | bit : byte & ~bit);
    }
}

}  // namespace model
