// Names by the table of formats and by the constants of the file's records.
#include "explain/names.h"

#include <cctype>
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

// Returns whether this system uses the code for itself.
bool isOwnCode(std::uint32_t code) {
    return code >= CODE_SINGLE16 && (code <= CODE_SINGLE8 || code == CODE_RGB_FLOAT32);
}

// Returns the first DXGI format of a known type that is read by the code.
std::string dxgiOfCode(std::uint32_t code) {
    for (const Format& row : formatTable()) {
        const bool isTyped = !row.has(isTypeless);
        if (row.namedBy == NamedBy::dxgi && row.code == code && isTyped) return "DXGI " + dxgiText(row.id);
    }
    return {};
}

// Returns the masks of the same data as a DXGI format's.
std::string masksOfSameData(std::uint32_t dxgi) {
    for (const Format& row : formatTable()) {
        if (row.namedBy == NamedBy::masks && row.sameDxgi == dxgi) return textOf("masks ", row.name);
    }
    return {};
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

std::string otherName(const Format& format) {
    if (format.sameDxgi != 0) return "DXGI " + dxgiText(format.sameDxgi);
    if (format.namedBy == NamedBy::code) return dxgiOfCode(format.code);
    if (format.namedBy != NamedBy::dxgi) return {};
    if (format.code == 0) return masksOfSameData(format.id);
    // A code says another type of the data: unsigned and normalised.
    const bool isOther =
        isOwnCode(format.code) || format.has(isSnorm | isInteger) || format.kernel == BlockKernel::bc6hSigned;
    return isOther ? "" : formatText(*findCode(format.code));
}

std::string headerFlagText(std::uint32_t flags) {
    return flagText(headerFlags, flags);
}

std::string pixelFlagText(std::uint32_t flags) {
    return flagText(pixelFormatFlags, flags);
}

}  // namespace kpx
