// The rows of the table of formats and the choice among them.
#include "reader/formatTable.h"

#include <iterator>

namespace kpx {
namespace {

constexpr const char* loaderNames[] = {
    "none",
    "loadUncompressedImage",
    "loadFloatingPointImage",
    "loadR11G11B10FloatingPointImage",
    "loadR9G9B9E5FloatingPointImage",
    "loadPalletisedImage",
    "loadD3DFormatImage",
    "loadDX10Image",
    "loadCompressedImage",
};

constexpr Format d3dCode(std::uint32_t code, const char* name, std::uint8_t bytesPerPixel, PixelLayout layout,
                         std::uint8_t channels, int flags = 0) {
    return {NamedBy::code,
            code,
            name,
            Loader::d3dFormat,
            code,
            {},
            bytesPerPixel,
            layout,
            channels,
            static_cast<std::uint8_t>(flags),
            BlockKernel::none,
            0};
}

constexpr Format floatCode(std::uint32_t code, const char* name, std::uint8_t bytesPerPixel, PixelLayout layout,
                           std::uint8_t channels, int flags = 0) {
    Format row = d3dCode(code, name, bytesPerPixel, layout, channels, flags);
    row.loader = Loader::floatingPoint;
    return row;
}

constexpr Format blockCode(const char (&code)[5], BlockKernel kernel, std::uint8_t blockBytes, int flags = 0) {
    Format row = d3dCode(fourCC(code), code, 0, BytesARGB, 4, flags | setsAlpha);
    row.loader = Loader::compressed;
    row.kernel = kernel;
    row.blockBytes = blockBytes;
    return row;
}

constexpr Format bc6hCode() {
    Format row = blockCode("DXT6", BlockKernel::bc6hUnsigned, 16, linearSizeOnly);
    row.layout = HalfRGBA;
    return row;
}

// The formats that dwFourCC names. The published BC6H and BC7 have no code; "DXT6" and "DXT7" are this system's own.
constexpr Format codeRows[] = {
    d3dCode(34, "D3DFMT_G16R16", 4, Bytes2, 2, highBytes),
    d3dCode(36, "D3DFMT_A16B16G16R16", 8, BytesRGBA, 4, highBytes | setsAlpha),
    d3dCode(110, "D3DFMT_Q16W16V16U16", 8, BytesRGBA, 4, highBytes | setsAlpha),
    floatCode(111, "D3DFMT_R16F", 2, HalfR, 1, isHalf),
    floatCode(112, "D3DFMT_G16R16F", 4, HalfRG, 2, isHalf),
    floatCode(113, "D3DFMT_A16B16G16R16F", 8, HalfRGBA, 4, isHalf | setsAlpha),
    floatCode(114, "D3DFMT_R32F", 4, FloatR, 1),
    floatCode(115, "D3DFMT_G32R32F", 8, FloatRG, 2),
    floatCode(116, "D3DFMT_A32B32G32R32F", 16, FloatRGBA, 4, setsAlpha),
    d3dCode(CODE_SINGLE16, "CODE_SINGLE16", 2, Bytes1, 1, highBytes),
    d3dCode(CODE_DUAL8, "CODE_DUAL8", 2, Bytes2, 2),
    d3dCode(CODE_SINGLE8, "CODE_SINGLE8", 1, Bytes1, 1),
    floatCode(CODE_RGB_FLOAT32, "CODE_RGB_FLOAT32", 12, FloatRGB, 3),
    blockCode("DXT1", BlockKernel::bc1, 8),
    blockCode("DXT2", BlockKernel::bc2Premultiplied, 16),
    blockCode("DXT3", BlockKernel::bc2, 16),
    blockCode("DXT4", BlockKernel::bc3Premultiplied, 16),
    blockCode("DXT5", BlockKernel::bc3, 16),
    blockCode("BC4U", BlockKernel::bc4Unsigned, 8),
    blockCode("BC4S", BlockKernel::bc4Signed, 8),
    blockCode("ATI2", BlockKernel::bc5Unsigned, 16),
    blockCode("BC5U", BlockKernel::bc5Unsigned, 16, linearSizeOnly),
    blockCode("BC5S", BlockKernel::bc5Signed, 16, linearSizeOnly),
    bc6hCode(),
    blockCode("DXT7", BlockKernel::bc7, 16, linearSizeOnly),
    d3dCode(fourCC("RGBG"), "RGBG", 2, BytesRGB, 3, pixelPairs),
    d3dCode(fourCC("GRGB"), "GRGB", 2, BytesRGB, 3, pixelPairs),
};

// A DXGI format that is read as a format code is.
constexpr Format dxgi(std::uint32_t number, const char* name, std::uint32_t code, int flags = 0) {
    for (const Format& row : codeRows) {
        if (row.id != code) continue;
        Format result = row;
        result.namedBy = NamedBy::dxgi;
        result.id = number;
        result.name = name;
        result.flags = static_cast<std::uint8_t>((row.flags & ~linearSizeOnly) | flags);
        return result;
    }
    return {};  // no such code; the assertion below the table refuses it
}

constexpr Format dxgiMasks(std::uint32_t number, const char* name, const Masks& masks, PixelLayout layout,
                           int flags = 0) {
    return {NamedBy::dxgi,
            number,
            name,
            Loader::uncompressed,
            0,
            masks,
            4,
            layout,
            4,
            static_cast<std::uint8_t>(flags | setsAlpha),
            BlockKernel::none,
            0};
}

// A packed float format: three floats out of a word.
constexpr Format dxgiPacked(std::uint32_t number, const char* name, Loader loader) {
    return {NamedBy::dxgi, number, name, loader, 0, {}, 4, FloatRGB, 3, 0, BlockKernel::none, 0};
}

constexpr Format bc6hDxgi(std::uint32_t number, const char* name, BlockKernel kernel) {
    Format row = dxgi(number, name, fourCC("DXT6"));
    row.kernel = kernel;
    return row;
}

constexpr Masks rgba8{0xFF, 0xFF00, 0xFF0000, 0xFF000000};
constexpr Masks bgra8{0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr Masks rgb10a2{0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};

// The DXGI formats that are decoded. _SRGB is read like _UNORM, and so are _TYPELESS, _UINT and _SINT; the X8 formats
// give their fourth byte as alpha.
constexpr Format dxgiRows[] = {
    dxgi(2, "R32G32B32A32_FLOAT", 116),
    dxgi(6, "R32G32B32_FLOAT", CODE_RGB_FLOAT32),
    dxgi(10, "R16G16B16A16_FLOAT", 113),
    dxgi(11, "R16G16B16A16_UNORM", 36),
    dxgi(13, "R16G16B16A16_SNORM", 36, isSnorm),
    dxgi(16, "R32G32_FLOAT", 115),
    dxgiMasks(23, "R10G10B10A2_TYPELESS", rgb10a2, MaskedBits),
    dxgiMasks(24, "R10G10B10A2_UNORM", rgb10a2, MaskedBits),
    dxgiMasks(25, "R10G10B10A2_UINT", rgb10a2, MaskedBits),
    dxgiPacked(26, "R11G11B10_FLOAT", Loader::r11g11b10),
    dxgiMasks(27, "R8G8B8A8_TYPELESS", rgba8, BytesRGBA),
    dxgiMasks(28, "R8G8B8A8_UNORM", rgba8, BytesRGBA),
    dxgiMasks(29, "R8G8B8A8_UNORM_SRGB", rgba8, BytesRGBA),
    dxgiMasks(30, "R8G8B8A8_UINT", rgba8, BytesRGBA),
    dxgiMasks(31, "R8G8B8A8_SNORM", rgba8, BytesRGBA, isSnorm),
    dxgiMasks(32, "R8G8B8A8_SINT", rgba8, BytesRGBA),
    dxgi(33, "R16G16_TYPELESS", 34),
    dxgi(34, "R16G16_FLOAT", 112),
    dxgi(35, "R16G16_UNORM", 34),
    dxgi(36, "R16G16_UINT", 34),
    dxgi(37, "R16G16_SNORM", 34, isSnorm),
    dxgi(38, "R16G16_SINT", 34),
    dxgi(41, "R32_FLOAT", 114),
    dxgi(48, "R8G8_TYPELESS", CODE_DUAL8),
    dxgi(49, "R8G8_UNORM", CODE_DUAL8),
    dxgi(50, "R8G8_UINT", CODE_DUAL8),
    dxgi(51, "R8G8_SNORM", CODE_DUAL8, isSnorm),
    dxgi(52, "R8G8_SINT", CODE_DUAL8),
    dxgi(54, "R16_FLOAT", 111),
    dxgi(56, "R16_UNORM", CODE_SINGLE16),
    dxgi(57, "R16_UINT", CODE_SINGLE16),
    dxgi(58, "R16_SNORM", CODE_SINGLE16, isSnorm),
    dxgi(59, "R16_SINT", CODE_SINGLE16),
    dxgi(60, "R8_TYPELESS", CODE_SINGLE8),
    dxgi(61, "R8_UNORM", CODE_SINGLE8),
    dxgi(62, "R8_UINT", CODE_SINGLE8),
    dxgi(63, "R8_SNORM", CODE_SINGLE8, isSnorm),
    dxgi(64, "R8_SINT", CODE_SINGLE8),
    // Alpha only, by the file's own alpha mask, which is taken as 0xFF where it is 0.
    {NamedBy::dxgi,
     65,
     "A8_UNORM",
     Loader::uncompressed,
     0,
     {0, 0, 0, 0xFF},
     1,
     MaskedAlphaOnly,
     1,
     setsAlpha,
     BlockKernel::none,
     0},
    dxgiPacked(67, "R9G9B9E5_SHAREDEXP", Loader::r9g9b9e5),
    dxgi(68, "R8G8_B8G8_UNORM", fourCC("RGBG")),
    dxgi(69, "G8R8_G8B8_UNORM", fourCC("GRGB")),
    dxgi(70, "BC1_TYPELESS", fourCC("DXT1")),
    dxgi(71, "BC1_UNORM", fourCC("DXT1")),
    dxgi(72, "BC1_UNORM_SRGB", fourCC("DXT1")),
    dxgi(73, "BC2_TYPELESS", fourCC("DXT3")),
    dxgi(74, "BC2_UNORM", fourCC("DXT3")),
    dxgi(75, "BC2_UNORM_SRGB", fourCC("DXT3")),
    dxgi(76, "BC3_TYPELESS", fourCC("DXT5")),
    dxgi(77, "BC3_UNORM", fourCC("DXT5")),
    dxgi(78, "BC3_UNORM_SRGB", fourCC("DXT5")),
    dxgi(79, "BC4_TYPELESS", fourCC("BC4U")),
    dxgi(80, "BC4_UNORM", fourCC("BC4U")),
    dxgi(81, "BC4_SNORM", fourCC("BC4S")),
    dxgi(82, "BC5_TYPELESS", fourCC("ATI2")),
    dxgi(83, "BC5_UNORM", fourCC("ATI2")),
    dxgi(84, "BC5_SNORM", fourCC("BC5S")),
    dxgiMasks(87, "B8G8R8A8_UNORM", bgra8, BytesBGRA),
    dxgiMasks(88, "B8G8R8X8_UNORM", bgra8, BytesBGRA),
    dxgiMasks(90, "B8G8R8A8_TYPELESS", bgra8, BytesBGRA),
    dxgiMasks(91, "B8G8R8A8_UNORM_SRGB", bgra8, BytesBGRA),
    dxgiMasks(92, "B8G8R8X8_TYPELESS", bgra8, BytesBGRA),
    dxgiMasks(93, "B8G8R8X8_UNORM_SRGB", bgra8, BytesBGRA),
    bc6hDxgi(94, "BC6H_TYPELESS", BlockKernel::bc6hUnsigned),
    bc6hDxgi(95, "BC6H_UF16", BlockKernel::bc6hUnsigned),
    bc6hDxgi(dxgiBC6HSigned, "BC6H_SF16", BlockKernel::bc6hSigned),
    dxgi(97, "BC7_TYPELESS", fourCC("DXT7")),
    dxgi(98, "BC7_UNORM", fourCC("DXT7")),
    dxgi(99, "BC7_UNORM_SRGB", fourCC("DXT7")),
};
// BC3 whose DX10 header says that its colours are premultiplied is read as "DXT4" instead.
constexpr Format bc3Premultiplied[] = {
    dxgi(76, "BC3_TYPELESS", fourCC("DXT4")),
    dxgi(77, "BC3_UNORM", fourCC("DXT4")),
    dxgi(78, "BC3_UNORM_SRGB", fourCC("DXT4")),
};

constexpr Format masked(const char* name, const Masks& masks, std::uint8_t bytesPerPixel, std::uint8_t channels,
                        PixelLayout layout = MaskedBits, int flags = 0) {
    return {NamedBy::masks,
            0,
            name,
            Loader::uncompressed,
            0,
            masks,
            bytesPerPixel,
            layout,
            channels,
            static_cast<std::uint8_t>(flags),
            BlockKernel::none,
            0};
}

// Bit-mask layouts. Those with a byte layout of their own decide how a picture is read; the others are read through
// their masks whether they stand here or not, and stand here for their names.
constexpr Format maskRows[] = {
    masked("D3DFMT_R8G8B8", bgra8, 3, 3, BytesBGR),
    masked("D3DFMT_X8R8G8B8", bgra8, 4, 3, BytesBGR),
    masked("D3DFMT_R8G8B8A8", {0xFF000000, 0xFF0000, 0xFF00, 0xFF}, 4, 4, BytesABGR),
    masked("D3DFMT_A8R8G8B8", bgra8, 4, 4, BytesBGRA),
    masked("D3DFMT_A8B8G8R8", rgba8, 4, 4, BytesRGBA),
    masked("D3DFMT_A8", {0, 0, 0, 0xFF}, 0, 1, MaskedAlphaOnly, setsAlpha),
    masked("D3DFMT_B8G8R8", rgba8, 3, 3),
    masked("D3DFMT_X8B8G8R8", rgba8, 4, 3),
    masked("D3DFMT_R5G6B5", {0xF800, 0x7E0, 0x1F, 0}, 2, 3),
    masked("D3DFMT_X1R5G5B5", {0x7C00, 0x3E0, 0x1F, 0}, 2, 3),
    masked("D3DFMT_A1R5G5B5", {0x7C00, 0x3E0, 0x1F, 0x8000}, 2, 4),
    masked("D3DFMT_X4R4G4B4", {0xF00, 0xF0, 0xF, 0}, 2, 3),
    masked("D3DFMT_A4R4G4B4", {0xF00, 0xF0, 0xF, 0xF000}, 2, 4),
    masked("D3DFMT_R3G3B2", {0xE0, 0x1C, 0x3, 0}, 1, 3),
    masked("D3DFMT_A8R3G3B2", {0xE0, 0x1C, 0x3, 0xFF00}, 2, 4),
    masked("D3DFMT_A2B10G10R10", rgb10a2, 4, 4),
    masked("D3DFMT_A2R10G10B10", {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000}, 4, 4),
    masked("D3DFMT_G16R16", {0xFFFF, 0xFFFF0000, 0, 0}, 4, 3),
    masked("any alpha mask", {}, 0, 1),
    masked("any masks", {}, 0, 0),
};
constexpr const Format& anyAlphaMask = maskRows[std::size(maskRows) - 2];
constexpr const Format& anyMasks = maskRows[std::size(maskRows) - 1];

constexpr Format palette(std::uint32_t flag, const char* name, int flags) {
    return {NamedBy::palette,
            flag,
            name,
            Loader::palettised,
            0,
            {},
            0,
            BytesRGBA,
            4,
            static_cast<std::uint8_t>(flags | setsAlpha),
            BlockKernel::none,
            0};
}

// In the order in which the flags are looked at.
constexpr Format paletteRows[] = {
    palette(DDPF_PALETTEINDEXED4, "DDPF_PALETTEINDEXED4", smallPalette | nibbleIndices),
    palette(DDPF_PALETTEINDEXEDTO8, "DDPF_PALETTEINDEXEDTO8", nibbleIndices),
    palette(DDPF_PALETTEINDEXED8, "DDPF_PALETTEINDEXED8", 0),
};

struct Table {
    Format rows[std::size(codeRows) + std::size(dxgiRows) + std::size(maskRows) + std::size(paletteRows)];
};

constexpr Table table = [] {
    Table all{};
    Format* next = all.rows;
    const auto append = [&next](std::span<const Format> rows) {
        for (const Format& row : rows) *next++ = row;
    };
    append(codeRows);
    append(dxgiRows);
    append(maskRows);
    append(paletteRows);
    return all;
}();

constexpr bool dxgiRowsAreInOrder() {
    std::uint32_t last = 0;
    for (const Format& row : dxgiRows) {
        if (row.loader == Loader::none || row.id <= last || row.id > largestDxgiFormat) return false;
        last = row.id;
    }
    return true;
}
static_assert(dxgiRowsAreInOrder(), "each DXGI format once, in the published order, with a loader");

const Format* findIn(std::span<const Format> rows, std::uint32_t id) {
    for (const Format& row : rows) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

// The three-channel byte layouts do not look at the alpha mask, the alpha-only one at no other.
bool masksMatch(const Format& row, const Masks& masks) {
    if (row.channels == 1) return row.masks.a == masks.a;
    const bool sameColours = row.masks.r == masks.r && row.masks.g == masks.g && row.masks.b == masks.b;
    return sameColours && (row.channels == 3 || row.masks.a == masks.a);
}

Choice refused(Loader loader, Refusal refusal, std::uint32_t code) {
    return {loader, nullptr, refusal, code};
}

Choice chooseCompressed(std::uint32_t code) {
    const Format* row = findBlockCode(code);
    if (row == nullptr) return refused(Loader::compressed, Refusal::unknownCode, code);
    return {Loader::compressed, row, Refusal::none, code};
}

// The Direct3D-format loader passes on the block codes but for the last four.
Choice chooseD3DFormat(std::uint32_t code) {
    const Format* row = findCode(code);
    if (row == nullptr || (row->loader != Loader::d3dFormat && row->loader != Loader::compressed)) {
        return refused(Loader::d3dFormat, Refusal::unknownCode, code);
    }
    if (row->has(linearSizeOnly)) return refused(Loader::d3dFormat, Refusal::linearSizeNeeded, code);
    return {Loader::d3dFormat, row, Refusal::none, code};
}

std::uint32_t luminanceCode(const DDS_PIXELFORMAT& format) {
    if ((format.dwFlags & DDPF_ALPHAPIXELS) != 0) return CODE_DUAL8;
    return format.dwRGBBitCount == 16 ? CODE_SINGLE16 : CODE_SINGLE8;
}

Choice chooseWithCode(const DDS_HEADER& header) {
    const std::uint32_t flags = header.ddspf.dwFlags;
    const std::uint32_t code = header.ddspf.dwFourCC;
    if (code == fourCC("DX10")) return {Loader::dx10, nullptr, Refusal::none, code};
    if ((header.dwFlags & DDSD_LINEARSIZE) != 0) return chooseCompressed(code);
    if ((flags & anyPaletteFlag) != 0) return {Loader::palettised, &findPalette(flags), Refusal::none, code};
    return chooseD3DFormat(code);
}

Choice chooseWithoutCode(const DDS_PIXELFORMAT& format) {
    const std::uint32_t code = format.dwFourCC;
    if ((format.dwFlags & anyPaletteFlag) != 0) {
        return {Loader::palettised, &findPalette(format.dwFlags), Refusal::none, code};
    }
    if ((format.dwFlags & DDPF_LUMINANCE) != 0) return chooseD3DFormat(luminanceCode(format));
    if (code == 0) return refused(Loader::none, Refusal::nothingNamed, code);
    return chooseCompressed(code);
}

}  // namespace

const char* loaderName(Loader loader) {
    return loaderNames[static_cast<std::size_t>(loader)];
}

std::span<const Format> formatTable() {
    return table.rows;
}

const Format* findCode(std::uint32_t code) {
    return findIn(codeRows, code);
}

const Format* findBlockCode(std::uint32_t code) {
    const Format* row = findCode(code);
    return row != nullptr && row->loader == Loader::compressed ? row : nullptr;
}

const Format* findDxgi(std::uint32_t dxgiFormat) {
    return findIn(dxgiRows, dxgiFormat);
}

std::uint32_t maskedChannels(const DDS_PIXELFORMAT& pixelFormat) {
    if ((pixelFormat.dwFlags & DDPF_ALPHA) != 0) return 1;
    return (pixelFormat.dwFlags & DDPF_ALPHAPIXELS) != 0 ? 4 : 3;
}

std::uint32_t maskedPixelBytes(const DDS_PIXELFORMAT& pixelFormat) {
    const std::uint32_t bytes = pixelFormat.dwRGBBitCount / 8;
    return bytes == 0 ? maskedChannels(pixelFormat) : bytes;
}

const Format& findMasks(const DDS_PIXELFORMAT& pixelFormat) {
    const std::uint32_t channels = maskedChannels(pixelFormat);
    const std::uint32_t bytesPerPixel = maskedPixelBytes(pixelFormat);
    const Masks masks{pixelFormat.dwRBitMask, pixelFormat.dwGBitMask, pixelFormat.dwBBitMask, pixelFormat.dwABitMask};
    for (const Format& row : maskRows) {
        const bool sameSize = row.bytesPerPixel == 0 || row.bytesPerPixel == bytesPerPixel;
        const bool named = &row != &anyAlphaMask && &row != &anyMasks;
        if (named && row.channels == channels && sameSize && masksMatch(row, masks)) return row;
    }
    return channels == 1 ? anyAlphaMask : anyMasks;
}

const Format& findPalette(std::uint32_t pixelFormatFlags) {
    for (const Format& row : paletteRows) {
        if ((pixelFormatFlags & row.id) != 0) return row;
    }
    return paletteRows[std::size(paletteRows) - 1];
}

Choice chooseLoader(const DDS_HEADER& header) {
    const std::uint32_t flags = header.ddspf.dwFlags;
    const std::uint32_t code = header.ddspf.dwFourCC;
    if (code >= 111 && code <= 116) return {Loader::floatingPoint, findCode(code), Refusal::none, code};
    if ((flags & (DDPF_RGB | DDPF_ALPHA)) != 0) {
        return {Loader::uncompressed, &findMasks(header.ddspf), Refusal::none, code};
    }
    if ((flags & DDPF_FOURCC) != 0) return chooseWithCode(header);
    return chooseWithoutCode(header.ddspf);
}

Choice chooseDxgi(const DDS_HEADER_DXT10& dx10Header) {
    if (dx10Header.dxgiFormat > largestDxgiFormat) return refused(Loader::none, Refusal::dxgiTooLarge, 0);
    const bool premultiplied = (dx10Header.miscFlags2 & alphaModeMask) == alphaModePremultiplied;
    const Format* row = premultiplied ? findIn(bc3Premultiplied, dx10Header.dxgiFormat) : nullptr;
    if (row == nullptr) row = findDxgi(dx10Header.dxgiFormat);
    if (row == nullptr) return refused(Loader::none, Refusal::dxgiRejected, 0);
    return {row->loader, row, Refusal::none, row->code};
}

void describeDxgi(const Choice& choice, DDS_PIXELFORMAT& pixelFormat) {
    const Format& format = *choice.format;
    if (format.loader != Loader::uncompressed) {
        if (choice.code != 0) pixelFormat.dwFourCC = choice.code;
    } else if (format.channels == 1) {
        pixelFormat.dwFlags |= DDPF_ALPHA;
        pixelFormat.dwRGBBitCount = 8;
        if (pixelFormat.dwABitMask == 0) pixelFormat.dwABitMask = format.masks.a;
    } else {
        pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
        pixelFormat.dwRGBBitCount = 32;
        pixelFormat.dwRBitMask = format.masks.r;
        pixelFormat.dwGBitMask = format.masks.g;
        pixelFormat.dwBBitMask = format.masks.b;
        pixelFormat.dwABitMask = format.masks.a;
    }
}

}  // namespace kpx
