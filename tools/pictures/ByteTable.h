// Functions from floats to bytes, as tables.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace kpx::tool {

// Requires a function that is 0 for NaN and for x <= 0, never falls, and rises by at most 1 between two floats that
// differ in their lower 16 bits only. A lookup takes about a nanosecond.
class ByteTable {
public:
    template <typename Function>
    explicit ByteTable(Function function) {
        // The bits of positive floats are in the order of their values.
        std::uint32_t bits = 0;
        for (std::size_t byte = 1; byte <= 255; ++byte) {
            for (std::uint32_t end = infinity + 1; bits < end;) {
                const std::uint32_t middle = (bits + end) / 2;
                if (function(std::bit_cast<float>(middle)) < byte)
                    bits = middle + 1;
                else
                    end = middle;
            }
            m_first[byte] = bits;
        }
        std::uint8_t byte = 0;
        for (std::uint32_t upper = 0; upper < m_bytes.size(); ++upper) {
            while (m_first[byte + 1U] <= upper << 16) ++byte;
            m_bytes[upper] = byte;
        }
    }

    [[nodiscard]] std::uint8_t operator()(float value) const {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        if (bits > infinity) return 0;  // negative or NaN
        const std::uint8_t byte = m_bytes[bits >> 16];
        return static_cast<std::uint8_t>(byte + (bits >= m_first[byte + 1U] ? 1 : 0));
    }

private:
    static constexpr std::uint32_t infinity = 0x7F800000;

    std::array<std::uint32_t, 257> m_first = [] {  // the first float of each byte, as bits
        std::array<std::uint32_t, 257> never{};
        never.back() = UINT32_MAX;
        return never;
    }();
    std::array<std::uint8_t, (infinity >> 16) + 1> m_bytes{};  // of floats by their upper 16 bits
};

}  // namespace kpx::tool
