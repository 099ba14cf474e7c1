// What a file's format is called: by its one label, mostly the DXGI name of the same data, and as the file names it.
#include <string_view>

#include "explain/Explanation.h"
#include "explain/names.h"
#include "explain/text.h"

namespace kpx {
namespace {

// Blocks that are better known by a code.
constexpr struct {
    std::uint32_t dxgi;
    const char* code;
} codes[] = {{71, "DXT1"}, {74, "DXT3"}, {77, "DXT5"}, {80, "ATI1"}, {83, "ATI2"}};

// Returns the DXGI format of the same data; null if there is none. A code has the first one whose type is known.
const Format* dxgiOf(const Format& row) {
    if (row.namedBy == NamedBy::dxgi) return &row;
    if (row.sameDxgi != 0) return findDxgi(row.sameDxgi);
    if (row.namedBy != NamedBy::code || row.code == 0) return nullptr;
    for (const Format& other : formatTable()) {
        if (other.namedBy == NamedBy::dxgi && other.code == row.code && !other.has(isTypeless)) return &other;
    }
    return nullptr;
}

std::string label(const Format& row) {
    std::string name = row.name;
    const auto drop = [&](std::string_view part, const char* words) {
        const std::size_t place = name.find(part);
        if (place != std::string::npos) name.replace(place, part.size(), words);
    };
    drop("_UNORM", "");
    drop("_SRGB", " sRGB");
    drop("D3DFMT_", "");
    drop("CODE_", "");
    drop("DDPF_PALETTEINDEXED", "P");
    if (row.blockBytes == 0 || row.namedBy != NamedBy::dxgi) return name;
    for (const auto& each : codes) {
        if (each.dxgi == row.id) return textOf(name, " (", each.code, ")");
    }
    return textOf(name, " (DXGI ", row.id, ")");
}

std::string labelOf(const Format& row) {
    if (row.has(isPremultiplied)) return textOf(row.name, " premultiplied");
    const Format* dxgi = dxgiOf(row);
    return label(dxgi == nullptr ? row : *dxgi);
}

// Returns "L8" or "A8L8" for grey without a code, which is read as a format with one.
std::string luminanceLabel(const DDS_PIXELFORMAT& format) {
    const bool hasAlpha = (format.dwFlags & DDPF_ALPHAPIXELS) != 0;
    const std::uint32_t bits = format.dwRGBBitCount / (hasAlpha ? 2 : 1);
    return hasAlpha ? textOf("A", bits, "L", bits) : textOf("L", bits);
}

// Returns whether luminance is read by a code that is not in the file.
bool isLuminance(const Explanation& file) {
    const Format* format = file.verdict.format;
    return format != nullptr && format->namedBy == NamedBy::code &&
           format->id != file.facts.header.header.ddspf.dwFourCC;
}

// Returns whether this system uses the code for itself.
bool isOwnCode(std::uint32_t code) {
    return code >= CODE_SINGLE16 && (code <= CODE_SINGLE8 || code == CODE_RGB_FLOAT32);
}

// Returns the code or the masks under which a DXGI format's data is read as the same type; empty if there are none.
std::string legacyName(const Format& dxgi) {
    if (dxgi.code == 0) {
        for (const Format& row : formatTable())
            if (row.namedBy == NamedBy::masks && row.sameDxgi == dxgi.id) return formatText(row);
        return {};
    }
    // Codes mean unsigned and normalised values, and some are used only by this system.
    const bool isOther =
        isOwnCode(dxgi.code) || dxgi.has(isSnorm | isInteger) || dxgi.kernel == BlockKernel::bc6hSigned;
    if (isOther) return {};
    return formatText(*findCode(dxgi.code));
}

std::string undecodedName(const Explanation& file) {
    if (file.verdict.loader == Loader::dx10 && file.verdict.refusal != Refusal::dx10HeaderCut)
        return "DXGI " + dxgiText(file.facts.dx10Header.dxgiFormat);
    const std::uint32_t code = file.facts.header.header.ddspf.dwFourCC;
    return code == 0 ? "none" : "code " + namedCode(code);
}

}  // namespace

std::string formatLabel(const Explanation& file) {
    const DDS_PIXELFORMAT& named = file.facts.header.header.ddspf;
    const bool isLuminance = (named.dwFlags & (DDPF_LUMINANCE | DDPF_FOURCC | DDPF_RGB)) == DDPF_LUMINANCE;
    if (isLuminance) return luminanceLabel(named);
    if (file.verdict.decoder == Loader::uncompressed && file.verdict.format->masks == Masks{})
        return textOf(file.verdict.pixelFormat.dwRGBBitCount, "-bit masks");
    if (file.verdict.format != nullptr) return labelOf(*file.verdict.format);
    const bool isDx10 = file.verdict.loader == Loader::dx10;
    const std::uint32_t code = file.facts.header.header.ddspf.dwFourCC;
    const Format* row = isDx10 ? findUndecodedDxgi(file.facts.dx10Header.dxgiFormat) : findUndecodedCode(code);
    if (row == nullptr && !isDx10 && code == 0) row = findBumpMap(named);
    if (row == nullptr && !isDx10 && code == 0) row = findUndecodedFlag(named.dwFlags);
    if (row == nullptr && isDx10) return textOf("DXGI ", file.facts.dx10Header.dxgiFormat);
    if (row == nullptr) return code == 0 ? "none" : codeText(code);
    // The same data under a name that is decoded.
    if (row->remedy.kind == Remedy::Kind::code) return labelOf(*findCode(row->remedy.id));
    return label(*row);
}

std::string namedFormat(const Explanation& file) {
    const Format* format = file.verdict.format;
    if (format == nullptr) return undecodedName(file);
    const DDS_PIXELFORMAT& header = file.facts.header.header.ddspf;
    if (isLuminance(file)) return textOf("luminance of ", header.dwRGBBitCount, " bits, read as ", format->name);
    if (format->namedBy != NamedBy::masks) return formatText(*format);
    return textOf(formatText(*format), " (", hex(header.dwRBitMask), " ", hex(header.dwGBitMask), " ",
                  hex(header.dwBBitMask), " ", hex(header.dwABitMask), ", ", header.dwRGBBitCount, " bits)");
}

std::string sameAs(const Explanation& file) {
    const Format* format = file.verdict.format;
    if (format == nullptr || isLuminance(file)) return {};
    if (format->namedBy == NamedBy::dxgi) return legacyName(*format);
    if (format->sameDxgi != 0) return "DXGI " + dxgiText(format->sameDxgi);
    const Format* dxgi = dxgiOf(*format);
    if (dxgi == nullptr) return {};
    return formatText(*dxgi);
}

}  // namespace kpx
