// The table of outputs, and how one is found by its extension.
#include "tools/pictures/OutputFormat.h"

#include <cctype>

namespace kpx::tool {
namespace {

constexpr OutputFormat formats[] = {
    {"png", writePng, false},
    {"exr", writeExr, true},
    {"dds", writeDds, false},
};

}  // namespace

std::span<const OutputFormat> outputFormats() {
    return formats;
}

const OutputFormat* outputFormat(std::string extension) {
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const OutputFormat& format : formats) {
        if (format.extension == extension) return &format;
    }
    return nullptr;
}

}  // namespace kpx::tool
