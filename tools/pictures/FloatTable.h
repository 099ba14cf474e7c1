// Functions of floats to bytes, as tables.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <memory>

namespace kpx::tool {

// A function that is 0 for what is negative or not a number and never falls, rising by no more than one step between
// two floats that differ in no more than their lower 16 bits. It is asked where it rises once; looking up takes a
// nanosecond.
class FloatTable {
public:
    template <typename Function>
    explicit FloatTable(Function function) : m_entries(std::make_unique<Entries>()) {
        const auto at = [&](std::uint32_t bits) -> std::uint8_t { return function(std::bit_cast<float>(bits)); };
        std::uint8_t below = at(0);
        for (std::uint32_t upper = 0; upper < infinity; ++upper) {
            const std::uint32_t first = upper << 16;
            const std::uint8_t above = at(first + 0x10000);
            std::uint32_t last = 0xFFFF;  // with the lower value
            if (at(first + last) != below) {
                std::uint32_t risen = last;
                for (last = 0; risen - last > 1;) {
                    const std::uint32_t middle = (last + risen) / 2;
                    (at(first + middle) == below ? last : risen) = middle;
                }
            }
            (*m_entries)[upper] = {static_cast<std::uint16_t>(last), below, at(first + 0xFFFF)};
            below = above;
        }
        // What follows infinity is not a number.
        (*m_entries)[infinity] = {0, below, 0};
    }

    [[nodiscard]] std::uint8_t operator()(float value) const {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        const Entry& entry = (*m_entries)[bits >> 16];
        return (bits & 0xFFFF) > entry.last ? entry.above : entry.below;
    }

private:
    struct Entry {
        std::uint16_t last;  // lower bits up to which the value is `below`
        std::uint8_t below, above;
    };
    using Entries = std::array<Entry, 0x10000>;
    static constexpr std::uint32_t infinity = 0x7F80;

    std::unique_ptr<Entries> m_entries;  // by the upper 16 bits
};

}  // namespace kpx::tool
