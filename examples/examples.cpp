// The table of examples, one row per file. Faults are functions that damage a good file.
#include "examples/examples.h"

#include <algorithm>

#include "examples/encoders/encoders.h"
#include "examples/pictures/painters.h"

namespace kpx::example {
namespace {

constexpr Size usual{80, 64};
constexpr Size odd{61, 45};  // not multiples of 2

constexpr Masks bgr{0xFF0000, 0xFF00, 0xFF, 0};
constexpr Masks bgra{0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr Masks rgba{0xFF, 0xFF00, 0xFF0000, 0xFF000000};
constexpr Masks abgr{0xFF000000, 0xFF0000, 0xFF00, 0xFF};
constexpr Masks rgb10a2{0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};
constexpr Encoder rgb10a2Fields = fields<32, rgb10a2.r, rgb10a2.g, rgb10a2.b, rgb10a2.a>;
constexpr Encoder bgraFields = fields<32, bgra.r, bgra.g, bgra.b, bgra.a>;
constexpr Encoder rgbaFields = fields<32, rgba.r, rgba.g, rgba.b, rgba.a>;

void setLinearSizeOfAllLevels(DdsFile& file) {
    file.header.header.dwPitchOrLinearSize = static_cast<std::uint32_t>(file.data.size() / 3 * 4);
}

void clearLinearSizeFlag(DdsFile& file) {
    file.header.header.dwFlags &= ~DDSD_LINEARSIZE;
}

void padRowsToFourBytes(DdsFile& file) {
    const std::size_t pitch = file.data.size() / file.header.header.dwHeight;
    const std::size_t padded = (pitch + 3) / 4 * 4;
    Bytes rows;
    for (std::size_t start = 0; start < file.data.size(); start += pitch) {
        const auto row = file.data.begin() + static_cast<Bytes::difference_type>(start);
        rows.insert(rows.end(), row, row + static_cast<Bytes::difference_type>(pitch));
        rows.resize((rows.size() + padded - 1) / padded * padded);
    }
    file.data = rows;
    file.header.header.dwPitchOrLinearSize = static_cast<std::uint32_t>(padded);
}

void loseHalfOfData(DdsFile& file) {
    file.data.resize(file.data.size() / 2);
}

// The two-channel bump map of old games: signed, with a flag that readers of colour do not know.
constexpr Naming bumpMap{DDPF_BUMPDUDV, 0, 16, {0xFF, 0xFF00, 0, 0}, 0, 0, DDSD_PITCH};

constexpr Example rows[] = {
    // bit masks
    {"masks-bgr24", masks(24, bgr), masked, testCard, usual},
    {"masks-bgr24-odd", masks(24, bgr), masked, testCard, odd},
    {"masks-bgrx32", masks(32, bgr), masked, testCard, usual},
    {"masks-bgra32", masks(32, bgra), masked, testCard, usual},
    {"masks-rgba32", masks(32, rgba), masked, testCard, usual},
    {"masks-abgr32", masks(32, abgr), masked, testCard, usual},
    {"masks-r5g6b5", masks(16, {0xF800, 0x7E0, 0x1F, 0}), masked, testCard, usual},
    {"masks-a1r5g5b5", masks(16, {0x7C00, 0x3E0, 0x1F, 0x8000}), masked, testCard, usual},
    {"masks-a4r4g4b4", masks(16, {0xF00, 0xF0, 0xF, 0xF000}), masked, testCard, usual},
    {"masks-r3g3b2", masks(8, {0xE0, 0x1C, 0x3, 0}), masked, testCard, usual},
    {"masks-a2b10g10r10", masks(32, rgb10a2), masked, testCard, usual},
    {"masks-g16r16", masks(32, {0xFFFF, 0xFFFF0000, 0, 0}), masked, normals, usual},
    {"alpha-8", alphaOnly(8, 0xFF), masked, testCard, usual},
    {"luminance-8", luminance(8, {0xFF, 0, 0, 0}), channels<unorm8, 0>, greyCard, usual},
    {"luminance-16", luminance(16, {0xFFFF, 0, 0, 0}), channels<unorm16, 0>, greyCard, odd},
    {"luminance-8-alpha-8", luminance(16, {0xFF, 0, 0, 0xFF00}), channels<unorm8, 0, 3>, greyCard, usual},

    // palettes
    {"palette-8", palette(DDPF_PALETTEINDEXED8, 8), palette8, heights, usual},
    {"palette-4", palette(DDPF_PALETTEINDEXED4, 4), palette4, heights, usual},
    {"palette-4-odd", palette(DDPF_PALETTEINDEXED4, 4), palette4, heights, odd},
    {"palette-4-of-256", palette(DDPF_PALETTEINDEXEDTO8, 8), palette4Of256, heights, usual},

    // blocks named by four characters
    {"dxt1", blocks("DXT1"), bc1, opaqueCard, usual},
    {"dxt1-transparent", blocks("DXT1"), bc1, testCard, usual},
    {"dxt1-odd", blocks("DXT1"), bc1, testCard, odd},
    {"dxt2", blocks("DXT2"), bc2Premultiplied, testCard, usual},
    {"dxt3", blocks("DXT3"), bc2, testCard, usual},
    {"dxt4", blocks("DXT4"), bc3Premultiplied, testCard, usual},
    {"dxt5", blocks("DXT5"), bc3, testCard, usual},
    {"dxt5-no-linear-size", blocks("DXT5"), bc3, testCard, odd, Outcome::decoded, clearLinearSizeFlag},
    {"bc4u", blocks("BC4U"), bc4Unsigned, heights, usual},
    {"bc4s", blocks("BC4S"), bc4Signed, heights, usual},
    {"ati2", blocks("ATI2"), bc5Unsigned, normals, usual},
    {"bc5u", blocks("BC5U"), bc5Unsigned, normals, usual},
    {"bc5s", blocks("BC5S"), bc5Signed, normals, usual},
    {"dxt6-bc6h", blocks("DXT6"), bc6hUnsigned, sky, usual},
    {"dxt7-bc7", blocks("DXT7"), bc7, heights, usual},

    // codes
    {"code-34-g16r16", code(34), channels<unorm16, 0, 1>, normals, usual},
    {"code-36-rgba16", code(36), channels<unorm16, 0, 1, 2, 3>, testCard, usual},
    // The code of signed values, which are read as unsigned.
    {"code-110-rgba16", code(110), channels<unorm16, 0, 1, 2, 3>, testCard, usual},
    {"code-111-r16f", code(111), channels<half, 0>, sky, usual},
    {"code-112-rg16f", code(112), channels<half, 0, 1>, sky, usual},
    {"code-113-rgba16f", code(113), channels<half, 0, 1, 2, 3>, sky, usual},
    {"code-114-r32f", code(114), channels<single, 0>, sky, usual},
    {"code-115-rg32f", code(115), channels<single, 0, 1>, sky, usual},
    {"code-116-rgba32f", code(116), channels<single, 0, 1, 2, 3>, sky, odd},
    {"code-134-single16", code(CODE_SINGLE16), channels<unorm16, 0>, greyCard, usual},
    {"code-135-dual8", code(CODE_DUAL8), channels<unorm8, 0, 1>, normals, usual},
    {"code-136-single8", code(CODE_SINGLE8), channels<unorm8, 0>, greyCard, usual},
    {"rgbg", code(fourCC("RGBG")), pairsRGBG, testCard, usual},
    {"grgb", code(fourCC("GRGB")), pairsGRGB, testCard, usual},
    {"grgb-odd", code(fourCC("GRGB")), pairsGRGB, testCard, odd},

    // DXGI formats
    {"dx10-2-rgba32f", dx10(2), channels<single, 0, 1, 2, 3>, sky, usual},
    {"dx10-6-rgb32f", dx10(6), channels<single, 0, 1, 2>, sky, usual},
    {"dx10-10-rgba16f", dx10(10), channels<half, 0, 1, 2, 3>, sky, usual},
    {"dx10-11-rgba16", dx10(11), channels<unorm16, 0, 1, 2, 3>, testCard, usual},
    {"dx10-13-rgba16-snorm", dx10(13), channels<snorm16, 0, 1, 2, 3>, testCard, usual},
    {"dx10-16-rg32f", dx10(16), channels<single, 0, 1>, sky, usual},
    {"dx10-24-rgb10a2", dx10(24), rgb10a2Fields, testCard, usual},
    {"dx10-26-r11g11b10f", dx10(26), r11g11b10, sky, usual},
    {"dx10-28-rgba8", dx10(28), rgbaFields, testCard, usual},
    {"dx10-31-rgba8-snorm", dx10(31), channels<snorm8, 0, 1, 2, 3>, testCard, usual},
    {"dx10-34-rg16f", dx10(34), channels<half, 0, 1>, sky, usual},
    {"dx10-35-rg16", dx10(35), channels<unorm16, 0, 1>, normals, usual},
    {"dx10-37-rg16-snorm", dx10(37), channels<snorm16, 0, 1>, normals, usual},
    {"dx10-41-r32f", dx10(41), channels<single, 0>, sky, usual},
    {"dx10-49-rg8", dx10(49), channels<unorm8, 0, 1>, normals, usual},
    {"dx10-51-rg8-snorm", dx10(51), channels<snorm8, 0, 1>, normals, usual},
    {"dx10-54-r16f", dx10(54), channels<half, 0>, sky, usual},
    {"dx10-56-r16", dx10(56), channels<unorm16, 0>, greyCard, usual},
    {"dx10-58-r16-snorm", dx10(58), channels<snorm16, 0>, greyCard, usual},
    {"dx10-61-r8", dx10(61), channels<unorm8, 0>, greyCard, odd},
    {"dx10-63-r8-snorm", dx10(63), channels<snorm8, 0>, greyCard, usual},
    {"dx10-65-a8", dx10(65), channels<unorm8, 3>, testCard, usual},
    {"dx10-67-rgb9e5", dx10(67), r9g9b9e5, sky, usual},
    {"dx10-68-rgbg", dx10(68), pairsRGBG, testCard, usual},
    {"dx10-69-grgb", dx10(69), pairsGRGB, testCard, usual},
    {"dx10-71-bc1", dx10Blocks(71), bc1, testCard, usual},
    {"dx10-74-bc2", dx10Blocks(74), bc2, testCard, usual},
    {"dx10-77-bc3", dx10Blocks(77), bc3, testCard, usual},
    {"dx10-77-premultiplied", dx10Blocks(77, alphaModePremultiplied), bc3Premultiplied, testCard, usual},
    {"dx10-80-bc4", dx10Blocks(80), bc4Unsigned, heights, usual},
    {"dx10-81-bc4-snorm", dx10Blocks(81), bc4Signed, heights, usual},
    {"dx10-83-bc5", dx10Blocks(83), bc5Unsigned, normals, usual},
    {"dx10-84-bc5-snorm", dx10Blocks(84), bc5Signed, normals, usual},
    {"dx10-87-bgra8", dx10(87), bgraFields, testCard, usual},
    {"dx10-88-bgrx8", dx10(88), bgraFields, opaqueCard, usual},
    {"dx10-95-bc6h-uf16", dx10Blocks(95), bc6hUnsigned, sky, usual},
    {"dx10-95-bc6h-odd", dx10Blocks(95), bc6hUnsigned, sky, odd},
    {"dx10-96-bc6h-sf16", dx10Blocks(96), bc6hSigned, signedWaves, usual},
    {"dx10-98-bc7", dx10Blocks(98), bc7, testCard, usual},
    {"dx10-99-bc7-srgb-odd", dx10Blocks(99), bc7, testCard, odd},

    // faults and formats that are not decoded
    {"bad/linear-size-too-large", blocks("DXT1"), bc1, testCard, usual, Outcome::fallback, setLinearSizeOfAllLevels},
    {"bad/ati1-code", blocks("ATI1"), bc4Unsigned, heights, usual, Outcome::fallback},
    {"bad/rxgb-code", blocks("RXGB"), bc3, testCard, usual, Outcome::fallback},
    {"bad/bc5u-without-linear-size", blocks("BC5U"), bc5Unsigned, normals, usual, Outcome::fallback,
     clearLinearSizeFlag},
    {"bad/bc5s-without-linear-size", blocks("BC5S"), bc5Signed, normals, usual, Outcome::fallback, clearLinearSizeFlag},
    {"bad/code-25-a1r5g5b5", code(25), fields<16, 0x7C00, 0x3E0, 0x1F, 0x8000>, testCard, usual, Outcome::fallback},
    {"bad/bumpdudv-signed", bumpMap, channels<snorm8, 0, 1>, normals, usual, Outcome::fallback},
    {"bad/no-format-flags", {}, bgraFields, testCard, usual, Outcome::fallback},
    {"bad/dx10-85-b5g6r5", dx10(85), fields<16, 0xF800, 0x7E0, 0x1F, 0>, testCard, usual, Outcome::fallback},
    {"bad/dx10-86-b5g5r5a1", dx10(86), fields<16, 0x7C00, 0x3E0, 0x1F, 0x8000>, testCard, usual, Outcome::fallback},
    {"bad/dx10-89-xr-bias", dx10(89), rgb10a2Fields, testCard, usual, Outcome::fallback},
    {"bad/dx10-100", dx10(100), bgraFields, testCard, usual, Outcome::fallback},
    {"bad/dx10-115-b4g4r4a4", dx10(115), fields<16, 0xF00, 0xF0, 0xF, 0xF000>, testCard, usual, Outcome::fallback},
    {"bad/palette-cut", palette(DDPF_PALETTEINDEXED8, 8), palette8, heights, usual, Outcome::fallback, nullptr,
     128 + 600},
    {"bad/data-short-bc7", dx10Blocks(98), bc7, testCard, usual, Outcome::fallback, loseHalfOfData},
    {"bad/dx10-header-cut", dx10Blocks(98), bc7, testCard, usual, Outcome::fallback, nullptr, 140},
    {"bad/header-cut", masks(24, bgr), masked, testCard, usual, Outcome::refused, nullptr, 100},
    {"bad/huge-declared-size", masks(24, bgr), masked, testCard, usual, Outcome::fallback,
     [](DdsFile& file) { file.header.header.dwWidth = file.header.header.dwHeight = 0xFFFFFFFF; }},

    // faults that the reader does not detect: the lower rows are zero, rows are sheared, alpha is zero, the picture is
    // red, the DX10 header is read as the first pixels
    {"bad/rows-missing", masks(24, bgr), masked, testCard, usual, Outcome::decoded, loseHalfOfData},
    {"bad/pitch-with-padding", masks(24, bgr), masked, testCard, odd, Outcome::decoded, padRowsToFourBytes},
    {"bad/alpha-mask-zero", masks(32, bgra), masked, testCard, usual, Outcome::decoded,
     [](DdsFile& file) { file.header.header.ddspf.dwABitMask = 0; }},
    {"bad/luminance-with-rgb-flag", luminance(8, {0xFF, 0, 0, 0}), masked, greyCard, usual, Outcome::decoded,
     [](DdsFile& file) { file.header.header.ddspf.dwFlags |= DDPF_RGB; }},
    {"bad/dx10-with-rgb-flag", dx10(87), bgraFields, testCard, usual, Outcome::decoded,
     [](DdsFile& file) {
         file.header.header.ddspf.dwFlags |= DDPF_RGB | DDPF_ALPHAPIXELS;
         file.header.header.ddspf.dwRGBBitCount = 32;
         file.header.header.ddspf.dwRBitMask = bgra.r;
         file.header.header.ddspf.dwGBitMask = bgra.g;
         file.header.header.ddspf.dwBBitMask = bgra.b;
         file.header.header.ddspf.dwABitMask = bgra.a;
     }},
};

}  // namespace

Bytes Example::bytes() const {
    DdsFile file = encode(paint(painter, size), naming, encoder);
    if (damage != nullptr) damage(file);
    Bytes bytes = bytesOf(file);
    bytes.resize(std::min(bytes.size(), keptBytes));
    return bytes;
}

std::span<const Example> examples() {
    return rows;
}

}  // namespace kpx::example
