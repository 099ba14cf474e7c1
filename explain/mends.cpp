// A mend a fault, tried in turn until none finds its fault any more.
#include "explain/mends.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "explain/contents.h"
#include "explain/dx10Header.h"
#include "explain/flagNames.h"
#include "explain/formatNames.h"
#include "explain/otherFile.h"
#include "explain/sameData.h"
#include "explain/text.h"
#include "reader/dataSize.h"

namespace kpx {
namespace {

// A file as it stands after the mends so far. Mends change the facts; the verdict follows.
using Draft = Repair;

DDS_HEADER& headerOf(Draft& draft) {
    return draft.facts.header.header;
}

bool hasCause(const Draft& draft, Cause cause) {
    return draft.verdict.cause == cause || draft.verdict.secondCause == cause;
}

void moveData(Draft& draft, std::uint64_t dataStart, std::uint64_t newHeaderBytes) {
    draft.facts.fileBytes = draft.facts.fileBytes - dataStart + newHeaderBytes;
}

// 0, which asks for nothing, where the number is too large for its field.
void stateLinearSize(DDS_HEADER& header, std::uint64_t bytes) {
    header.dwPitchOrLinearSize = bytes > UINT32_MAX ? 0 : static_cast<std::uint32_t>(bytes);
}

// A header of pixel rows states no linear size, but the length of a row.
void stateRows(DDS_HEADER& header, std::uint64_t rowBytes) {
    if ((header.dwFlags & DDSD_LINEARSIZE) == 0) return;
    header.dwFlags = (header.dwFlags & ~DDSD_LINEARSIZE) | DDSD_PITCH;
    stateLinearSize(header, rowBytes);
}

void nameByCode(DDS_PIXELFORMAT& format, std::uint32_t code) {
    constexpr std::uint32_t otherNames =
        DDPF_RGB | DDPF_ALPHA | DDPF_ALPHAPIXELS | DDPF_LUMINANCE | DDPF_BUMPDUDV | anyPaletteFlag;
    format = {format.dwSize, (format.dwFlags & ~otherNames) | DDPF_FOURCC, code, 0, 0, 0, 0, 0};
}

void nameByMasks(DDS_PIXELFORMAT& format, std::uint32_t flags, std::uint32_t bits, const Masks& masks) {
    format = {format.dwSize, flags, 0, bits, masks.r, masks.g, masks.b, masks.a};
}

// Describes the masks in the header, and returns the words for it.
std::string useMasks(DDS_HEADER& header, const Format& row) {
    const std::uint32_t bytes = std::max<std::uint32_t>(row.bytesPerPixel, 1);
    const Masks masks = masksOf(row);
    nameByMasks(header.ddspf, flagsOfMasks(row), bytes * 8, masks);
    stateRows(header, std::uint64_t{bytes} * header.dwWidth);
    return textOf("the masks of ", row.name, " (", hex(masks.r), " ", hex(masks.g), " ", hex(masks.b), " ",
                  hex(masks.a), ", ", bytes * 8, " bits)");
}

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

DDS_HEADER_DXT10 dx10HeaderOf(const DDS_HEADER& header, std::uint32_t dxgi) {
    constexpr std::uint32_t wholeCube = DDSCAPS2_CUBEMAP | DDSCAPS2_CUBEMAP_ALLFACES;
    const bool isVolume = (header.dwCaps2 & DDSCAPS2_VOLUME) != 0;
    const bool isCube = (header.dwCaps2 & wholeCube) == wholeCube;
    return {dxgi, isVolume ? D3D10_RESOURCE_DIMENSION_TEXTURE3D : D3D10_RESOURCE_DIMENSION_TEXTURE2D,
            isCube ? D3D10_RESOURCE_MISC_TEXTURECUBE : 0, 1, 0};
}

// Puts a DX10 header behind a legacy one.
void nameByDxgi(Draft& draft, std::uint32_t dxgi) {
    DDS_HEADER& header = headerOf(draft);
    nameByCode(header.ddspf, dx10Code);
    draft.facts.dx10Header = dx10HeaderOf(header, dxgi);
    moveData(draft, sizeof(DdsFileHeader), factBytes);
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

// What follows changes the picture.

// The code of the pixels, or 0.
std::uint32_t undecodedCode(const Draft& draft) {
    const DDS_PIXELFORMAT& format = draft.facts.header.header.ddspf;
    return hasCause(draft, Cause::unknownCode)    ? format.dwFourCC
           : hasCause(draft, Cause::nothingNamed) ? codeOfBumpMap(format)
                                                  : 0;
}

std::optional<Conversion> conversionOf(const Draft& draft) {
    if (hasCause(draft, Cause::dxgiRejected) || hasCause(draft, Cause::dxgiTooLarge))
        return Conversion::ofDxgi(draft.facts.dx10Header.dxgiFormat);
    const std::uint32_t code = undecodedCode(draft);
    return code == 0 ? std::nullopt : Conversion::ofCode(code);
}

bool hasPixels(const Draft& draft) {
    const DDS_HEADER& header = draft.facts.header.header;
    return header.dwWidth != 0 && header.dwHeight != 0 && !isSideTooLarge(header.dwWidth, header.dwHeight);
}

struct ConvertedSize {
    std::uint64_t pictures;     // that are whole
    std::uint64_t sourceBytes;  // that they have
    std::uint64_t bytes;        // that they become
};

ConvertedSize convertedSize(const SurfaceLayout& layout) {
    ConvertedSize size{};
    forEachWholeSize(layout, [&](std::uint32_t width, std::uint32_t height, std::uint64_t count) {
        const std::uint64_t bytes = saturatingProduct(layout.conversion->convertedRowBytes(width), height, count);
        size.bytes = bytes > UINT64_MAX - size.bytes ? UINT64_MAX : size.bytes + bytes;
        size.sourceBytes += layout.surfaceBytes(width, height) * count;
        size.pictures += count;
    });
    return size;
}

// Names what the pixels become, and returns the words for it.
std::string nameConverted(Draft& draft, std::uint32_t dxgi) {
    DDS_HEADER& header = headerOf(draft);
    const Format& format = *findDxgi(dxgi);
    const bool isDx10 = draft.verdict.loader == Loader::dx10;
    const bool isFloat = layoutRow(format.layout).isFloat;
    std::string words =
        isDx10 || isFloat ? "DXGI " + dxgiText(dxgi) : useMasks(header, *findNamedMasks("D3DFMT_A8R8G8B8"));
    if (isDx10) draft.facts.dx10Header.dxgiFormat = dxgi;
    if (!isDx10 && isFloat) nameByDxgi(draft, dxgi);
    header.dwFlags &= ~DDSD_LINEARSIZE;
    if ((header.dwFlags & DDSD_PITCH) != 0)
        stateLinearSize(header, std::uint64_t{format.bytesPerPixel} * header.dwWidth);
    return words;
}

std::string paddingText(const DDS_HEADER& header, const Conversion& conversion) {
    const bool isPadded =
        (header.dwFlags & DDSD_PITCH) != 0 && header.dwPitchOrLinearSize > conversion.rowBytes(header.dwWidth);
    if (!isPadded) return {};
    return textOf("; rows are taken without padding, though a pitch of ", header.dwPitchOrLinearSize, " is stated");
}

std::string pixelsConverted(Draft& draft) {
    const auto conversion = hasPixels(draft) ? conversionOf(draft) : std::nullopt;
    if (!conversion) return {};
    const SurfaceLayout layout = surfaceLayout(draft.facts, draft.verdict, conversion);
    const ConvertedSize size = convertedSize(layout);
    if (size.pictures == 0) return {};
    const std::uint64_t behind = draft.facts.fileBytes - draft.dataStart - size.sourceBytes;
    const std::uint32_t code = undecodedCode(draft);
    const std::string name =
        code == 0 ? "DXGI " + dxgiText(draft.facts.dx10Header.dxgiFormat) : "code " + namedCode(code);
    const std::string padding = paddingText(headerOf(draft), *conversion);
    const std::string target = nameConverted(draft, conversion->dxgi());
    draft.converted = layout;
    draft.facts.fileBytes = UINT64_MAX;  // enough for any header
    const std::uint64_t headers = headerBytes(draft.facts).size();
    draft.facts.fileBytes = size.bytes > UINT64_MAX - headers ? UINT64_MAX : headers + size.bytes;
    std::string sentence = textOf("The pixels, ", name, ", become ", target, ": ", conversion->words(), padding, "; ",
                                  countOf(size.sourceBytes), " of data become ", size.bytes);
    if (size.pictures < layout.count)
        sentence += textOf("; of ", layout.count, " pictures ", size.pictures, size.pictures == 1 ? " is" : " are",
                           " whole and kept");
    if (behind != 0)
        sentence += textOf("; ", countOf(behind), " behind them ", behind == 1 ? "is" : "are", " left out");
    return sentence + ".";
}

// What comes out as each channel, of those that are not what they are called.
std::string swizzledText(const SwizzledCode& row) {
    constexpr const char* channels[] = {"red", "green", "blue", "alpha"};
    const std::string_view holds = row.holds;
    std::string text;
    for (std::size_t i = 0; i < holds.size(); ++i) {
        const std::size_t held = std::string_view("RGBA").find(holds[i]);
        if (held == i) continue;
        const std::string what = held == holds.npos ? "is no part of the picture" : textOf("is its ", channels[held]);
        text += textOf(text.empty() ? "" : ", ", "what comes out as ", channels[i], " ", what);
    }
    return textOf(holds == "-GBR" ? "red and alpha come out exchanged: " : "", text,
                  ". Hosts show alpha as transparency");
}

std::string swizzledBlocks(Draft& draft) {
    DDS_PIXELFORMAT& format = headerOf(draft).ddspf;
    const SwizzledCode* row = hasCause(draft, Cause::unknownCode) ? findSwizzledCode(format.dwFourCC) : nullptr;
    if (row == nullptr) return {};
    nameByCode(format, fourCC("DXT5"));
    return textOf("The code ", codeText(row->code), " becomes ", codeText(fourCC("DXT5")),
                  ", whose blocks are the same: ", swizzledText(*row), ".");
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

Draft draftOf(const FileFacts& facts) {
    return {facts, hasDx10Header(facts) ? factBytes : sizeof(DdsFileHeader), judge(facts), {}, {}};
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

std::optional<Remark> conversionObstacle(const FileFacts& facts) {
    const auto remark = [](const std::string& sentence, const char* advice) {
        return Remark{"not-convertible", sentence, Weight::fault, advice};
    };
    const Draft draft = draftOf(facts);
    if (draft.verdict.result != Result::black || !startsAsDds(facts)) return std::nullopt;
    const Repair repair = repairOf(facts, true);
    if (repair.helps()) return std::nullopt;
    if (repair.converted || findSwizzledCode(undecodedCode(draft)) != nullptr)
        return remark("Converted, it would be black as well. " + causeText(repair.facts, repair.verdict),
                      adviceOn(repair.verdict));
    const auto conversion = conversionOf(draft);
    if (!conversion) return std::nullopt;
    const DDS_HEADER& header = facts.header.header;
    const std::string size = textOf(header.dwWidth, " x ", header.dwHeight);
    if (header.dwWidth == 0 || header.dwHeight == 0)
        return remark(textOf("A picture of ", size, " has no pixels that could be converted."), "export it anew");
    if (isSideTooLarge(header.dwWidth, header.dwHeight))
        return remark(textOf("A picture of ", size, " is too large to be converted."), "export it smaller");
    return remark(textOf("It could be converted if its data were whole: a picture of ", size, " takes ",
                         conversion->pictureBytes(header.dwWidth, header.dwHeight), " bytes, and ",
                         facts.fileBytes - draft.dataStart, " are there."),
                  "get a whole copy of it");
}

const char* repairHint(const FileFacts& facts) {
    if (repairOf(facts).helps()) return " \"kpximage repair\" makes a copy that is decoded.";
    if (repairOf(facts, true).helps())
        return " \"kpximage repair --convert\" makes another picture of it that is decoded.";
    return "";
}

}  // namespace kpx
