// Texts that consist of parts.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>

namespace kpx {

// Returns the parts one after the other, each as operator<< writes it.
template <typename... Parts>
std::string textOf(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

// Returns "0xFF".
inline std::string hex(std::uint32_t value) {
    return textOf("0x", std::hex, std::uppercase, value);
}

// Returns "1 byte" or "2 bytes".
inline std::string bytesText(std::uint64_t bytes) {
    return textOf(bytes, bytes == 1 ? " byte" : " bytes");
}

}  // namespace kpx
