// Three bytes become four characters.
#include "tools/gallery/base64.h"

#include <algorithm>
#include <cstdint>

namespace kpx::tool {

void appendBase64(std::string& text, std::span<const unsigned char> bytes) {
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    text.reserve(text.size() + (bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(bytes.size(), 3))) {
        const auto at = [&](std::size_t i) { return i < bytes.size() ? std::uint32_t{bytes[i]} : 0U; };
        const std::uint32_t group = at(0) << 16 | at(1) << 8 | at(2);
        text += digits[group >> 18];
        text += digits[group >> 12 & 63];
        text += bytes.size() > 1 ? digits[group >> 6 & 63] : '=';
        text += bytes.size() > 2 ? digits[group & 63] : '=';
    }
}

}  // namespace kpx::tool
