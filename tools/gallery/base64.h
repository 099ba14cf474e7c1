// Base64 of RFC 4648.
#pragma once

#include <span>
#include <string>

namespace kpx::tool {

// Adds the bytes' code to a text, with padding.
void appendBase64(std::string& text, std::span<const unsigned char> bytes);

}  // namespace kpx::tool
