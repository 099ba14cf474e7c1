// Writes a sentence for each reason why a file has no picture, and for each surprise in a decoded one, with values from
// its header.
#include "explain/findings.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "dds/dataSize.h"
#include "explain/names.h"
#include "explain/surfaces.h"
#include "explain/text.h"

namespace kpx {
namespace {

using Findings = std::vector<Finding>;
using enum Grade;

// Adds a finding whose sentence consists of the parts.
template <typename... Parts>
void add(Findings& findings, Grade severity, const char* id, const char* advice, const Parts&... parts) {
    findings.push_back({id, textOf(parts...), severity, advice});
}

// Likewise for a cause. The caller sets the severity.
template <typename... Parts>
Finding cause(const char* id, const char* advice, const Parts&... parts) {
    return {id, textOf(parts...), black, advice};
}

constexpr const char* getWhole = "get a complete copy";
constexpr const char* exportOther = "export it in another format, such as BC7 or BC3";
constexpr const char* makeSmaller = "export it smaller";

std::string sizeText(const DDS_HEADER& header) {
    return textOf(header.dwWidth, " x ", header.dwHeight);
}

std::string countText(std::uint64_t count) {
    return count == UINT64_MAX ? "2^64 or more" : std::to_string(count);
}

std::string nothingNamed(std::uint32_t flags) {
    const Format* row = findUndecodedFlag(flags);
    if (row == nullptr)
        return textOf("The header names no format: the code is 0, and none of the pixel-format flags (", hex(flags),
                      ") names one.");
    return textOf("The pixel format is named by ", row->name, " (flags ", hex(flags), "): ", row->what,
                  " are not decoded.");
}

// row: of the format, which is not decoded; null if it is not known.
std::string notDecoded(const Format* row, const std::string& name) {
    return row == nullptr ? textOf(name, " is not known.") : textOf(name, " is not decoded: it is ", row->what, ".");
}

std::string unknownCode(const DDS_PIXELFORMAT& format) {
    const std::uint32_t code = format.dwFourCC;
    if (code == 0) return "The pixel-format flags say that a code names the format, but the code is 0.";
    if (code == dx10Code)
        return textOf("The code \"DX10\" counts only with DDPF_FOURCC (0x4); the pixel-format flags are ",
                      hex(format.dwFlags), ".");
    return notDecoded(findUndecodedCode(code), "The code " + namedCode(code));
}

std::string missingDataText(const Verdict& verdict) {
    // The data must be complete even if its code is unknown.
    return textOf(verdict.format == nullptr ? "The data, taken as blocks of 16 bytes, is " : "The data is ",
                  bytesText(verdict.bytesExpected - verdict.bytesPresent), " short: the header requires ",
                  verdict.bytesExpected, ", the file has ", verdict.bytesPresent, ".");
}

std::string tooLarge(const std::string& what, std::uint64_t bytes) {
    return textOf(what, " takes ", countText(bytes), " bytes in memory, more than the limit of ", largestBlock, ".");
}

// Returns the finding of a refusal. Its severity is set by the caller.
Finding causeOf(Refusal refusal, const FileFacts& facts, const Verdict& verdict) {
    const DDS_HEADER& header = facts.header.header;
    const DDS_PIXELFORMAT& format = header.ddspf;
    const std::uint32_t dxgi = facts.dx10Header.dxgiFormat;
    switch (refusal) {
        case Refusal::headerCut:
            if (facts.fileBytes == 0) return cause("header-cut", getWhole, "The file is empty.");
            return cause("header-cut", getWhole, "The file has ", bytesText(facts.fileBytes), "; the header alone has ",
                         sizeof(DdsFileHeader), ".");
        case Refusal::dx10HeaderCut:
            return cause("dx10-header-cut", getWhole, "The file ends after ", facts.fileBytes,
                         " bytes, inside the DX10 header, which has bytes ", sizeof(DdsFileHeader), " to ",
                         factBytes - 1, ".");
        case Refusal::nothingNamed:
            return cause("nothing-named", exportOther, nothingNamed(format.dwFlags));
        case Refusal::unknownCode:
            return cause("unknown-code", exportOther, unknownCode(format));
        case Refusal::notABlockCode:
            return cause("not-a-block-code", exportOther, "The ", formatText(*findCode(format.dwFourCC)),
                         " is decoded only with DDPF_FOURCC in the pixel format and without DDSD_LINEARSIZE in the "
                         "header; the flags are ",
                         hex(format.dwFlags), " and ", hex(header.dwFlags), ".");
        case Refusal::linearSizeNeeded:
            return cause(
                "linear-size-needed", exportOther, "The code ", codeText(format.dwFourCC),
                " with DDPF_FOURCC is decoded only if the header has DDSD_LINEARSIZE (0x80000); its flags are ",
                hex(header.dwFlags), ".");
        case Refusal::dxgiRejected:
        case Refusal::dxgiTooLarge:
            return cause(refusal == Refusal::dxgiRejected ? "dxgi-not-decoded" : "dxgi-above-99", exportOther,
                         notDecoded(findUndecodedDxgi(dxgi), "The DXGI format " + dxgiText(dxgi)));
        case Refusal::sideTooLarge:
            return cause("side-too-large", makeSmaller, "A picture of ", sizeText(header), " has a side of more than ",
                         largestSide, " pixels, the most that a host supports.");
        case Refusal::pictureTooLarge:
            return cause("picture-too-large", makeSmaller,
                         tooLarge("A picture of " + sizeText(header), verdict.pictureBytes));
        case Refusal::rowTooLarge:
            return cause("row-too-large", makeSmaller,
                         tooLarge(textOf("A row of ", header.dwWidth, " pixels"), verdict.rowBytes));
        case Refusal::dataShort:
            return cause("data-short", getWhole, missingDataText(verdict));
        case Refusal::linearSizeTooLarge:
            return cause("linear-size-too-large", getWhole, missingDataText(verdict), " dwPitchOrLinearSize is ",
                         header.dwPitchOrLinearSize, ", but the top level has ",
                         compressedBytes(header.dwWidth, header.dwHeight, blockBytesOf(verdict.format), 0), ".");
        case Refusal::paletteShort:
            return cause("palette-short", getWhole, missingDataText(verdict));
        case Refusal::none:
            break;
    }
    return {};
}

// The surprises of a file that is decoded, in the order in which they are reported.

void addDataSurprises(const FileFacts& facts, const Verdict& verdict, Findings& findings) {
    constexpr std::uint64_t smallestHuge = std::uint64_t{16} << 20;
    constexpr std::uint64_t farLarger = 256;
    const DDS_HEADER& header = facts.header.header;
    const std::uint64_t rowBytes = verdict.fileRowBytes;
    const std::uint32_t pitch = header.dwPitchOrLinearSize, height = verdict.height;
    if (verdict.wholeRows != height && verdict.width != 0)
        add(findings, wrong, "rows-missing", getWhole, "Only ", verdict.wholeRows, " of ", height,
            " rows are complete; missing values are 0.");
    const bool isPadded = rowBytes != 0 && (header.dwFlags & DDSD_PITCH) != 0 && pitch > rowBytes && height >= 2;
    // Padded rows take at least this much.
    if (isPadded && verdict.bytesPresent >= std::uint64_t{pitch} * (height - 1) + rowBytes)
        add(findings, suspect, "rows-padded", "if it is sheared, export it without padded rows",
            "The header states a pitch of ", pitch, " bytes, but rows are read without padding, ", rowBytes,
            " bytes each. If they are padded, the picture is sheared.");
    if (verdict.width == 0 || height == 0)
        add(findings, wrong, "no-pixels", "export it again", "The picture has no pixels: it is ", sizeText(header),
            ".");
    if (verdict.pictureBytes >= smallestHuge && verdict.pictureBytes / farLarger >= facts.fileBytes)
        add(findings, suspect, "huge-picture", "compare its size with what it should be", "The file has ",
            facts.fileBytes, " bytes, but declares a picture of ", verdict.pictureBytes, " bytes in memory.");
    const bool isLuminance = verdict.decoder == Loader::d3dFormat;
    const bool isSkipped = (isLuminance || verdict.decoder == Loader::uncompressed) && verdict.loader != Loader::dx10;
    if (isSkipped && header.ddspf.dwFourCC == dx10Code && canHaveDx10Header(facts))
        add(findings, wrong, "dx10-header-as-pixels", "", "The code is \"DX10\", but the flags ",
            hex(header.ddspf.dwFlags), " name ", isLuminance ? "luminance" : "bit-mask data",
            " and take precedence: the 20 bytes of the DX10 header are read as the first pixels.");
}

// Adds the surprises of the colour masks.
void addColourMasks(const DDS_PIXELFORMAT& format, const Format& row, std::uint32_t pixel, Findings& findings) {
    constexpr std::uint32_t both = DDPF_RGB | DDPF_LUMINANCE;
    const bool isRedOnly = (format.dwRBitMask & pixel) != 0 && format.dwGBitMask == 0 && format.dwBBitMask == 0;
    if ((format.dwFlags & both) == both && isRedOnly)
        return add(findings, wrong, "luminance-as-red", "use its red channel as grey",
                   "Luminance is shown as red: the header has DDPF_RGB with DDPF_LUMINANCE, and only a red mask.");
    // A known format that has no blue.
    if (row.masks.r != 0 && row.masks.g != 0 && row.masks.b == 0)
        return add(findings, noted, "channel-absent", "", "The format ", row.name, " has no blue; blue is 0.");
    std::string names;
    for (const auto& [name, mask] : {std::pair{"red", format.dwRBitMask}, std::pair{"green", format.dwGBitMask},
                                     std::pair{"blue", format.dwBBitMask}}) {
        if ((mask & pixel) == 0) names += textOf(names.empty() ? "" : ", ", name, " ", hex(mask));
    }
    if (!names.empty())
        add(findings, suspect, "mask-empty", "if colour is missing, export it again",
            "Some masks select no bit of the pixel, so their channels are 0 everywhere: ", names, ".");
}

void addMaskSurprises(const FileFacts& facts, const Verdict& verdict, Findings& findings) {
    if (verdict.decoder != Loader::uncompressed) return;
    const DDS_PIXELFORMAT& named = facts.header.header.ddspf;
    const DDS_PIXELFORMAT& format = verdict.pixelFormat;
    const bool isDx10 = verdict.loader == Loader::dx10;
    const bool hasColour = verdict.channels != 1;
    const std::uint32_t bytes = maskedPixelBytes(format);
    if (hasColour) addColourMasks(format, *verdict.format, bytes >= 4 ? UINT32_MAX : (1U << 8 * bytes) - 1, findings);
    if (verdict.channels != 3 && format.dwABitMask == 0)
        add(findings, wrong, "alpha-mask-zero", "export it again with the mask of its alpha",
            "The header declares alpha, but the alpha mask is 0, so alpha is 0 everywhere.");
    if (!isDx10 && named.dwRGBBitCount < 8)
        add(findings, suspect, "bit-count-too-small", "if it is garbled, export it again", "dwRGBBitCount is ",
            named.dwRGBBitCount, ", so each pixel is assumed to have one byte per channel, ", bytes, " in all.");
    const bool isReversed = named.dwRBitMask == 0x3FF00000 && named.dwGBitMask == 0xFFC00 && named.dwBBitMask == 0x3FF;
    if (isReversed && hasColour && !isDx10 && bytes >= 4)
        add(findings, suspect, "masks-reversed", "if red and blue are swapped, export it again",
            "The 10-10-10-2 masks have red at the top (0x3FF00000). They are honoured, but some old "
            "exporters write them reversed.");
}

void addValueSurprises(const FileFacts& facts, const Verdict& verdict, Findings& findings) {
    const Format& format = *verdict.format;
    if (format.has(ignoresAlpha))
        add(findings, suspect, "x-as-alpha", "`kpximage convert --opaque` drops that alpha",
            "The fourth byte of a pixel is delivered as alpha, although ", format.name, " does not use it.");
    const bool isStated = (facts.dx10Header.miscFlags2 & alphaModeMask) == alphaModePremultiplied;
    if (format.has(isPremultiplied))
        add(findings, noted, "premultiplied-divided", "",
            "The colours are premultiplied; they are divided by alpha on reading.");
    else if (isStated && verdict.loader == Loader::dx10)
        add(findings, suspect, "premultiplied-kept", "if its edges are dark, export it with straight alpha",
            "The DX10 header says that the colours are premultiplied; they are delivered as stored.");
    if (format.has(isSrgb))
        add(findings, noted, "srgb-kept", "",
            "The colours are sRGB; they are delivered as stored, without conversion.");
    if (format.has(isInteger))
        add(findings, noted, "integer-as-normalised", "", "The integers of ", format.name,
            " are read as unsigned normalised values.");
    if (format.has(isTypeless))
        add(findings, noted, "typeless-as-unsigned", "", format.name,
            " does not state the type of its values; they are read as unsigned.");
    if (verdict.bits == 8 && format.has(isSnorm | isSigned))
        add(findings, noted, "signed-shifted", "",
            "The values are signed, -1 to 1; they are shifted to bytes of 0 to 255, with 0 in the "
            "middle.");
    constexpr std::uint32_t q16w16v16u16 = 110;
    if (format.namedBy == NamedBy::code && format.id == q16w16v16u16)
        add(findings, wrong, "signed-as-unsigned", "",
            "The values are signed, but are read as unsigned: negative values look bright.");
    if (format.has(highBytes))
        add(findings, noted, "high-byte-only", "", "Only the high byte of each 16-bit value is used.");
    if (format.kernel == BlockKernel::bc5Unsigned || format.kernel == BlockKernel::bc5Signed)
        add(findings, noted, "blue-missing", "`kpximage convert --swizzle rgz` reconstructs blue",
            "Only red and green are stored, as in a normal map; blue is 0.");
    if ((facts.header.header.ddspf.dwFlags & DDPF_NORMAL) != 0)
        add(findings, suspect, "normal-map", "if x is in alpha, `kpximage convert --swizzle agz1` unpacks it",
            "The file is flagged as a normal map (0x80000000), in which x may be stored as alpha; the "
            "channels are delivered as stored.");
}

void addPictureSurprises(const FileFacts& facts, const Verdict& verdict, Findings& findings) {
    Contents others = contentsOf(facts, verdict);
    others.levels = 1;
    const std::string declared = contentsText(others);
    if (!declared.empty())
        add(findings, noted, "first-of-many", "`kpximage split` writes each picture to a file", "The file has ",
            declared, "; only the first picture is read.");
    if (verdict.width == 0 || verdict.height == 0) return;
    const SurfaceLayout layout = surfaceLayout(facts, verdict);
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole != 0 && whole != layout.count)
        add(findings, suspect, "pictures-missing", getWhole, "Only ", whole, " of the ", countText(layout.count),
            " pictures declared in the header (mipmaps included) are complete.");
    const std::uint32_t levels = facts.header.header.dwMipMapCount;
    if (levels > layout.contents.levels)
        add(findings, suspect, "levels-impossible", "", "The header declares ", levels,
            " mipmap levels, but a picture of ", sizeText(facts.header.header), " has at most ", layout.contents.levels,
            ".");
}

}  // namespace

const char* gradeName(Grade grade) {
    constexpr const char* names[] = {"right", "noted", "suspect", "wrong", "black", "unreadable"};
    static_assert(std::size(names) == static_cast<std::size_t>(Grade::unreadable) + 1);
    return names[static_cast<std::size_t>(grade)];
}

Grade gradeOf(const std::vector<Finding>& findings) {
    Grade grade = Grade::right;
    for (const Finding& finding : findings) grade = std::max(grade, finding.severity);
    return grade;
}

std::vector<Finding> causesOf(const FileFacts& facts, const Verdict& verdict) {
    const std::string notDds = notDdsText(facts);
    // If the file is not DDS, the bytes in the place of the header have no meaning.
    if (!notDds.empty() && facts.fileBytes != 0) {
        const char* id = otherFileText(facts).empty() ? "not-recognised" : "other-file";
        return {{id, "The file " + notDds + ".", Grade::unreadable}};
    }
    if (verdict.result == Result::decoded) return {};
    std::vector<Finding> causes;
    for (const Refusal refusal : {verdict.refusal, verdict.secondRefusal}) {
        if (refusal == Refusal::none) continue;
        causes.push_back(causeOf(refusal, facts, verdict));
        causes.back().severity = verdict.result == Result::refused ? Grade::unreadable : Grade::black;
        if (causes.size() > 1) causes.back().advice = "";
    }
    return causes;
}

std::vector<Finding> surprisesOf(const FileFacts& facts, const Verdict& verdict) {
    if (verdict.result != Result::decoded || !startsAsDds(facts)) return {};
    std::vector<Finding> surprises;
    for (const auto addSurprises : {addDataSurprises, addMaskSurprises, addValueSurprises, addPictureSurprises})
        addSurprises(facts, verdict, surprises);
    return surprises;
}

}  // namespace kpx
