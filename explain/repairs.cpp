// The repair rules, one for each fault. The first one that finds its fault is applied, then all are tried again, until
// none finds a fault.
#include "explain/repairs.h"

#include <algorithm>
#include <iterator>

#include "dds/dataSize.h"
#include "explain/draft.h"
#include "explain/names.h"
#include "explain/text.h"

namespace kpx {
namespace {

using namespace repairing;

DDS_HEADER_DXT10 dx10HeaderOf(const DDS_HEADER& header, std::uint32_t dxgi) {
    constexpr std::uint32_t wholeCube = DDSCAPS2_CUBEMAP | DDSCAPS2_CUBEMAP_ALLFACES;
    const bool isVolume = (header.dwCaps2 & DDSCAPS2_VOLUME) != 0;
    const bool isCube = (header.dwCaps2 & wholeCube) == wholeCube;
    return {dxgi, isVolume ? D3D10_RESOURCE_DIMENSION_TEXTURE3D : D3D10_RESOURCE_DIMENSION_TEXTURE2D,
            isCube ? D3D10_RESOURCE_MISC_TEXTURECUBE : 0, 1, 0};
}

bool hasCause(const Draft& draft, Refusal refusal) {
    return draft.verdict.refusal == refusal || draft.verdict.secondRefusal == refusal;
}

// Updates the file size after the length of the headers changed from dataStart to newHeaderBytes.
void updateFileSize(Draft& draft, std::uint64_t dataStart, std::uint64_t newHeaderBytes) {
    draft.facts.fileBytes = draft.facts.fileBytes - dataStart + newHeaderBytes;
}

// Replaces a linear size by the length of a row, as headers of pixel rows have it.
void replaceLinearSizeByPitch(DDS_HEADER& header, std::uint64_t rowBytes) {
    if ((header.dwFlags & DDSD_LINEARSIZE) == 0) return;
    header.dwFlags = (header.dwFlags & ~DDSD_LINEARSIZE) | DDSD_PITCH;
    setPitchOrLinearSize(header, rowBytes);
}

// Name the pixel format by a code alone, or by flags and masks.
void nameByCode(DDS_PIXELFORMAT& format, std::uint32_t code) {
    constexpr std::uint32_t otherNames =
        DDPF_RGB | DDPF_ALPHA | DDPF_ALPHAPIXELS | DDPF_LUMINANCE | DDPF_BUMPDUDV | DDPF_BUMPLUMINANCE | anyPaletteFlag;
    format = {format.dwSize, (format.dwFlags & ~otherNames) | DDPF_FOURCC, code, 0, 0, 0, 0, 0};
}

void nameByMasks(DDS_PIXELFORMAT& format, std::uint32_t flags, std::uint32_t bits, const Masks& masks) {
    format = {format.dwSize, flags, 0, bits, masks.r, masks.g, masks.b, masks.a};
}

}  // namespace

namespace repairing {

Draft draftOf(const FileFacts& facts) {
    return {facts, hasDx10Header(facts) ? factBytes : sizeof(DdsFileHeader), judge(facts), {}, {}};
}

DDS_HEADER& headerOf(Draft& draft) {
    return draft.facts.header.header;
}

const Format* formatToRepair(const Draft& draft) {
    const DDS_PIXELFORMAT& format = draft.facts.header.header.ddspf;
    const Format* bumpMap = findBumpMap(format);
    // Masks decode to unsigned values, so a signed bump map that is decoded by masks is wrong and needs the remedy.
    if (bumpMap != nullptr && bumpMap->remedy.kind == Remedy::Kind::dxgi) return bumpMap;
    switch (draft.verdict.refusal) {
        case Refusal::dxgiRejected:
        case Refusal::dxgiTooLarge:
            return findUndecodedDxgi(draft.facts.dx10Header.dxgiFormat);
        case Refusal::unknownCode:
            return findUndecodedCode(format.dwFourCC);
        case Refusal::nothingNamed:
            return bumpMap;
        case Refusal::notABlockCode:
            return findCode(format.dwFourCC);
        default:
            return draft.verdict.format;
    }
}

void setPitchOrLinearSize(DDS_HEADER& header, std::uint64_t bytes) {
    header.dwPitchOrLinearSize = bytes > UINT32_MAX ? 0 : static_cast<std::uint32_t>(bytes);
}

std::string useMasks(DDS_HEADER& header, const Format& row) {
    const std::uint32_t bytes = std::max<std::uint32_t>(row.bytesPerPixel, 1);
    const Masks masks = masksOf(row);
    nameByMasks(header.ddspf, flagsOfMasks(row), bytes * 8, masks);
    replaceLinearSizeByPitch(header, std::uint64_t{bytes} * header.dwWidth);
    return textOf("the masks of ", row.name, " (", hex(masks.r), " ", hex(masks.g), " ", hex(masks.b), " ",
                  hex(masks.a), ", ", bytes * 8, " bits)");
}

void nameByDxgi(Draft& draft, std::uint32_t dxgi) {
    DDS_HEADER& header = headerOf(draft);
    nameByCode(header.ddspf, dx10Code);
    draft.facts.dx10Header = dx10HeaderOf(header, dxgi);
    updateFileSize(draft, sizeof(DdsFileHeader), factBytes);
}

}  // namespace repairing

namespace {

// Each rule fixes its fault and returns a sentence for the change, or an empty one if the file does not have the fault.

// Returns whether to trust the code and not the flags: "DX10" if a DX10 header can follow; a block code if the data is
// too short for the flags, or if the bit count is 0.
bool isCodeRight(const Draft& draft, const DDS_PIXELFORMAT& format) {
    if (format.dwFourCC == dx10Code) return canHaveDx10Header(draft.facts);
    const bool isTooSmall = draft.verdict.bytesPresent < draft.verdict.bytesExpected;
    return findBlockCode(format.dwFourCC) != nullptr && (isTooSmall || format.dwRGBBitCount == 0);
}

std::string fixFlagsBesideCode(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    const std::uint32_t flags = format.dwFlags;
    const bool isMasked = (flags & (DDPF_RGB | DDPF_ALPHA)) != 0;
    const bool isLuminance = (flags & (DDPF_LUMINANCE | DDPF_FOURCC)) == DDPF_LUMINANCE;
    if ((!isMasked && !isLuminance) || !isCodeRight(draft, format)) return {};
    nameByCode(format, format.dwFourCC);
    if (format.dwFourCC == dx10Code) draft.dataStart = factBytes;
    return textOf("The code ", codeText(format.dwFourCC), " alone names the pixel format: the flags change from ",
                  pixelFlagText(flags), " to ", pixelFlagText(format.dwFlags), ".");
}

// Marks cube maps and volumes as a legacy header does.
void stateLegacyShape(DDS_HEADER& header, const DDS_HEADER_DXT10& dx10) {
    if ((dx10.miscFlag & D3D10_RESOURCE_MISC_TEXTURECUBE) != 0) {
        header.dwCaps |= DDSCAPS_COMPLEX;
        header.dwCaps2 |= DDSCAPS2_CUBEMAP | DDSCAPS2_CUBEMAP_ALLFACES;
    }
    if (dx10.resourceDimension == D3D10_RESOURCE_DIMENSION_TEXTURE3D) {
        header.dwFlags |= DDSD_DEPTH;
        header.dwCaps |= DDSCAPS_COMPLEX;
        header.dwCaps2 |= DDSCAPS2_VOLUME;
    }
}

// The remedies of the table of formats. Each makes its change and returns the sentence for it.

std::string replaceCode(Draft& draft, const Format& row) {
    nameByCode(headerOf(draft).ddspf, row.remedy.id);
    return textOf("The code changes from ", codeText(row.id), " to ", codeText(row.remedy.id),
                  ", which names the same blocks.");
}

std::string replaceCodeByMasks(Draft& draft, const Format& row) {
    return textOf("The pixel format changes from code ", row.id, " to ", useMasks(headerOf(draft), row), ".");
}

std::string replaceDxgiByMasks(Draft& draft, const Format& row) {
    const DDS_HEADER_DXT10 dx10 = draft.facts.dx10Header;
    const char* alphaMode = contentsOf(draft.facts, draft.verdict).alphaMode;
    DDS_HEADER& header = headerOf(draft);
    const std::string masks = useMasks(header, maskRowNamed(row.remedy.text));
    stateLegacyShape(header, dx10);
    draft.facts.dx10Header = {};
    updateFileSize(draft, factBytes, sizeof(DdsFileHeader));
    std::string sentence =
        textOf("The 20-byte DX10 header with DXGI ", dxgiText(dx10.dxgiFormat), " is replaced by ", masks, ".");
    if (dx10.arraySize > 1) sentence += textOf(" The array size ", dx10.arraySize, " is lost.");
    // Masks imply straight alpha, so premultiplied and the modes numbered above it are lost.
    if ((dx10.miscFlags2 & alphaModeMask) >= alphaModePremultiplied)
        sentence += textOf(" The alpha mode, ", alphaMode, ", is lost.");
    return sentence;
}

std::string byOwnFlags(Draft& draft, const Format& row) {
    DDS_HEADER& header = headerOf(draft);
    const std::uint32_t bits = 8U * row.bytesPerPixel;
    nameByMasks(header.ddspf, row.pixelFlags, bits, row.masks);
    replaceLinearSizeByPitch(header, std::uint64_t{row.bytesPerPixel} * header.dwWidth);
    return textOf("The pixel format changes from code ", namedCode(row.id), " to the flags ",
                  pixelFlagText(row.pixelFlags), " and ", bits, " bits.");
}

std::string replaceCodeByDxgi(Draft& draft, const Format& row) {
    DDS_HEADER& header = headerOf(draft);
    const Format& target = *findDxgi(row.remedy.id);
    nameByDxgi(draft, target.id);
    if (target.blockBytes == 0) replaceLinearSizeByPitch(header, std::uint64_t{target.bytesPerPixel} * header.dwWidth);
    // A bump map may be named by its flags.
    const std::string name = row.pixelFlags != 0 ? row.name : "code " + namedCode(row.id);
    return textOf("The pixel format changes from ", name, " to a 20-byte DX10 header with DXGI ", dxgiText(target.id),
                  row.remedy.text, ".");
}

std::string replaceDxgiByDxgi(Draft& draft, const Format& row) {
    draft.facts.dx10Header.dxgiFormat = row.remedy.id;
    return textOf("The DXGI format changes from ", dxgiText(row.id), " to ", dxgiText(row.remedy.id), ".");
}

// Names the data by a format under which it is decoded.
Remark nameKnownData(Draft& draft) {
    const Format* row = formatToRepair(draft);
    if (row == nullptr || (row->namedBy == NamedBy::masks && draft.verdict.format == row)) return {};
    const bool isDxgi = row->namedBy == NamedBy::dxgi;
    switch (row->remedy.kind) {
        case Remedy::Kind::code:
            return {"code-of-another-writer", replaceCode(draft, *row)};
        case Remedy::Kind::masks:
            if (isDxgi) return {"dxgi-of-masks", replaceDxgiByMasks(draft, *row)};
            return {"code-of-masks", replaceCodeByMasks(draft, *row)};
        case Remedy::Kind::flags:
            return {"code-of-luminance", byOwnFlags(draft, *row)};
        case Remedy::Kind::dxgi:
            if (isDxgi) return {"dxgi-of-depth", replaceDxgiByDxgi(draft, *row)};
            // Only signed bump maps have both a code and flags that name them.
            return {row->pixelFlags != 0 ? "signed-data" : "code-of-dxgi", replaceCodeByDxgi(draft, *row)};
        case Remedy::Kind::recoding:
        case Remedy::Kind::none:
            return {};
    }
    return {};
}

std::string fixLuminanceAsRed(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    if ((format.dwFlags & (DDPF_RGB | DDPF_LUMINANCE)) != (DDPF_RGB | DDPF_LUMINANCE)) return {};
    DDS_PIXELFORMAT luminance = format;
    luminance.dwFlags &= ~DDPF_RGB;
    if (findLuminance(luminance) == nullptr) return {};
    format = luminance;
    return textOf("The pixel-format flags change to ", pixelFlagText(format.dwFlags),
                  ": with DDPF_RGB, luminance is shown as red.");
}

std::string fixAlphaWithoutMask(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    const bool isColour = draft.verdict.loader == Loader::uncompressed && maskedChannels(format) == 4;
    // With fewer than 8 bits, the count of channels decides the size of a pixel.
    if (!isColour || format.dwABitMask != 0 || format.dwRGBBitCount < 8) return {};
    format.dwFlags &= ~DDPF_ALPHAPIXELS;
    return "DDPF_ALPHAPIXELS is removed: the alpha mask is 0, so every pixel would be transparent.";
}

std::string fixMissingLinearSize(Draft& draft) {
    if (!hasCause(draft, Refusal::linearSizeNeeded)) return {};
    DDS_HEADER& header = headerOf(draft);
    header.dwFlags = (header.dwFlags & ~DDSD_PITCH) | DDSD_LINEARSIZE;
    const Format* row = findBlockCode(header.ddspf.dwFourCC);
    setPitchOrLinearSize(header, allBlocksBytes(header.dwWidth, header.dwHeight, blockBytesOf(row)));
    return textOf("DDSD_LINEARSIZE is set, which ", codeText(header.ddspf.dwFourCC),
                  " requires; dwPitchOrLinearSize changes to ", header.dwPitchOrLinearSize, ".");
}

std::string fixBlockFlagsOfRows(Draft& draft) {
    if (!hasCause(draft, Refusal::notABlockCode)) return {};
    DDS_HEADER& header = headerOf(draft);
    const Format* row = findCode(header.ddspf.dwFourCC);
    nameByCode(header.ddspf, header.ddspf.dwFourCC);
    replaceLinearSizeByPitch(header, codeFileRowBytes(*row, header.dwWidth));
    return textOf("The ", formatText(*row), " is not a block format: the flags change to ",
                  headerFlagText(header.dwFlags), " and ", pixelFlagText(header.ddspf.dwFlags), ".");
}

std::string fixTooLargeLinearSize(Draft& draft) {
    if (!hasCause(draft, Refusal::linearSizeTooLarge) || draft.verdict.format == nullptr) return {};
    DDS_HEADER& header = headerOf(draft);
    const std::uint32_t stated = header.dwPitchOrLinearSize;
    setPitchOrLinearSize(header,
                         compressedBytes(header.dwWidth, header.dwHeight, blockBytesOf(draft.verdict.format), 0));
    return textOf("dwPitchOrLinearSize changes from ", stated, " to ", header.dwPitchOrLinearSize,
                  ", the size of the top level.");
}

// One rule for each fault; if the function is null, the remedy in the table of formats is applied. Fixing one fault may
// reveal another.
struct RepairRule {
    const char* id;
    std::string (*apply)(Draft&);
    bool isRecoding = false;  // applied only on request
};
constexpr RepairRule repairRules[] = {
    {"flags-beside-code", fixFlagsBesideCode},     {"known-data", nullptr},
    {"luminance-as-red", fixLuminanceAsRed},       {"alpha-without-mask", fixAlphaWithoutMask},
    {"linear-size-missing", fixMissingLinearSize}, {"code-of-rows-as-blocks", fixBlockFlagsOfRows},
    {"pixels-converted", pixelsRecoded, true},     {"linear-size-too-large", fixTooLargeLinearSize},
};

// Applies the first rule whose fault the file has. Returns false if there is none.
bool repairOnce(Draft& draft, bool mayRecode) {
    for (const RepairRule& rule : repairRules) {
        if (rule.isRecoding && !mayRecode) continue;
        const Remark change = rule.apply == nullptr ? nameKnownData(draft) : Remark{rule.id, rule.apply(draft)};
        if (change.sentence.empty()) continue;
        draft.changes.push_back(change);
        draft.verdict = judge(draft.facts);
        return true;
    }
    return false;
}

}  // namespace

bool Repair::helps() const {
    return startsAsDds(facts) && !changes.empty() && verdict.result == Result::decoded;
}

Repair repairOf(const FileFacts& facts, bool mayRecode) {
    Draft draft = draftOf(facts);
    if (draft.verdict.result == Result::refused) return draft;
    // No fault is found twice, so there are at most as many changes as rules.
    while (draft.changes.size() < std::size(repairRules) && repairOnce(draft, mayRecode)) {
    }
    return draft;
}

}  // namespace kpx
