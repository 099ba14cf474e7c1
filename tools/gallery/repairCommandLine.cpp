// Words of a shell, quoted where they need it.
#include "tools/gallery/repairCommandLine.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "explain/text.h"
#include "tools/json/json.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

// Whether the text comes out of the page as it went in.
bool isPlainText(const std::string& text) {
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    if (std::any_of(text.begin(), text.end(), isControl)) return false;
    try {
        return !Json(text).dump().empty();
    } catch (const Json::type_error&) {
        return false;  // it is no UTF-8
    }
}

std::string quoted(const std::string& text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

// By octal numbers of three digits.
std::string escaped(const std::string& text) {
    std::string word = "$'";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '\'' && c != '\\') {
            word += c;
            continue;
        }
        word += '\\';
        for (const int shift : {6, 3, 0}) word += static_cast<char>('0' + (byte >> shift & 7));
    }
    return word + "'";
}

std::string shellWord(const std::string& text) {
    constexpr std::string_view unquoted = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./,:@%+";
    if (text.find_first_not_of(unquoted) == std::string::npos) return text;
    return isPlainText(text) ? quoted(text) : escaped(text);
}

std::string freeName(const fs::path& input) {
    for (int number = 1;; ++number) {
        const std::string mark = number == 1 ? "-mended" : textOf("-mended-", number);
        fs::path name = input;
        name.replace_filename(input.stem().string() + mark + input.extension().string());
        std::error_code error;
        if (!fs::exists(fs::symlink_status(name, error))) return name.string();
    }
}

}  // namespace

std::string repairCommandLine(const std::string& input, bool isConverted) {
    // What starts with a dash would be taken for an option.
    const std::string file = input.starts_with('-') ? "./" + input : input;
    return textOf("kpximage ", isConverted ? "recode " : "repair ", shellWord(file), " -o ", shellWord(freeName(file)));
}

}  // namespace kpx::tool
