// A sentence a cause, with the numbers of the file in it.
#include "explain/causes.h"

#include "dds/dataSize.h"
#include "explain/dx10Header.h"
#include "explain/formatNames.h"
#include "explain/otherFile.h"
#include "explain/text.h"

namespace kpx {
namespace {

std::string headerCut(const FileFacts& facts, const Verdict& /*verdict*/) {
    if (facts.fileBytes == 0) return "The file is empty.";
    return textOf("The file has ", bytesText(facts.fileBytes), "; the header alone takes ", sizeof(DdsFileHeader), ".");
}

std::string dx10HeaderCut(const FileFacts& facts, const Verdict& /*verdict*/) {
    return textOf("The file ends after ", facts.fileBytes,
                  " bytes, before the end of the DX10 header, which takes bytes ", sizeof(DdsFileHeader), " to ",
                  factBytes - 1, ".");
}

std::string nothingNamed(const FileFacts& facts, const Verdict& /*verdict*/) {
    const std::uint32_t flags = facts.header.header.ddspf.dwFlags;
    if (const Format* row = findUndecodedFlag(flags)) {
        return textOf("The pixel format is named by ", row->name, " (flags ", hex(flags), "): ", row->what,
                      " are not decoded.");
    }
    return textOf("No format is named: the pixel-format flags are ", hex(flags),
                  ", none of which names one, and the code is 0.");
}

std::string unknownCode(const FileFacts& facts, const Verdict& /*verdict*/) {
    const std::uint32_t code = facts.header.header.ddspf.dwFourCC;
    if (code == 0) return "The pixel format is said to be named by a code, but the code is 0.";
    if (code == dx10Code) {
        return textOf("The code \"DX10\" is followed only when the pixel format has DDPF_FOURCC (0x4); its flags are ",
                      hex(facts.header.header.ddspf.dwFlags), ".");
    }
    const Format* known = findUndecodedCode(code);
    if (known == nullptr) return textOf("The code ", codeText(code), " is not known.");
    return textOf("The code ", namedCode(code), " is not decoded: it is ", known->what, ".");
}

std::string notABlockCode(const FileFacts& facts, const Verdict& /*verdict*/) {
    const DDS_HEADER& header = facts.header.header;
    return textOf("The ", formatText(*findCode(header.ddspf.dwFourCC)),
                  " is decoded only when the pixel format has DDPF_FOURCC and the header lacks DDSD_LINEARSIZE; the "
                  "flags are ",
                  hex(header.ddspf.dwFlags), " and ", hex(header.dwFlags), ".");
}

std::string linearSizeNeeded(const FileFacts& facts, const Verdict& /*verdict*/) {
    const DDS_HEADER& header = facts.header.header;
    return textOf("The code ", codeText(header.ddspf.dwFourCC),
                  " is decoded beside DDPF_FOURCC only when the header has DDSD_LINEARSIZE (0x80000); its flags are ",
                  hex(header.dwFlags), ".");
}

std::string underMasks(const Format& row) {
    const Masks masks = masksOf(row);
    const bool hasAlpha = (flagsOfMasks(row) & DDPF_ALPHAPIXELS) != 0;
    return textOf("; the same pixels are read with DDPF_RGB", hasAlpha ? ", DDPF_ALPHAPIXELS" : "", " and the masks ",
                  hex(masks.r), ", ", hex(masks.g), ", ", hex(masks.b), hasAlpha ? ", " + hex(masks.a) : "");
}

std::string dxgiRejected(const FileFacts& facts, const Verdict& /*verdict*/) {
    const std::uint32_t number = facts.dx10Header.dxgiFormat;
    const Format* known = findUndecodedDxgi(number);
    if (known == nullptr) return textOf("The DXGI format ", number, " is not known.");
    const Format* masks = masksOfDxgi(number);
    return textOf("The DXGI format ", dxgiText(number), " is not decoded: it is ", known->what,
                  masks == nullptr ? "" : underMasks(*masks), ".");
}

std::string sideTooLarge(const FileFacts& facts, const Verdict& /*verdict*/) {
    const DDS_HEADER& header = facts.header.header;
    return textOf("A picture of ", header.dwWidth, " x ", header.dwHeight, " has a side of more than ", largestSide,
                  " pixels, the most that a host can be told of.");
}

std::string pictureTooLarge(const FileFacts& facts, const Verdict& verdict) {
    const DDS_HEADER& header = facts.header.header;
    const std::string bytes =
        verdict.pictureBytes == UINT64_MAX ? "2^64 bytes or more" : std::to_string(verdict.pictureBytes) + " bytes";
    return textOf("A picture of ", header.dwWidth, " x ", header.dwHeight, " takes ", bytes,
                  " in memory, more than the ", largestBlock, " that are allowed.");
}

// The data of a code that is not known is asked for all the same.
const char* dataOf(const Verdict& verdict) {
    return verdict.format == nullptr ? "Its data, taken for blocks of 16 bytes, is " : "The data is ";
}

std::string rowTooLarge(const FileFacts& facts, const Verdict& verdict) {
    return textOf("A row of ", facts.header.header.dwWidth, " pixels takes ", verdict.rowBytes,
                  " bytes, more than the ", largestBlock, " that are allowed.");
}

// parts: what the required bytes are made of, in parentheses; may be empty.
std::string missing(const Verdict& verdict, const std::string& parts = "") {
    const std::uint64_t bytes = verdict.bytesExpected - verdict.bytesPresent;
    return textOf(bytesText(bytes), " short: the header requires ", verdict.bytesExpected, parts, ", the file has ",
                  verdict.bytesPresent, ".");
}

std::string dataShort(const FileFacts& /*facts*/, const Verdict& verdict) {
    return textOf(dataOf(verdict), missing(verdict));
}

std::string linearSizeTooLarge(const FileFacts& facts, const Verdict& verdict) {
    const DDS_HEADER& header = facts.header.header;
    const std::uint64_t own = compressedBytes(header.dwWidth, header.dwHeight, blockBytesOf(verdict.format), 0);
    return textOf(dataOf(verdict), missing(verdict), " dwPitchOrLinearSize is ", header.dwPitchOrLinearSize,
                  ", but the top level has ", own, ".");
}

std::string paletteShort(const FileFacts& /*facts*/, const Verdict& verdict) {
    const std::uint32_t palette = paletteBytes(*verdict.format);
    return textOf("Palette and indices are ",
                  missing(verdict, textOf(" (", palette, " for the palette, ", verdict.bytesExpected - palette,
                                          " for the indices)")));
}

constexpr const char* getWhole = "get a whole copy of it";
constexpr const char* exportAnew = "export it in another format, such as BC7 or BC3";
constexpr const char* makeSmaller = "export it smaller";

// A row each.
struct CauseRow {
    Refusal refusal;
    const char* id;
    std::string (*sentence)(const FileFacts&, const Verdict&);
    const char* advice;
};
constexpr CauseRow causeRows[] = {
    {Refusal::headerCut, "header-cut", headerCut, getWhole},
    {Refusal::dx10HeaderCut, "dx10-header-cut", dx10HeaderCut, getWhole},
    {Refusal::nothingNamed, "nothing-named", nothingNamed, exportAnew},
    {Refusal::unknownCode, "unknown-code", unknownCode, exportAnew},
    {Refusal::notABlockCode, "not-a-block-code", notABlockCode, exportAnew},
    {Refusal::linearSizeNeeded, "linear-size-needed", linearSizeNeeded, exportAnew},
    {Refusal::dxgiRejected, "dxgi-not-decoded", dxgiRejected, exportAnew},
    {Refusal::dxgiTooLarge, "dxgi-above-99", dxgiRejected, exportAnew},
    {Refusal::sideTooLarge, "side-too-large", sideTooLarge, makeSmaller},
    {Refusal::pictureTooLarge, "picture-too-large", pictureTooLarge, makeSmaller},
    {Refusal::rowTooLarge, "row-too-large", rowTooLarge, makeSmaller},
    {Refusal::dataShort, "data-short", dataShort, getWhole},
    {Refusal::linearSizeTooLarge, "linear-size-too-large", linearSizeTooLarge, getWhole},
    {Refusal::paletteShort, "palette-short", paletteShort, getWhole},
};

}  // namespace

std::vector<Finding> causesOf(const FileFacts& facts, const Verdict& verdict) {
    if (verdict.result == Result::decoded) return {};
    const std::string other = otherFileText(facts);
    // Of another format, the fields of a header are none.
    if (facts.fileBytes != 0 && !other.empty()) return {{"other-file", "The file " + other + ".", Grade::unreadable}};
    const Grade severity = verdict.result == Result::refused ? Grade::unreadable : Grade::black;
    std::vector<Finding> causes;
    for (const Refusal refusal : {verdict.refusal, verdict.secondRefusal}) {
        for (const CauseRow& row : causeRows) {
            if (row.refusal != refusal) continue;
            causes.push_back({row.id, row.sentence(facts, verdict), severity, causes.empty() ? row.advice : ""});
        }
    }
    return causes;
}

std::string causeText(const FileFacts& facts, const Verdict& verdict) {
    std::string text;
    for (const Finding& cause : causesOf(facts, verdict)) text += (text.empty() ? "" : " ") + cause.sentence;
    return text;
}

}  // namespace kpx
