// A mend a fault, tried in turn until none finds its fault any more.
#include "explain/mends.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "explain/contents.h"
#include "explain/conversionMends.h"
#include "explain/draft.h"
#include "explain/dx10Header.h"
#include "explain/flagNames.h"
#include "explain/formatNames.h"
#include "explain/otherFile.h"
#include "explain/sameData.h"
#include "explain/text.h"
#include "reader/dataSize.h"

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

std::string codeOfAnotherWriter(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    for (const SameBlocks& row : sameBlocks()) {
        if (!hasCause(draft, Cause::unknownCode) || format.dwFourCC != row.code) continue;
        nameByCode(format, row.decoded);
        return textOf("The code becomes ", codeText(row.decoded), ", under which the blocks of ", codeText(row.code),
                      " are read.");
    }
    return {};
}

std::string codeOfMasks(Draft& draft) {
    if (!hasCause(draft, Cause::unknownCode)) return {};
    DDS_HEADER& header = headerOf(draft);
    const UndecodedFormat* known = findUndecodedCode(header.ddspf.dwFourCC);
    const Format* row = known == nullptr ? nullptr : findNamedMasks(known->name);
    if (row == nullptr) return {};
    return textOf("The pixel format, code ", known->id, ", becomes ", useMasks(header, *row), ".");
}

std::string codeOfLuminance(Draft& draft) {
    DDS_HEADER& header = headerOf(draft);
    for (const LuminanceFormat& row : luminanceFormats()) {
        if (!hasCause(draft, Cause::unknownCode) || header.ddspf.dwFourCC != row.code) continue;
        nameByMasks(header.ddspf, row.flags, row.bits, row.masks);
        stateRows(header, std::uint64_t{row.bits / 8} * header.dwWidth);
        return textOf("The pixel format, code ", row.code, " ", findUndecodedCode(row.code)->name, ", becomes ",
                      flagText(pixelFormatFlagNames(), row.flags), " of ", row.bits, " bits.");
    }
    return {};
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

std::string dxgiOfMasks(Draft& draft) {
    const DDS_HEADER_DXT10 dx10 = draft.facts.dx10Header;
    const bool isRefused = hasCause(draft, Cause::dxgiRejected) || hasCause(draft, Cause::dxgiTooLarge);
    const Format* row = isRefused ? masksOfDxgi(dx10.dxgiFormat) : nullptr;
    if (row == nullptr) return {};
    const char* alphaMode = contentsOf(draft.facts, draft.verdict).alphaMode;
    DDS_HEADER& header = headerOf(draft);
    const std::string masks = useMasks(header, *row);
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

bool isSigned(const Draft& draft, const SignedFormat& row) {
    const DDS_PIXELFORMAT& format = draft.facts.header.header.ddspf;
    if ((format.dwFlags & DDPF_BUMPDUDV) != 0 && format.dwFourCC == 0) {
        const Masks masks{format.dwRBitMask, format.dwGBitMask, format.dwBBitMask, format.dwABitMask};
        return format.dwRGBBitCount == row.bits && masks == row.masks;
    }
    const bool isByCode = draft.verdict.loader == Loader::d3dFormat || draft.verdict.loader == Loader::compressed;
    return isByCode && format.dwFourCC == row.code;
}

std::string signedData(Draft& draft) {
    DDS_HEADER& header = headerOf(draft);
    for (const SignedFormat& row : signedFormats()) {
        if (!isSigned(draft, row)) continue;
        nameByDxgi(draft, row.dxgi);
        stateRows(header, std::uint64_t{row.bits / 8} * header.dwWidth);
        return textOf("The pixel format, ", row.name, ", becomes a DX10 header, 20 bytes of DXGI ", dxgiText(row.dxgi),
                      ".");
    }
    return {};
}

std::string codeOfDxgi(Draft& draft) {
    DDS_HEADER& header = headerOf(draft);
    for (const CodeOfDxgi& row : codesOfDxgi()) {
        if (!hasCause(draft, Cause::unknownCode) || header.ddspf.dwFourCC != row.code) continue;
        const Format& format = *findDxgi(row.dxgi);
        nameByDxgi(draft, row.dxgi);
        if (format.blockBytes == 0) stateRows(header, std::uint64_t{format.bytesPerPixel} * header.dwWidth);
        return textOf("The pixel format, code ", namedCode(row.code), ", becomes a DX10 header, 20 bytes of DXGI ",
                      dxgiText(row.dxgi), row.words, ".");
    }
    return {};
}

std::string dxgiOfDepth(Draft& draft) {
    std::uint32_t& dxgi = draft.facts.dx10Header.dxgiFormat;
    const std::uint32_t same = hasCause(draft, Cause::dxgiRejected) ? dxgiOfSameValues(dxgi) : 0;
    if (same == 0) return {};
    return textOf("The DXGI format, ", dxgiText(std::exchange(dxgi, same)), ", becomes ", dxgiText(same), ".");
}

std::string luminanceAsRed(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    if ((format.dwFlags & (DDPF_RGB | DDPF_LUMINANCE)) != (DDPF_RGB | DDPF_LUMINANCE)) return {};
    const Masks masks{format.dwRBitMask, format.dwGBitMask, format.dwBBitMask, format.dwABitMask};
    for (const LuminanceFormat& row : luminanceFormats()) {
        const bool isSame = format.dwFlags == (row.flags | DDPF_RGB) && format.dwRGBBitCount == row.bits;
        if (!isSame || masks != row.masks) continue;
        format.dwFlags = row.flags;
        return textOf("The pixel-format flags become ", flagText(pixelFormatFlagNames(), row.flags),
                      ": DDPF_RGB beside DDPF_LUMINANCE shows the luminance as red.");
    }
    return {};
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
    if (!hasCause(draft, Cause::linearSizeNeeded)) return {};
    DDS_HEADER& header = headerOf(draft);
    header.dwFlags = (header.dwFlags & ~DDSD_PITCH) | DDSD_LINEARSIZE;
    const Format* row = findBlockCode(header.ddspf.dwFourCC);
    stateLinearSize(header, wholeBlockBytes(header.dwWidth, header.dwHeight, blockBytesOf(row)));
    return textOf("The header gets DDSD_LINEARSIZE, without which ", codeText(header.ddspf.dwFourCC),
                  " is not read; dwPitchOrLinearSize becomes ", header.dwPitchOrLinearSize, ".");
}

std::string codeOfRowsAsBlocks(Draft& draft) {
    if (!hasCause(draft, Cause::notABlockCode)) return {};
    DDS_HEADER& header = headerOf(draft);
    const Format* row = findCode(header.ddspf.dwFourCC);
    nameByCode(header.ddspf, header.ddspf.dwFourCC);
    stateRows(header, codeFileRowBytes(*row, header.dwWidth));
    return textOf("The ", formatText(*row), " is no block format: the flags become ",
                  flagText(headerFlagNames(), header.dwFlags), " and ",
                  flagText(pixelFormatFlagNames(), header.ddspf.dwFlags), ".");
}

std::string linearSizeTooLarge(Draft& draft) {
    if (!hasCause(draft, Cause::linearSizeTooLarge) || draft.verdict.format == nullptr) return {};
    DDS_HEADER& header = headerOf(draft);
    const std::uint32_t stated = header.dwPitchOrLinearSize;
    stateLinearSize(header, compressedBytes(header.dwWidth, header.dwHeight, blockBytesOf(draft.verdict.format), 0));
    return textOf("dwPitchOrLinearSize becomes ", header.dwPitchOrLinearSize, ", the size of the top level; it was ",
                  stated, ".");
}

// A row a fault. A mend may uncover the next fault.
struct MendRow {
    const char* id;
    std::string (*mend)(Draft&);
    bool isConversion = false;  // only made where that is asked for
};
constexpr MendRow mendRows[] = {
    {"flags-beside-code", flagsBesideCode},
    {"code-of-another-writer", codeOfAnotherWriter},
    {"code-of-masks", codeOfMasks},
    {"code-of-luminance", codeOfLuminance},
    {"dxgi-of-masks", dxgiOfMasks},
    {"signed-data", signedData},
    {"code-of-dxgi", codeOfDxgi},
    {"dxgi-of-depth", dxgiOfDepth},
    {"luminance-as-red", luminanceAsRed},
    {"alpha-without-mask", alphaWithoutMask},
    {"linear-size-missing", linearSizeMissing},
    {"code-of-rows-as-blocks", codeOfRowsAsBlocks},
    {"swizzled-blocks", swizzledBlocks, true},
    {"pixels-converted", pixelsConverted, true},
    {"linear-size-too-large", linearSizeTooLarge},
};

// Makes the first mend whose fault is there; false when there is none.
bool mendOnce(Draft& draft, bool mayConvert) {
    for (const MendRow& row : mendRows) {
        const std::string sentence = row.isConversion && !mayConvert ? "" : row.mend(draft);
        if (sentence.empty()) continue;
        draft.mends.push_back({row.id, sentence});
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

bool isMendOf(const FileFacts& facts, std::uint64_t dataStart, std::span<const unsigned char> header) {
    Draft draft = draftOf(facts);
    while (draft.mends.size() < std::size(mendRows) && mendOnce(draft, false)) {
        const std::vector<unsigned char> bytes = headerBytes(draft.facts);
        const bool isSame = std::equal(bytes.begin(), bytes.end(), header.begin(), header.end());
        if (isSame && draft.helps() && draft.dataStart == dataStart) return true;
    }
    return false;
}

const char* repairHint(const FileFacts& facts) {
    if (repairOf(facts).helps()) return " \"kpximage repair\" makes a copy that is decoded.";
    if (repairOf(facts, true).helps())
        return " \"kpximage repair --convert\" makes another picture of it that is decoded.";
    return "";
}

}  // namespace kpx
