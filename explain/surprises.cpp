// A surprise is a function that looks for what is odd and says it, or says nothing.
#include "explain/surprises.h"

#include "explain/dx10Header.h"
#include "explain/otherFile.h"
#include "explain/surfaces.h"
#include "explain/text.h"

namespace kpx {
namespace {

// A decoded file as the rules below look at it.
struct Decoded {
    const FileFacts& facts;
    const Verdict& verdict;
    const DDS_HEADER& header;
    const DDS_PIXELFORMAT& loaded;  // the pixel format as its loader leaves it

    bool isMasked() const { return verdict.decoder == Loader::uncompressed; }
    bool hasMaskedColour() const { return isMasked() && verdict.channels != 1; }
    bool isDx10() const { return verdict.loader == Loader::dx10; }
    bool has(unsigned anyTrait) const { return verdict.format->has(anyTrait); }
    bool isKernel(BlockKernel first, BlockKernel second) const {
        return verdict.format->kernel == first || verdict.format->kernel == second;
    }
};

// Each rule gives its sentence, or nothing where it does not hold.

std::string rowsMissing(const Decoded& file) {
    const std::uint64_t rows = file.verdict.wholeRows;
    const std::uint32_t height = file.verdict.height;
    if (rows == height || file.verdict.width == 0) return {};
    return textOf("The file supplies ", rows, " of ", height, " rows in full; what it lacks of the other ",
                  height - rows, " is zero.");
}

std::string rowsPadded(const Decoded& file) {
    const std::uint64_t rowBytes = file.verdict.fileRowBytes;
    const std::uint32_t pitch = file.header.dwPitchOrLinearSize;
    const std::uint32_t height = file.verdict.height;
    if (rowBytes == 0 || (file.header.dwFlags & DDSD_PITCH) == 0 || pitch <= rowBytes || height < 2) return {};
    // Rows that have their padding take this much at least.
    if (file.verdict.bytesPresent < std::uint64_t{pitch} * (height - 1) + rowBytes) return {};
    return textOf("The header states a pitch of ", pitch, " bytes, but rows are read without padding, ", rowBytes,
                  " bytes each: if they are padded, they come out sheared.");
}

std::string noPixels(const Decoded& file) {
    if (file.verdict.width != 0 && file.verdict.height != 0) return {};
    return textOf("The picture has no pixels: it is ", file.verdict.width, " x ", file.verdict.height, ".");
}

std::string hugePicture(const Decoded& file) {
    constexpr std::uint64_t smallestHuge = std::uint64_t{16} << 20;
    constexpr std::uint64_t farLarger = 256;
    if (file.verdict.pictureBytes < smallestHuge) return {};
    if (file.verdict.pictureBytes / farLarger < file.facts.fileBytes) return {};
    return textOf("A file of ", file.facts.fileBytes, " bytes declares a picture that takes ",
                  file.verdict.pictureBytes, " bytes in memory.");
}

std::string dx10HeaderAsPixels(const Decoded& file) {
    const bool isLuminance = file.verdict.decoder == Loader::d3dFormat;
    const bool isPassedBy = (file.isMasked() || isLuminance) && !file.isDx10();
    if (!isPassedBy || file.header.ddspf.dwFourCC != dx10Code || !canHaveDx10Header(file.facts)) return {};
    return textOf("The code is \"DX10\", but the flags ", hex(file.header.ddspf.dwFlags), " name ",
                  isLuminance ? "luminance" : "bit-mask data",
                  ", which comes first: the 20 bytes of the DX10 header are read as the first pixels.");
}

// The bits of a bit-mask pixel.
std::uint32_t pixelBits(const Decoded& file) {
    const std::uint32_t bytes = maskedPixelBytes(file.loaded);
    return bytes >= 4 ? UINT32_MAX : (1U << 8 * bytes) - 1;
}

bool isLuminanceAsRed(const Decoded& file) {
    constexpr std::uint32_t both = DDPF_RGB | DDPF_LUMINANCE;
    const DDS_PIXELFORMAT& format = file.loaded;
    return file.hasMaskedColour() && (format.dwFlags & both) == both && (format.dwRBitMask & pixelBits(file)) != 0 &&
           format.dwGBitMask == 0 && format.dwBBitMask == 0;
}

std::string luminanceAsRed(const Decoded& file) {
    if (!isLuminanceAsRed(file)) return {};
    return "Luminance comes out red: the header has DDPF_RGB beside DDPF_LUMINANCE, and only a red mask.";
}

// A known format that has no blue mask of its own.
bool isTwoChannelRow(const Decoded& file) {
    const Masks& masks = file.verdict.format->masks;
    return file.hasMaskedColour() && masks.r != 0 && masks.g != 0 && masks.b == 0;
}

std::string maskEmpty(const Decoded& file) {
    if (!file.hasMaskedColour() || isLuminanceAsRed(file) || isTwoChannelRow(file)) return {};
    const std::uint32_t pixel = pixelBits(file);
    std::string names;
    const auto look = [&](std::uint32_t mask, const char* name) {
        if ((mask & pixel) == 0) names += (names.empty() ? "" : ", ") + textOf(name, " ", hex(mask));
    };
    look(file.loaded.dwRBitMask, "red");
    look(file.loaded.dwGBitMask, "green");
    look(file.loaded.dwBBitMask, "blue");
    if (names.empty()) return {};
    return textOf("Colour is 0 where its mask selects no bit of the pixel: ", names, ".");
}

// Formats that are known by name to have fewer channels than three.
std::string channelAbsent(const Decoded& file) {
    if (!isTwoChannelRow(file)) return {};
    return textOf("The format ", file.verdict.format->name, " has no blue; blue is 0.");
}

std::string alphaMaskZero(const Decoded& file) {
    if (!file.isMasked() || file.verdict.channels == 3 || file.loaded.dwABitMask != 0) return {};
    return "Alpha is 0 everywhere, as the header promises alpha but its alpha mask is 0.";
}

std::string bitCountTooSmall(const Decoded& file) {
    const std::uint32_t bits = file.header.ddspf.dwRGBBitCount;
    if (!file.isMasked() || file.isDx10() || bits >= 8) return {};
    return textOf("dwRGBBitCount is ", bits, ": a pixel is taken to have a byte for each channel, ",
                  maskedPixelBytes(file.loaded), " in all.");
}

std::string masksReversed(const Decoded& file) {
    const DDS_PIXELFORMAT& format = file.header.ddspf;
    const bool isReversed =
        format.dwRBitMask == 0x3FF00000 && format.dwGBitMask == 0xFFC00 && format.dwBBitMask == 0x3FF;
    if (!file.hasMaskedColour() || file.isDx10() || !isReversed || pixelBits(file) != UINT32_MAX) return {};
    return "The 10-10-10-2 masks have red at the top (0x3FF00000). They are followed, but an old writer is known to "
           "reverse them: red and blue may be exchanged.";
}

std::string xAsAlpha(const Decoded& file) {
    if (!file.has(ignoresAlpha)) return {};
    return textOf("The fourth byte of a pixel is delivered as alpha, although ", file.verdict.format->name,
                  " leaves it without meaning.");
}

std::string premultipliedDivided(const Decoded& file) {
    if (!file.has(isPremultiplied)) return {};
    return "The colours are premultiplied; they are divided by alpha on reading.";
}

std::string premultipliedKept(const Decoded& file) {
    const bool isStated = (file.facts.dx10Header.miscFlags2 & alphaModeMask) == alphaModePremultiplied;
    if (!file.isDx10() || !isStated || file.has(isPremultiplied)) return {};
    return "The DX10 header says that the colours are premultiplied; they are delivered as they are stored.";
}

std::string srgbKept(const Decoded& file) {
    if (!file.has(isSrgb)) return {};
    return "The colours are sRGB; they are delivered as they are stored, without conversion.";
}

std::string integerAsNormalised(const Decoded& file) {
    if (!file.has(isInteger)) return {};
    return textOf("The integers of ", file.verdict.format->name, " are read as unsigned normalised values.");
}

std::string typelessAsNormalised(const Decoded& file) {
    if (!file.has(isTypeless)) return {};
    return textOf(file.verdict.format->name, " does not state the type of its values; they are read as unsigned.");
}

std::string signedShifted(const Decoded& file) {
    if (file.verdict.bits != 8 || !file.has(isSnorm | isSigned)) return {};
    return "The values are signed, -1 to 1; they are shifted to bytes of 0 to 255, with 0 in the middle.";
}

std::string signedAsUnsigned(const Decoded& file) {
    constexpr std::uint32_t q16w16v16u16 = 110;
    if (file.verdict.format->namedBy != NamedBy::code || file.verdict.format->id != q16w16v16u16) return {};
    return "The values are signed, but are read as unsigned ones: negative values come out bright.";
}

std::string highByteOnly(const Decoded& file) {
    if (!file.has(highBytes)) return {};
    return "Of each 16-bit value the high byte is kept.";
}

std::string blueMissing(const Decoded& file) {
    if (!file.isKernel(BlockKernel::bc5Unsigned, BlockKernel::bc5Signed)) return {};
    return "Only red and green are stored, as of a normal map; blue is 0.";
}

std::string normalMap(const Decoded& file) {
    if ((file.header.ddspf.dwFlags & DDPF_NORMAL) == 0) return {};
    return "The file is marked as a normal map (flag 0x80000000), whose x may be stored as alpha; the channels are "
           "delivered as they are stored.";
}

// Whether pictures behind the first one are declared: all that are, but for mipmaps.
std::string firstOfMany(const Decoded& file) {
    Contents others = contentsOf(file.facts, file.verdict);
    others.levels = 1;
    const std::string declared = contentsText(others);
    if (declared.empty()) return {};
    return textOf("The file has ", declared, "; only the first picture is read.");
}

std::string picturesMissing(const Decoded& file) {
    if (file.verdict.width == 0 || file.verdict.height == 0) return {};
    const SurfaceLayout layout = surfaceLayout(file.facts, file.verdict);
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole == 0 || whole == layout.count) return {};
    return textOf("Of ", layout.count == UINT64_MAX ? "2^64 or more" : std::to_string(layout.count),
                  " pictures that the header declares, mipmaps included, ", whole, whole == 1 ? " is" : " are",
                  " whole in the file.");
}

std::string levelsImpossible(const Decoded& file) {
    const std::uint32_t declared = file.header.dwMipMapCount;
    const std::uint32_t possible = surfaceLayout(file.facts, file.verdict).contents.levels;
    if (file.verdict.width == 0 || file.verdict.height == 0 || declared <= possible) return {};
    return textOf("The header declares ", declared, " mipmap levels; a picture of ", file.verdict.width, " x ",
                  file.verdict.height, " has ", possible, " at most.");
}

struct SurpriseRow {
    const char* id;
    Grade severity;
    std::string (*sentence)(const Decoded&);
    const char* advice = "";
};
constexpr SurpriseRow surpriseRows[] = {
    {"rows-missing", Grade::wrong, rowsMissing, "get a whole copy of it"},
    {"rows-padded", Grade::suspect, rowsPadded, "if it is sheared, export it without padded rows"},
    {"no-pixels", Grade::wrong, noPixels, "export it again"},
    {"huge-picture", Grade::suspect, hugePicture, "compare its size with what it should be"},
    {"dx10-header-as-pixels", Grade::wrong, dx10HeaderAsPixels},
    {"luminance-as-red", Grade::wrong, luminanceAsRed, "take its red channel for grey"},
    {"mask-empty", Grade::suspect, maskEmpty, "if colour is missing, export it again"},
    {"channel-absent", Grade::noted, channelAbsent},
    {"alpha-mask-zero", Grade::wrong, alphaMaskZero, "export it again with the mask that it has"},
    {"bit-count-too-small", Grade::suspect, bitCountTooSmall, "if it is garbled, export it again"},
    {"masks-reversed", Grade::suspect, masksReversed, "if red and blue are swapped, export it again"},
    {"x-as-alpha", Grade::suspect, xAsAlpha, "\"kpximage convert --opaque\" leaves that alpha out"},
    {"premultiplied-divided", Grade::noted, premultipliedDivided},
    {"premultiplied-kept", Grade::suspect, premultipliedKept,
     "if its edges are dark, have it exported with straight alpha"},
    {"srgb-kept", Grade::noted, srgbKept},
    {"integer-as-normalised", Grade::noted, integerAsNormalised},
    {"typeless-as-unsigned", Grade::noted, typelessAsNormalised},
    {"signed-shifted", Grade::noted, signedShifted},
    {"signed-as-unsigned", Grade::wrong, signedAsUnsigned},
    {"high-byte-only", Grade::noted, highByteOnly},
    {"blue-missing", Grade::noted, blueMissing, "\"kpximage convert --swizzle rgz\" works blue out"},
    {"normal-map", Grade::suspect, normalMap, "\"kpximage gallery\" shows its channels apart"},
    {"first-of-many", Grade::noted, firstOfMany, "\"kpximage split\" writes each picture to a file"},
    {"pictures-missing", Grade::suspect, picturesMissing, "get a whole copy of it"},
    {"levels-impossible", Grade::suspect, levelsImpossible},
};

}  // namespace

std::vector<Finding> surprisesOf(const FileFacts& facts, const Verdict& verdict) {
    std::vector<Finding> surprises;
    if (verdict.result != Result::refused && !startsAsDds(facts)) {
        surprises.push_back({"not-recognised", "The file does not start with \"DDS\": it is not recognised as one.",
                             Grade::unreadable});
    }
    if (verdict.result != Result::decoded) return surprises;
    const std::string other = otherFileText(facts);
    if (!other.empty()) return {{"other-file", "The file " + other + ".", Grade::unreadable}, surprises.front()};
    const Decoded file{facts, verdict, facts.header.header, verdict.pixelFormat};
    for (const SurpriseRow& row : surpriseRows) {
        const std::string sentence = row.sentence(file);
        if (!sentence.empty()) surprises.push_back({row.id, sentence, row.severity, row.advice});
    }
    return surprises;
}

}  // namespace kpx
