// The characters of a text that should be UTF-8.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace kpx::tool {

// Calls visit(bytes, code) for each character. Bytes of invalid UTF-8 count as Latin-1.
template <typename Visit>
void forEachCharacter(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text[0]);
        std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 1;
        char32_t code = length == 1 ? first : first & (0x7FU >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const unsigned next = i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
            if ((next & 0xC0U) != 0x80U) length = 1;
            code = code << 6 | (next & 0x3FU);
        }
        if (length == 1) code = first;
        visit(text.substr(0, length), code);
        text.remove_prefix(length);
    }
}

// Whether a character could act on a terminal or reorder what it shows.
constexpr bool isUnsafe(char32_t code) {
    constexpr struct {
        char32_t first, last;
    } ranges[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x61C, 0x61C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const auto& range) { return range.first <= code && code <= range.last; });
}

}  // namespace kpx::tool
