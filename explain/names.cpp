// Looks names up in the table of formats and in a table of the flags.
#include "explain/names.h"

#include <span>

#include "dds/ddsFile.h"
#include "explain/text.h"

namespace kpx {
namespace {

struct FlagName {
    std::uint32_t flag;
    const char* name;
};

constexpr FlagName headerFlags[] = {
    {DDSD_CAPS, "DDSD_CAPS"},
    {DDSD_HEIGHT, "DDSD_HEIGHT"},
    {DDSD_WIDTH, "DDSD_WIDTH"},
    {DDSD_PITCH, "DDSD_PITCH"},
    {DDSD_PIXELFORMAT, "DDSD_PIXELFORMAT"},
    {DDSD_MIPMAPCOUNT, "DDSD_MIPMAPCOUNT"},
    {DDSD_LINEARSIZE, "DDSD_LINEARSIZE"},
    {DDSD_DEPTH, "DDSD_DEPTH"},
};

constexpr FlagName pixelFormatFlags[] = {
    {DDPF_ALPHAPIXELS, "DDPF_ALPHAPIXELS"},
    {DDPF_ALPHA, "DDPF_ALPHA"},
    {DDPF_FOURCC, "DDPF_FOURCC"},
    {DDPF_PALETTEINDEXED4, "DDPF_PALETTEINDEXED4"},
    {DDPF_PALETTEINDEXEDTO8, "DDPF_PALETTEINDEXEDTO8"},
    {DDPF_PALETTEINDEXED8, "DDPF_PALETTEINDEXED8"},
    {DDPF_RGB, "DDPF_RGB"},
    {DDPF_YUV, "DDPF_YUV"},
    {DDPF_ZBUFFER, "DDPF_ZBUFFER"},
    {DDPF_ALPHAPREMULT, "DDPF_ALPHAPREMULT"},
    {DDPF_LUMINANCE, "DDPF_LUMINANCE"},
    {DDPF_BUMPLUMINANCE, "DDPF_BUMPLUMINANCE"},
    {DDPF_BUMPDUDV, "DDPF_BUMPDUDV"},
    {DDPF_NORMAL, "DDPF_NORMAL"},
};

std::string flagText(std::span<const FlagName> names, std::uint32_t flags) {
    std::string text = hex(flags);
    for (const FlagName& row : names) {
        if ((flags & row.flag) != 0) text += textOf(" ", row.name);
    }
    return text;
}

}  // namespace

std::string codeText(std::uint32_t code) {
    if (code <= 0xFFFF) return std::to_string(code);
    std::string text = "\"";
    for (int shift = 0; shift < 32; shift += 8) {
        const auto character = static_cast<unsigned char>(code >> shift);
        if (std::isprint(character) == 0) return hex(code);
        text += static_cast<char>(character);
    }
    return text + "\"";
}

std::string namedCode(std::uint32_t code) {
    const Format* known = code <= 0xFFFF ? findUndecodedCode(code) : nullptr;
    // Four characters are their own name.
    return known == nullptr ? codeText(code) : textOf(code, " ", known->name);
}

std::string dxgiText(std::uint32_t dxgiFormat) {
    const Format* decoded = findDxgi(dxgiFormat);
    const Format* row = decoded != nullptr ? decoded : findUndecodedDxgi(dxgiFormat);
    return row == nullptr ? std::to_string(dxgiFormat) : textOf(dxgiFormat, " ", row->name);
}

std::string formatText(const Format& format) {
    switch (format.namedBy) {
        case NamedBy::code:
            // A four-character code is its own name.
            return "code " + codeText(format.id) + (format.id <= 0xFFFF ? textOf(" ", format.name) : "");
        case NamedBy::dxgi:
            return "DXGI " + dxgiText(format.id);
        case NamedBy::masks:
            // Rows without masks of their own, "any masks", are their own names.
            return format.masks == Masks{} ? format.name : textOf("masks ", format.name);
        case NamedBy::palette:
            return textOf("palette ", format.name);
        case NamedBy::flags:
            return format.name;
    }
    return {};
}

std::string channelCount(const Format& format) {
    return format.channels == 0 ? "3 or 4" : std::to_string(format.channels);
}

std::string headerFlagText(std::uint32_t flags) {
    return flagText(headerFlags, flags);
}

std::string pixelFlagText(std::uint32_t flags) {
    return flagText(pixelFormatFlags, flags);
}

}  // namespace kpx
