// A mend a fault, tried in turn until none finds its fault any more.
#include "explain/mends.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "dds/dataSize.h"
#include "explain/contents.h"
#include "explain/conversionMends.h"
#include "explain/draft.h"
#include "explain/dx10Header.h"
#include "explain/flagNames.h"
#include "explain/formatNames.h"
#include "explain/otherFile.h"
#include "explain/text.h"

namespace kpx {
namespace {

using namespace mending;

// Each mend makes its change and says what it is, or does and says nothing where its fault is not there.

// A code of blocks is believed where the file is too small for what the flags say.
bool isCodeTrue(const Draft& draft, const DDS_PIXELFORMAT& format) {
    if (format.dwFourCC == dx10Code) return canHaveDx10Header(draft.facts);
    const bool isTooSmall = draft.verdict.bytesPresent < draft.verdict.bytesExpected;
    return findBlockCode(format.dwFourCC) != nullptr && (isTooSmall || format.dwRGBBitCount == 0);
}

std::string flagsBesideCode(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    const std::uint32_t flags = format.dwFlags;
    const bool isMasked = (flags & (DDPF_RGB | DDPF_ALPHA)) != 0;
    const bool isLuminance = (flags & (DDPF_LUMINANCE | DDPF_FOURCC)) == DDPF_LUMINANCE;
    if ((!isMasked && !isLuminance) || !isCodeTrue(draft, format)) return {};
    nameByCode(format, format.dwFourCC);
    if (format.dwFourCC == dx10Code) draft.dataStart = factBytes;
    return textOf("The pixel format is named by the code ", codeText(format.dwFourCC), " alone: its flags become ",
                  flagText(pixelFormatFlagNames(), format.dwFlags), " and were ",
                  flagText(pixelFormatFlagNames(), flags), ".");
}

// What a legacy header says of cube maps and volumes in its own place.
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

// The remedies of the table of formats, each with its sentence.

std::string byCode(Draft& draft, const Format& row) {
    nameByCode(headerOf(draft).ddspf, row.remedy.id);
    return textOf("The code becomes ", codeText(row.remedy.id), ", under which the blocks of ", codeText(row.id),
                  " are read.");
}

std::string codeByMasks(Draft& draft, const Format& row) {
    return textOf("The pixel format, code ", row.id, ", becomes ", useMasks(headerOf(draft), row), ".");
}

std::string dxgiByMasks(Draft& draft, const Format& row) {
    const DDS_HEADER_DXT10 dx10 = draft.facts.dx10Header;
    const char* alphaMode = contentsOf(draft.facts, draft.verdict).alphaMode;
    DDS_HEADER& header = headerOf(draft);
    const std::string masks = useMasks(header, namedMasks(row.remedy.text));
    stateLegacyShape(header, dx10);
    draft.facts.dx10Header = {};
    moveData(draft, factBytes, sizeof(DdsFileHeader));
    std::string sentence = textOf("The DX10 header, 20 bytes of DXGI ", dxgiText(dx10.dxgiFormat), ", becomes ", masks);
    if (dx10.arraySize > 1) sentence += textOf("; that it is an array of ", dx10.arraySize, " is no longer said");
    // Masks mean straight alpha, which is the mode before this.
    if ((dx10.miscFlags2 & alphaModeMask) >= alphaModePremultiplied)
        sentence += textOf("; that its alpha is ", alphaMode, " is no longer said");
    return sentence + ".";
}

std::string byOwnFlags(Draft& draft, const Format& row) {
    DDS_HEADER& header = headerOf(draft);
    const std::uint32_t bits = 8U * row.bytesPerPixel;
    nameByMasks(header.ddspf, row.pixelFlags, bits, row.masks);
    stateRows(header, std::uint64_t{row.bytesPerPixel} * header.dwWidth);
    return textOf("The pixel format, code ", namedCode(row.id), ", becomes ",
                  flagText(pixelFormatFlagNames(), row.pixelFlags), " of ", bits, " bits.");
}

std::string codeByDxgi(Draft& draft, const Format& row) {
    DDS_HEADER& header = headerOf(draft);
    const Format& target = *findDxgi(row.remedy.id);
    nameByDxgi(draft, target.id);
    if (target.blockBytes == 0) stateRows(header, std::uint64_t{target.bytesPerPixel} * header.dwWidth);
    // A bump map may be named by its flags.
    const std::string name = row.pixelFlags != 0 ? row.name : "code " + namedCode(row.id);
    return textOf("The pixel format, ", name, ", becomes a DX10 header, 20 bytes of DXGI ", dxgiText(target.id),
                  row.remedy.text, ".");
}

std::string dxgiByDxgi(Draft& draft, const Format& row) {
    draft.facts.dx10Header.dxgiFormat = row.remedy.id;
    return textOf("The DXGI format, ", dxgiText(row.id), ", becomes ", dxgiText(row.remedy.id), ".");
}

struct RemedyRow {
    Remedy::Kind kind;
    bool isDxgi;     // the remedy of a DXGI format, else of a code
    bool isBumpMap;  // of a format that flags name, too
    const char* id;
    std::string (*change)(Draft&, const Format&);
};
constexpr RemedyRow remedyRows[] = {
    {Remedy::Kind::code, false, false, "code-of-another-writer", byCode},
    {Remedy::Kind::masks, false, false, "code-of-masks", codeByMasks},
    {Remedy::Kind::masks, true, false, "dxgi-of-masks", dxgiByMasks},
    {Remedy::Kind::flags, false, true, "code-of-luminance", byOwnFlags},
    {Remedy::Kind::dxgi, false, true, "signed-data", codeByDxgi},
    {Remedy::Kind::dxgi, false, false, "code-of-dxgi", codeByDxgi},
    {Remedy::Kind::dxgi, true, false, "dxgi-of-depth", dxgiByDxgi},
};

// The same data under a name by which it is decoded.
Remark knownData(Draft& draft) {
    const Format* row = rowToCure(draft);
    if (row == nullptr || (row->namedBy == NamedBy::masks && draft.verdict.format == row)) return {};
    for (const RemedyRow& each : remedyRows) {
        const bool isThis = each.kind == row->remedy.kind && each.isDxgi == (row->namedBy == NamedBy::dxgi) &&
                            each.isBumpMap == (row->pixelFlags != 0);
        if (isThis) return {each.id, each.change(draft, *row)};
    }
    return {};
}

std::string luminanceAsRed(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    if ((format.dwFlags & (DDPF_RGB | DDPF_LUMINANCE)) != (DDPF_RGB | DDPF_LUMINANCE)) return {};
    DDS_PIXELFORMAT luminance = format;
    luminance.dwFlags &= ~DDPF_RGB;
    if (findLuminance(luminance) == nullptr) return {};
    format = luminance;
    return textOf("The pixel-format flags become ", flagText(pixelFormatFlagNames(), format.dwFlags),
                  ": DDPF_RGB beside DDPF_LUMINANCE shows the luminance as red.");
}

std::string alphaWithoutMask(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    const bool isColour = draft.verdict.loader == Loader::uncompressed && maskedChannels(format) == 4;
    // Of fewer than 8 bits, the channels decide how large a pixel is.
    if (!isColour || format.dwABitMask != 0 || format.dwRGBBitCount < 8) return {};
    format.dwFlags &= ~DDPF_ALPHAPIXELS;
    return "DDPF_ALPHAPIXELS is taken away: the alpha mask is 0, so that every pixel would be transparent.";
}

std::string linearSizeMissing(Draft& draft) {
    if (!hasCause(draft, Refusal::linearSizeNeeded)) return {};
    DDS_HEADER& header = headerOf(draft);
    header.dwFlags = (header.dwFlags & ~DDSD_PITCH) | DDSD_LINEARSIZE;
    const Format* row = findBlockCode(header.ddspf.dwFourCC);
    stateLinearSize(header, wholeBlockBytes(header.dwWidth, header.dwHeight, blockBytesOf(row)));
    return textOf("The header gets DDSD_LINEARSIZE, without which ", codeText(header.ddspf.dwFourCC),
                  " is not read; dwPitchOrLinearSize becomes ", header.dwPitchOrLinearSize, ".");
}

std::string codeOfRowsAsBlocks(Draft& draft) {
    if (!hasCause(draft, Refusal::notABlockCode)) return {};
    DDS_HEADER& header = headerOf(draft);
    const Format* row = findCode(header.ddspf.dwFourCC);
    nameByCode(header.ddspf, header.ddspf.dwFourCC);
    stateRows(header, codeFileRowBytes(*row, header.dwWidth));
    return textOf("The ", formatText(*row), " is no block format: the flags become ",
                  flagText(headerFlagNames(), header.dwFlags), " and ",
                  flagText(pixelFormatFlagNames(), header.ddspf.dwFlags), ".");
}

std::string linearSizeTooLarge(Draft& draft) {
    if (!hasCause(draft, Refusal::linearSizeTooLarge) || draft.verdict.format == nullptr) return {};
    DDS_HEADER& header = headerOf(draft);
    const std::uint32_t stated = header.dwPitchOrLinearSize;
    stateLinearSize(header, compressedBytes(header.dwWidth, header.dwHeight, blockBytesOf(draft.verdict.format), 0));
    return textOf("dwPitchOrLinearSize becomes ", header.dwPitchOrLinearSize, ", the size of the top level; it was ",
                  stated, ".");
}

// A row a fault; a null function stands for the remedies of the table of formats. A mend may uncover the next fault.
struct MendRow {
    const char* id;
    std::string (*mend)(Draft&);
    bool isConversion = false;  // only made where that is asked for
};
constexpr MendRow mendRows[] = {
    {"flags-beside-code", flagsBesideCode},      {"known-data", nullptr},
    {"luminance-as-red", luminanceAsRed},        {"alpha-without-mask", alphaWithoutMask},
    {"linear-size-missing", linearSizeMissing},  {"code-of-rows-as-blocks", codeOfRowsAsBlocks},
    {"pixels-converted", pixelsConverted, true}, {"linear-size-too-large", linearSizeTooLarge},
};

// Makes the first mend whose fault is there; false when there is none.
bool mendOnce(Draft& draft, bool mayConvert) {
    for (const MendRow& row : mendRows) {
        if (row.isConversion && !mayConvert) continue;
        const Remark change = row.mend == nullptr ? knownData(draft) : Remark{row.id, row.mend(draft)};
        if (change.sentence.empty()) continue;
        draft.mends.push_back(change);
        draft.verdict = judge(draft.facts);
        return true;
    }
    return false;
}

}  // namespace

bool Repair::helps() const {
    return startsAsDds(facts) && !mends.empty() && verdict.result == Result::decoded;
}

Repair repairOf(const FileFacts& facts, bool mayConvert) {
    Draft draft = draftOf(facts);
    if (draft.verdict.result == Result::refused) return draft;
    // No fault is there a second time, so that there are at most as many mends as rows.
    while (draft.mends.size() < std::size(mendRows) && mendOnce(draft, mayConvert)) {
    }
    return draft;
}

const char* repairHint(const FileFacts& facts) {
    if (repairOf(facts).helps()) return " `kpximage repair` fixes it.";
    if (repairOf(facts, true).helps()) return " `kpximage recode` converts it.";
    return "";
}

}  // namespace kpx
