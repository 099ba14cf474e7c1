// Names are quoted for any POSIX shell.
#include "tools/gallery/helpingCommand.h"

#include <glib.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "explain/text.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

bool isShowable(const std::string& text) {
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != 0 &&
           std::none_of(text.begin(), text.end(), isControl);
}

std::string shellWord(const std::string& text) {
    constexpr const char* plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./,:@%+";
    if (text.find_first_not_of(plain) == std::string::npos) return text;
    const std::unique_ptr<char, void (*)(void*)> quoted(g_shell_quote(text.c_str()), g_free);
    return quoted.get();
}

std::string freeName(const fs::path& input, const char* mark) {
    for (int number = 1;; ++number) {
        fs::path name = input;
        const std::string ending = number == 1 ? mark : textOf(mark, "-", number);
        name.replace_filename(input.stem().string() + ending + input.extension().string());
        std::error_code error;
        if (!fs::exists(fs::symlink_status(name, error))) return name.string();
    }
}

}  // namespace

std::string helpingCommand(const std::string& input, bool isRecoding) {
    if (!isShowable(input)) return {};
    // What starts with a dash would be taken for an option.
    const std::string file = input.starts_with('-') ? "./" + input : input;
    const std::string output = freeName(file, isRecoding ? "-recoded" : "-repaired");
    return textOf("kpximage ", isRecoding ? "recode " : "repair ", shellWord(file), " -o ", shellWord(output));
}

}  // namespace kpx::tool
