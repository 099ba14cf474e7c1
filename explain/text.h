// Texts made of parts.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>

namespace kpx {

template <typename... Parts>
std::string textOf(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

inline std::string hex(std::uint32_t value) {
    return textOf("0x", std::hex, std::uppercase, value);
}

// "1 byte", "2 bytes".
inline std::string bytesText(std::uint64_t bytes) {
    return textOf(bytes, bytes == 1 ? " byte" : " bytes");
}

}  // namespace kpx
