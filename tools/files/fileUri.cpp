// Percent escapes, both ways.
#include "tools/files/fileUri.h"

#include <charconv>
#include <filesystem>
#include <string_view>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr std::string_view scheme = "file://";
constexpr std::string_view localHost = "localhost";
constexpr std::string_view unescaped =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,=:@/";

// The byte of two hexadecimal digits, or 0, which no path holds.
char byteOf(std::string_view digits) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    const bool isByte = digits.size() == 2 && error == std::errc() && end == digits.data() + 2;
    return isByte ? static_cast<char>(value) : '\0';
}

std::string escaped(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char c : path) {
        if (unescaped.find(c) != std::string_view::npos) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += {'%', digits[byte >> 4], digits[byte & 0xF]};
        }
    }
    return text;
}

}  // namespace

std::string pathOfFile(const std::string& pathOrUri) {
    if (!pathOrUri.starts_with(scheme)) return pathOrUri;
    std::string_view rest = std::string_view(pathOrUri).substr(scheme.size());
    if (rest.starts_with(localHost)) rest.remove_prefix(localHost.size());
    if (!rest.starts_with('/')) throw FileError("is not a file of this computer");
    std::string path;
    for (size_t i = 0; i < rest.size(); ++i) {
        char byte = rest[i];
        if (byte == '%') {
            byte = byteOf(rest.substr(i + 1, 2));
            if (byte == '\0') throw FileError("is not a URI: what follows a '%' is no byte");
            i += 2;
        }
        path += byte;
    }
    return path;
}

std::string uriOfPath(const std::string& path) {
    return std::string(scheme) + escaped(std::filesystem::absolute(path).lexically_normal().string());
}

// A name with a colon would be taken for a scheme.
std::string relativeUrl(const std::string& path) {
    return "./" + escaped(path);
}

}  // namespace kpx::tool
