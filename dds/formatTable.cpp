// The rows of the table of formats, and the searches in it.
#include "dds/formatTable.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace kpx {
namespace {

using Kind = Remedy::Kind;

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
static_assert(std::size(loaderNames) == static_cast<std::size_t>(Loader::compressed) + 1);

// Remedies.
constexpr Remedy asCode(std::uint32_t code) {
    return {.kind = Kind::code, .id = code};
}
constexpr Remedy asMasks(const char* row) {
    return {.kind = Kind::masks, .text = row};
}
constexpr Remedy asDxgi(std::uint32_t number, const char* lost = "") {
    return {.kind = Kind::dxgi, .id = number, .text = lost};
}
constexpr Remedy recoded(Recoding recoding, const char* holds = "") {
    return {.kind = Kind::recoding, .recoding = recoding, .text = holds};
}
constexpr Remedy asOwnFlags{.kind = Kind::flags};

// Descriptions of formats that are not decoded.
constexpr const char* integerValues = "integer data, which is not recoded";
constexpr const char* integerDepth = "depth as 32-bit integers, which is not recoded";
constexpr const char* depth = "depth";
constexpr const char* packedDepth = "depth with stencil in the same pixel, which is not recoded";
constexpr const char* hiddenDepth = "depth and stencil, whose places in the file are not published";
constexpr const char* stencil = "stencil numbers, which are no picture";
constexpr const char* packedVideo = "YUV video";
constexpr const char* video = "YUV video; only UYVY and YUY2 can be recoded";
constexpr const char* hiddenPlanes = "YUV video in planes whose order is not published";
constexpr const char* oneBit = "one bit a pixel, in an order that is not published";
constexpr const char* noPalette = "palette indices without a palette";
constexpr const char* maskedColour = "bit-mask colour, which is read with DDPF_RGB and masks, not by a code";
constexpr const char* maskedAlpha = "alpha only, which is read with DDPF_ALPHA and a mask, not by a code";
constexpr const char* luminanceValues = "luminance, which is read with DDPF_LUMINANCE, not by a code";
constexpr const char* bump = "a signed bump map";
constexpr const char* otherOrder = "DXT5 with its channels in another order";
constexpr const char* bc6h = "not a published code; BC6H is read under a DX10 header";
constexpr const char* bc7 = "not a published code; BC7 is read under a DX10 header";
constexpr const char* mobile = "a block format for mobile GPUs; export the texture again for desktop GPUs";

// Makers of rows.
constexpr std::uint16_t traitsOf(unsigned traits) {
    return static_cast<std::uint16_t>(traits);
}

constexpr Format undecoded(std::uint32_t code, const char* name, const char* what, const Remedy& remedy = {}) {
    return {.id = code, .name = name, .what = what, .remedy = remedy};
}

constexpr Format undecoded(const char (&code)[5], const char* what, const Remedy& remedy = {},
                           const char* name = nullptr) {
    return undecoded(fourCC(code), name == nullptr ? code : name, what, remedy);
}

// Returns the row of a code that flags, bits and masks can name as well.
constexpr Format flagged(Format row, std::uint32_t flags, std::uint8_t bytesPerPixel, const Masks& masks) {
    row.pixelFlags = flags;
    row.bytesPerPixel = bytesPerPixel;
    row.masks = masks;
    return row;
}

constexpr Format luminance(std::uint32_t code, const char* name, const char* what, std::uint32_t flags,
                           std::uint8_t bytesPerPixel, const Masks& masks) {
    return flagged(undecoded(code, name, what, asOwnFlags), flags, bytesPerPixel, masks);
}

constexpr Format bumpMap(std::uint32_t code, const char* name, std::uint32_t flags, std::uint8_t bytesPerPixel,
                         const Masks& masks, const Remedy& remedy) {
    return flagged(undecoded(code, name, bump, remedy), flags, bytesPerPixel, masks);
}

constexpr Format d3dCode(std::uint32_t code, const char* name, std::uint8_t bytesPerPixel, PixelLayout layout,
                         std::uint8_t channels, unsigned traits = 0) {
    return {.id = code,
            .name = name,
            .loader = Loader::d3dFormat,
            .code = code,
            .bytesPerPixel = bytesPerPixel,
            .layout = layout,
            .channels = channels,
            .traits = traitsOf(traits)};
}

constexpr Format floatCode(std::uint32_t code, const char* name, std::uint8_t bytesPerPixel, PixelLayout layout,
                           std::uint8_t channels, unsigned traits = 0) {
    Format row = d3dCode(code, name, bytesPerPixel, layout, channels, traits);
    row.loader = Loader::floatingPoint;
    return row;
}

constexpr Format blockCode(const char (&code)[5], BlockKernel kernel, std::uint8_t blockBytes, unsigned traits = 0,
                           std::uint32_t sameDxgi = 0) {
    const bool isFloat = kernel == BlockKernel::bc6hUnsigned;
    return {.id = fourCC(code),
            .name = code,
            .loader = Loader::compressed,
            .code = fourCC(code),
            .layout = isFloat ? HalfRGBA : BytesARGB,
            .channels = 4,
            .traits = traitsOf(traits | setsAlpha),
            .kernel = kernel,
            .blockBytes = blockBytes,
            .sameDxgi = sameDxgi};
}

// D3DFMT_Q16W16V16U16 is read as unsigned. Its values are only right under a DX10 header.
constexpr Format q16w16v16u16() {
    Format row = d3dCode(110, "D3DFMT_Q16W16V16U16", 8, BytesRGBA, 4, highBytes | setsAlpha);
    row.pixelFlags = DDPF_BUMPDUDV;
    row.sameDxgi = 13;
    row.remedy = asDxgi(13);
    return row;
}

// Direct3D numbers in order, then four-character codes. Published BC6H and BC7 have no code: "DXT6" and "DXT7" are this
// system's own. The numbers of bit-mask formats are in the rows of masks.
constexpr Format codeRows[] = {
    d3dCode(34, "D3DFMT_G16R16", 4, Bytes2, 2, highBytes),
    d3dCode(36, "D3DFMT_A16B16G16R16", 8, BytesRGBA, 4, highBytes | setsAlpha),
    undecoded(40, "D3DFMT_A8P8", noPalette),
    undecoded(41, "D3DFMT_P8", "palette indices, which are read with DDPF_PALETTEINDEXED8, not by a code"),
    luminance(50, "D3DFMT_L8", luminanceValues, DDPF_LUMINANCE, 1, {0xFF, 0, 0, 0}),
    luminance(51, "D3DFMT_A8L8", luminanceValues, DDPF_LUMINANCE | DDPF_ALPHAPIXELS, 2, {0xFF, 0, 0, 0xFF00}),
    // Luminance of 4 bits is read as colour with three equal masks.
    luminance(52, "D3DFMT_A4L4", "luminance and alpha of 4 bits", DDPF_RGB | DDPF_ALPHAPIXELS, 1,
              {0xF, 0xF, 0xF, 0xF0}),
    bumpMap(60, "D3DFMT_V8U8", DDPF_BUMPDUDV, 2, {0xFF, 0xFF00, 0, 0}, asDxgi(51)),
    bumpMap(61, "D3DFMT_L6V5U5", DDPF_BUMPLUMINANCE, 2, {0x1F, 0x3E0, 0xFC00, 0}, recoded(Recoding::l6v5u5)),
    bumpMap(62, "D3DFMT_X8L8V8U8", DDPF_BUMPLUMINANCE, 4, {0xFF, 0xFF00, 0xFF0000, 0}, recoded(Recoding::x8l8v8u8)),
    bumpMap(63, "D3DFMT_Q8W8V8U8", DDPF_BUMPDUDV, 4, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}, asDxgi(31)),
    bumpMap(64, "D3DFMT_V16U16", DDPF_BUMPDUDV, 4, {0xFFFF, 0xFFFF0000, 0, 0}, asDxgi(37)),
    bumpMap(67, "D3DFMT_A2W10V10U10", DDPF_BUMPDUDV, 4, {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000},
            recoded(Recoding::a2w10v10u10)),
    // Depth of 16 bits is read as luminance.
    luminance(70, "D3DFMT_D16_LOCKABLE", depth, DDPF_LUMINANCE, 2, {0xFFFF, 0, 0, 0}),
    undecoded(71, "D3DFMT_D32", integerDepth),
    undecoded(73, "D3DFMT_D15S1", hiddenDepth),
    undecoded(75, "D3DFMT_D24S8", hiddenDepth),
    undecoded(77, "D3DFMT_D24X8", "depth, whose place in the file is not published"),
    undecoded(79, "D3DFMT_D24X4S4", hiddenDepth),
    luminance(80, "D3DFMT_D16", depth, DDPF_LUMINANCE, 2, {0xFFFF, 0, 0, 0}),
    luminance(81, "D3DFMT_L16", luminanceValues, DDPF_LUMINANCE, 2, {0xFFFF, 0, 0, 0}),
    undecoded(82, "D3DFMT_D32F_LOCKABLE", depth, asDxgi(41)),
    undecoded(83, "D3DFMT_D24FS8", hiddenDepth),
    undecoded(84, "D3DFMT_D32_LOCKABLE", integerDepth),
    undecoded(85, "D3DFMT_S8_LOCKABLE", stencil),
    q16w16v16u16(),
    floatCode(111, "D3DFMT_R16F", 2, HalfR, 1, isHalf),
    floatCode(112, "D3DFMT_G16R16F", 4, HalfRG, 2, isHalf),
    floatCode(113, "D3DFMT_A16B16G16R16F", 8, HalfRGBA, 4, isHalf | setsAlpha),
    floatCode(114, "D3DFMT_R32F", 4, FloatR, 1),
    floatCode(115, "D3DFMT_G32R32F", 8, FloatRG, 2),
    floatCode(116, "D3DFMT_A32B32G32R32F", 16, FloatRGBA, 4, setsAlpha),
    // Two signed bytes; the third is computed from them.
    undecoded(117, "D3DFMT_CxV8U8", bump,
              asDxgi(51, "; `kpximage convert --swizzle rgz` reconstructs the third value")),
    undecoded(118, "D3DFMT_A1", oneBit),
    undecoded(119, "D3DFMT_A2B10G10R10_XR_BIAS", "10-bit colour of extended range", recoded(Recoding::xrBias)),
    d3dCode(CODE_SINGLE16, "CODE_SINGLE16", 2, Bytes1, 1, highBytes),
    d3dCode(CODE_DUAL8, "CODE_DUAL8", 2, Bytes2, 2),
    d3dCode(CODE_SINGLE8, "CODE_SINGLE8", 1, Bytes1, 1),
    floatCode(CODE_RGB_FLOAT32, "CODE_RGB_FLOAT32", 12, FloatRGB, 3),
    blockCode("DXT1", BlockKernel::bc1, 8),
    blockCode("DXT2", BlockKernel::bc2Premultiplied, 16, isPremultiplied, 74),
    blockCode("DXT3", BlockKernel::bc2, 16),
    blockCode("DXT4", BlockKernel::bc3Premultiplied, 16, isPremultiplied, 77),
    blockCode("DXT5", BlockKernel::bc3, 16),
    blockCode("BC4U", BlockKernel::bc4Unsigned, 8),
    blockCode("BC4S", BlockKernel::bc4Signed, 8, isSigned),
    blockCode("ATI2", BlockKernel::bc5Unsigned, 16),
    blockCode("BC5U", BlockKernel::bc5Unsigned, 16, linearSizeOnly, 83),
    blockCode("BC5S", BlockKernel::bc5Signed, 16, linearSizeOnly | isSigned),
    blockCode("DXT6", BlockKernel::bc6hUnsigned, 16, linearSizeOnly),
    blockCode("DXT7", BlockKernel::bc7, 16, linearSizeOnly),
    d3dCode(fourCC("RGBG"), "RGBG", 2, BytesRGB, 3, pixelPairs),
    d3dCode(fourCC("GRGB"), "GRGB", 2, BytesRGB, 3, pixelPairs),
    // Other writers' codes for blocks that are decoded.
    undecoded("ATI1", "BC4, which is read as \"BC4U\"", asCode(fourCC("BC4U"))),
    undecoded("A2XY", "BC5, which is read as \"ATI2\"", asCode(fourCC("ATI2"))),
    undecoded("BC6H", bc6h, asDxgi(95)),
    undecoded("BC6S", bc6h, asDxgi(96)),
    undecoded("BC7L", bc7, asDxgi(98)),
    undecoded("BC7\0", bc7, asDxgi(98), "BC7"),
    // The four letters of such a code name the contents of the red, green, blue and alpha of its DXT5 blocks.
    undecoded("RXGB", "DXT5 with red stored as alpha", recoded(Recoding::swizzledBlocks, "-GBR")),
    undecoded("A2D5", "DXT5 with its channels in an order that is not published"),
    undecoded("xGBR", otherOrder, recoded(Recoding::swizzledBlocks, "-GBR")),
    undecoded("RxBG", otherOrder, recoded(Recoding::swizzledBlocks, "R-BG")),
    undecoded("RBxG", otherOrder, recoded(Recoding::swizzledBlocks, "RB-G")),
    undecoded("xRBG", otherOrder, recoded(Recoding::swizzledBlocks, "-RBG")),
    undecoded("RGxB", otherOrder, recoded(Recoding::swizzledBlocks, "RG-B")),
    undecoded("xGxR", otherOrder, recoded(Recoding::swizzledBlocks, "-G-R")),
    undecoded("UYVY", packedVideo, recoded(Recoding::uyvy)),
    undecoded("YUY2", packedVideo, recoded(Recoding::yuy2)),
    undecoded("AYUV", video),
    undecoded("NV12", video),
    undecoded("YV12", video),
    undecoded("P010", video),
    undecoded("P016", video),
    undecoded("Y210", video),
    undecoded("Y216", video),
    undecoded("Y410", video),
    undecoded("Y416", video),
    undecoded("IYUV", video),
    undecoded("I420", video),
    undecoded("MET1", "several pictures in one, whose order is not published", {}, "MULTI2_ARGB8"),
    undecoded("ETC1", mobile),
    undecoded("ETC2", mobile),
    undecoded("PTC2", mobile, {}, "PVRTC 2 bits"),
    undecoded("PTC4", mobile, {}, "PVRTC 4 bits"),
};

// Returns the row of a DXGI format that is read like a code.
constexpr Format dxgi(std::uint32_t number, const char* name, std::uint32_t code, unsigned traits = 0) {
    for (const Format& row : codeRows) {
        if (row.id != code) continue;
        Format result = row;
        result.namedBy = NamedBy::dxgi;
        result.id = number;
        result.name = name;
        result.traits = traitsOf((row.traits & ~unsigned{linearSizeOnly}) | traits);
        result.pixelFlags = 0;
        result.sameDxgi = 0;
        result.remedy = {};
        return result;
    }
    return {};  // no such code: the assertion below the table fails
}

constexpr Format dxgiMasks(std::uint32_t number, const char* name, const Masks& masks, PixelLayout layout,
                           unsigned traits = 0) {
    return {.namedBy = NamedBy::dxgi,
            .id = number,
            .name = name,
            .loader = Loader::uncompressed,
            .masks = masks,
            .bytesPerPixel = 4,
            .layout = layout,
            .channels = 4,
            .traits = traitsOf(traits | setsAlpha)};
}

// Returns the row of a packed float format: three floats in a word.
constexpr Format dxgiPacked(std::uint32_t number, const char* name, Loader loader) {
    return {.namedBy = NamedBy::dxgi,
            .id = number,
            .name = name,
            .loader = loader,
            .bytesPerPixel = 4,
            .layout = FloatRGB,
            .channels = 3};
}

constexpr Format dxgiSigned(Format row, BlockKernel kernel) {
    row.kernel = kernel;
    row.traits |= isSigned;
    return row;
}

constexpr Format noDxgi(std::uint32_t number, const char* name, const char* what, const Remedy& remedy = {}) {
    return {.namedBy = NamedBy::dxgi, .id = number, .name = name, .what = what, .remedy = remedy};
}

constexpr Masks rgba8{0xFF, 0xFF00, 0xFF0000, 0xFF000000};
constexpr Masks bgra8{0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr Masks rgb10a2{0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};

// The published DXGI formats. _SRGB, _TYPELESS, _UINT and _SINT are read like _UNORM. The fourth byte of X8 formats is
// read as alpha.
constexpr Format dxgiRows[] = {
    noDxgi(0, "UNKNOWN", "no format at all"),
    noDxgi(1, "R32G32B32A32_TYPELESS", "four 32-bit values of no known type; 2 R32G32B32A32_FLOAT is read"),
    dxgi(2, "R32G32B32A32_FLOAT", 116),
    noDxgi(3, "R32G32B32A32_UINT", integerValues),
    noDxgi(4, "R32G32B32A32_SINT", integerValues),
    noDxgi(5, "R32G32B32_TYPELESS", "three 32-bit values of no known type; 6 R32G32B32_FLOAT is read"),
    dxgi(6, "R32G32B32_FLOAT", CODE_RGB_FLOAT32),
    noDxgi(7, "R32G32B32_UINT", integerValues),
    noDxgi(8, "R32G32B32_SINT", integerValues),
    noDxgi(9, "R16G16B16A16_TYPELESS",
           "four 16-bit values of no known type; 10 _FLOAT, 11 _UNORM and 13 _SNORM are read"),
    dxgi(10, "R16G16B16A16_FLOAT", 113),
    dxgi(11, "R16G16B16A16_UNORM", 36),
    noDxgi(12, "R16G16B16A16_UINT", integerValues),
    dxgi(13, "R16G16B16A16_SNORM", 36, isSnorm),
    noDxgi(14, "R16G16B16A16_SINT", integerValues),
    noDxgi(15, "R32G32_TYPELESS", "two 32-bit values of no known type; 16 R32G32_FLOAT is read"),
    dxgi(16, "R32G32_FLOAT", 115),
    noDxgi(17, "R32G32_UINT", integerValues),
    noDxgi(18, "R32G32_SINT", integerValues),
    noDxgi(19, "R32G8X24_TYPELESS", packedDepth),
    noDxgi(20, "D32_FLOAT_S8X24_UINT", packedDepth),
    noDxgi(21, "R32_FLOAT_X8X24_TYPELESS", packedDepth),
    noDxgi(22, "X32_TYPELESS_G8X24_UINT", stencil),
    dxgiMasks(23, "R10G10B10A2_TYPELESS", rgb10a2, MaskedBits, isTypeless),
    dxgiMasks(24, "R10G10B10A2_UNORM", rgb10a2, MaskedBits),
    dxgiMasks(25, "R10G10B10A2_UINT", rgb10a2, MaskedBits, isInteger),
    dxgiPacked(26, "R11G11B10_FLOAT", Loader::r11g11b10),
    dxgiMasks(27, "R8G8B8A8_TYPELESS", rgba8, BytesRGBA, isTypeless),
    dxgiMasks(28, "R8G8B8A8_UNORM", rgba8, BytesRGBA),
    dxgiMasks(29, "R8G8B8A8_UNORM_SRGB", rgba8, BytesRGBA, isSrgb),
    dxgiMasks(30, "R8G8B8A8_UINT", rgba8, BytesRGBA, isInteger),
    dxgiMasks(31, "R8G8B8A8_SNORM", rgba8, BytesRGBA, isSnorm),
    dxgiMasks(32, "R8G8B8A8_SINT", rgba8, BytesRGBA, isInteger),
    dxgi(33, "R16G16_TYPELESS", 34, isTypeless),
    dxgi(34, "R16G16_FLOAT", 112),
    dxgi(35, "R16G16_UNORM", 34),
    dxgi(36, "R16G16_UINT", 34, isInteger),
    dxgi(37, "R16G16_SNORM", 34, isSnorm),
    dxgi(38, "R16G16_SINT", 34, isInteger),
    noDxgi(39, "R32_TYPELESS", "32-bit values of no known type; 41 R32_FLOAT is read"),
    noDxgi(40, "D32_FLOAT", depth, asDxgi(41)),
    dxgi(41, "R32_FLOAT", 114),
    noDxgi(42, "R32_UINT", integerValues),
    noDxgi(43, "R32_SINT", integerValues),
    noDxgi(44, "R24G8_TYPELESS", packedDepth),
    noDxgi(45, "D24_UNORM_S8_UINT", packedDepth),
    noDxgi(46, "R24_UNORM_X8_TYPELESS", packedDepth),
    noDxgi(47, "X24_TYPELESS_G8_UINT", stencil),
    dxgi(48, "R8G8_TYPELESS", CODE_DUAL8, isTypeless),
    dxgi(49, "R8G8_UNORM", CODE_DUAL8),
    dxgi(50, "R8G8_UINT", CODE_DUAL8, isInteger),
    dxgi(51, "R8G8_SNORM", CODE_DUAL8, isSnorm),
    dxgi(52, "R8G8_SINT", CODE_DUAL8, isInteger),
    noDxgi(53, "R16_TYPELESS", "16-bit values of no known type; 54 R16_FLOAT and 56 R16_UNORM are read"),
    dxgi(54, "R16_FLOAT", 111),
    noDxgi(55, "D16_UNORM", depth, asDxgi(56)),
    dxgi(56, "R16_UNORM", CODE_SINGLE16),
    dxgi(57, "R16_UINT", CODE_SINGLE16, isInteger),
    dxgi(58, "R16_SNORM", CODE_SINGLE16, isSnorm),
    dxgi(59, "R16_SINT", CODE_SINGLE16, isInteger),
    dxgi(60, "R8_TYPELESS", CODE_SINGLE8, isTypeless),
    dxgi(61, "R8_UNORM", CODE_SINGLE8),
    dxgi(62, "R8_UINT", CODE_SINGLE8, isInteger),
    dxgi(63, "R8_SNORM", CODE_SINGLE8, isSnorm),
    dxgi(64, "R8_SINT", CODE_SINGLE8, isInteger),
    // Alpha only, selected by the file's own alpha mask, or by 0xFF if that is 0.
    {.namedBy = NamedBy::dxgi,
     .id = 65,
     .name = "A8_UNORM",
     .loader = Loader::uncompressed,
     .masks = {0, 0, 0, 0xFF},
     .bytesPerPixel = 1,
     .layout = MaskedAlphaOnly,
     .channels = 1,
     .traits = setsAlpha},
    noDxgi(66, "R1_UNORM", oneBit),
    dxgiPacked(67, "R9G9B9E5_SHAREDEXP", Loader::r9g9b9e5),
    dxgi(68, "R8G8_B8G8_UNORM", fourCC("RGBG")),
    dxgi(69, "G8R8_G8B8_UNORM", fourCC("GRGB")),
    dxgi(70, "BC1_TYPELESS", fourCC("DXT1"), isTypeless),
    dxgi(71, "BC1_UNORM", fourCC("DXT1")),
    dxgi(72, "BC1_UNORM_SRGB", fourCC("DXT1"), isSrgb),
    dxgi(73, "BC2_TYPELESS", fourCC("DXT3"), isTypeless),
    dxgi(74, "BC2_UNORM", fourCC("DXT3")),
    dxgi(75, "BC2_UNORM_SRGB", fourCC("DXT3"), isSrgb),
    dxgi(76, "BC3_TYPELESS", fourCC("DXT5"), isTypeless),
    dxgi(77, "BC3_UNORM", fourCC("DXT5")),
    dxgi(78, "BC3_UNORM_SRGB", fourCC("DXT5"), isSrgb),
    dxgi(79, "BC4_TYPELESS", fourCC("BC4U"), isTypeless),
    dxgi(80, "BC4_UNORM", fourCC("BC4U")),
    dxgi(81, "BC4_SNORM", fourCC("BC4S")),
    dxgi(82, "BC5_TYPELESS", fourCC("ATI2"), isTypeless),
    dxgi(83, "BC5_UNORM", fourCC("ATI2")),
    dxgi(84, "BC5_SNORM", fourCC("BC5S")),
    noDxgi(85, "B5G6R5_UNORM", "5-6-5 colour", asMasks("D3DFMT_R5G6B5")),
    noDxgi(86, "B5G5R5A1_UNORM", "5-5-5-1 colour", asMasks("D3DFMT_A1R5G5B5")),
    dxgiMasks(87, "B8G8R8A8_UNORM", bgra8, BytesBGRA),
    dxgiMasks(88, "B8G8R8X8_UNORM", bgra8, BytesBGRA, ignoresAlpha),
    noDxgi(89, "R10G10B10_XR_BIAS_A2_UNORM", "10-bit colour of extended range", recoded(Recoding::xrBias)),
    dxgiMasks(90, "B8G8R8A8_TYPELESS", bgra8, BytesBGRA, isTypeless),
    dxgiMasks(91, "B8G8R8A8_UNORM_SRGB", bgra8, BytesBGRA, isSrgb),
    dxgiMasks(92, "B8G8R8X8_TYPELESS", bgra8, BytesBGRA, ignoresAlpha | isTypeless),
    dxgiMasks(93, "B8G8R8X8_UNORM_SRGB", bgra8, BytesBGRA, isSrgb | ignoresAlpha),
    dxgi(94, "BC6H_TYPELESS", fourCC("DXT6"), isTypeless),
    dxgi(95, "BC6H_UF16", fourCC("DXT6")),
    dxgiSigned(dxgi(dxgiBC6HSigned, "BC6H_SF16", fourCC("DXT6")), BlockKernel::bc6hSigned),
    dxgi(97, "BC7_TYPELESS", fourCC("DXT7"), isTypeless),
    dxgi(98, "BC7_UNORM", fourCC("DXT7")),
    dxgi(99, "BC7_UNORM_SRGB", fourCC("DXT7"), isSrgb),
    noDxgi(100, "AYUV", video),
    noDxgi(101, "Y410", video),
    noDxgi(102, "Y416", video),
    noDxgi(103, "NV12", video),
    noDxgi(104, "P010", video),
    noDxgi(105, "P016", video),
    noDxgi(106, "420_OPAQUE", "YUV video in an order that is the graphics processor's own"),
    noDxgi(107, "YUY2", packedVideo, recoded(Recoding::yuy2)),
    noDxgi(108, "Y210", video),
    noDxgi(109, "Y216", video),
    noDxgi(110, "NV11", "YUV video in planes whose row pitch in files is not published"),
    noDxgi(111, "AI44", noPalette),
    noDxgi(112, "IA44", noPalette),
    noDxgi(113, "P8", noPalette),
    noDxgi(114, "A8P8", noPalette),
    noDxgi(115, "B4G4R4A4_UNORM", "4-4-4-4 colour", asMasks("D3DFMT_A4R4G4B4")),
    noDxgi(130, "P208", video),
    noDxgi(131, "V208", hiddenPlanes),
    noDxgi(132, "V408", hiddenPlanes),
};

// BC3 whose DX10 header marks its colours as premultiplied is read as "DXT4".
constexpr Format premultipliedRows[] = {
    dxgi(76, "BC3_TYPELESS", fourCC("DXT4"), isTypeless),
    dxgi(77, "BC3_UNORM", fourCC("DXT4")),
    dxgi(78, "BC3_UNORM_SRGB", fourCC("DXT4"), isSrgb),
};

constexpr Format masked(const char* name, const Masks& masks, std::uint8_t bytesPerPixel, std::uint8_t channels,
                        PixelLayout layout = MaskedBits, std::uint32_t number = 0, std::uint32_t sameDxgi = 0) {
    const bool isAlpha = channels == 1;
    return {.namedBy = NamedBy::masks,
            .id = number,
            .name = name,
            .what = isAlpha ? maskedAlpha : maskedColour,
            .loader = Loader::uncompressed,
            .masks = masks,
            .bytesPerPixel = bytesPerPixel,
            .layout = layout,
            .channels = channels,
            .traits = traitsOf(layout == MaskedAlphaOnly ? unsigned{setsAlpha} : 0U),
            .sameDxgi = sameDxgi,
            .remedy = asMasks(name)};
}

// Bit-mask layouts, with the Direct3D number that some writers store in dwFourCC. Rows with a byte layout change how a
// picture is read. The others only add a name: any masks can be read.
constexpr Format maskRows[] = {
    masked("D3DFMT_R8G8B8", bgra8, 3, 3, BytesBGR, 20),
    masked("D3DFMT_X8R8G8B8", bgra8, 4, 3, BytesBGR, 22, 88),
    masked("D3DFMT_R8G8B8A8", {0xFF000000, 0xFF0000, 0xFF00, 0xFF}, 4, 4, BytesABGR),
    masked("D3DFMT_A8R8G8B8", bgra8, 4, 4, BytesBGRA, 21, 87),
    masked("D3DFMT_A8B8G8R8", rgba8, 4, 4, BytesRGBA, 32, 28),
    masked("D3DFMT_A8", {0, 0, 0, 0xFF}, 0, 1, MaskedAlphaOnly, 28, 65),
    masked("D3DFMT_B8G8R8", rgba8, 3, 3),
    masked("D3DFMT_X8B8G8R8", rgba8, 4, 3, MaskedBits, 33),
    masked("D3DFMT_R5G6B5", {0xF800, 0x7E0, 0x1F, 0}, 2, 3, MaskedBits, 23, 85),
    masked("D3DFMT_X1R5G5B5", {0x7C00, 0x3E0, 0x1F, 0}, 2, 3, MaskedBits, 24),
    masked("D3DFMT_A1R5G5B5", {0x7C00, 0x3E0, 0x1F, 0x8000}, 2, 4, MaskedBits, 25, 86),
    masked("D3DFMT_X4R4G4B4", {0xF00, 0xF0, 0xF, 0}, 2, 3, MaskedBits, 30),
    masked("D3DFMT_A4R4G4B4", {0xF00, 0xF0, 0xF, 0xF000}, 2, 4, MaskedBits, 26, 115),
    masked("D3DFMT_R3G3B2", {0xE0, 0x1C, 0x3, 0}, 1, 3, MaskedBits, 27),
    masked("D3DFMT_A8R3G3B2", {0xE0, 0x1C, 0x3, 0xFF00}, 2, 4, MaskedBits, 29),
    masked("D3DFMT_A2B10G10R10", rgb10a2, 4, 4, MaskedBits, 31, 24),
    masked("D3DFMT_A2R10G10B10", {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000}, 4, 4, MaskedBits, 35),
    masked("D3DFMT_G16R16", {0xFFFF, 0xFFFF0000, 0, 0}, 4, 3),
    masked("any alpha mask", {}, 0, 1),
    masked("any masks", {}, 0, 0),
};
constexpr const Format& anyAlphaMask = maskRows[std::size(maskRows) - 2];
constexpr const Format& anyMasks = maskRows[std::size(maskRows) - 1];

constexpr Format palette(std::uint32_t flag, const char* name, unsigned traits) {
    return {.namedBy = NamedBy::palette,
            .id = flag,
            .name = name,
            .loader = Loader::palettised,
            .layout = BytesRGBA,
            .channels = 4,
            .traits = traitsOf(traits | setsAlpha)};
}

// In the order in which the flags are tested.
constexpr Format paletteRows[] = {
    palette(DDPF_PALETTEINDEXED4, "DDPF_PALETTEINDEXED4", smallPalette | nibbleIndices),
    palette(DDPF_PALETTEINDEXEDTO8, "DDPF_PALETTEINDEXEDTO8", nibbleIndices),
    palette(DDPF_PALETTEINDEXED8, "DDPF_PALETTEINDEXED8", 0),
};

constexpr Format flag(std::uint32_t value, const char* name, const char* what) {
    return {.namedBy = NamedBy::flags, .id = value, .name = name, .what = what};
}

// Flags that name a kind of format, none of which is decoded.
constexpr Format flagRows[] = {
    flag(DDPF_BUMPDUDV, "DDPF_BUMPDUDV", "signed bump maps"),
    flag(DDPF_BUMPLUMINANCE, "DDPF_BUMPLUMINANCE", "signed bump maps with luminance"),
    flag(DDPF_YUV, "DDPF_YUV", "YUV data"),
    flag(DDPF_ZBUFFER, "DDPF_ZBUFFER", "depth buffers"),
};

template <typename Visit>
constexpr void forEachDecoded(Visit visit) {
    for (const std::span<const Format> rows : {std::span<const Format>(codeRows), std::span<const Format>(dxgiRows),
                                               std::span<const Format>(maskRows), std::span<const Format>(paletteRows)})
        for (const Format& row : rows)
            if (row.isDecoded()) visit(row);
}

constexpr std::size_t decodedCount = [] {
    std::size_t count = 0;
    forEachDecoded([&count](const Format& /*row*/) { ++count; });
    return count;
}();

constexpr std::array<Format, decodedCount> decodedRows = [] {
    std::array<Format, decodedCount> rows{};
    std::size_t count = 0;
    forEachDecoded([&](const Format& row) { rows[count++] = row; });
    return rows;
}();

constexpr bool dxgiRowsAreWhole() {
    std::uint32_t next = 0;
    for (const Format& row : dxgiRows) {
        const bool isNext = row.id == next || (next == 116 && row.id == 130);  // 116 to 129 are not published
        if (!isNext || row.isDecoded() == (*row.what != '\0') || (row.isDecoded() && row.id > largestDxgiFormat))
            return false;
        next = row.id + 1;
    }
    return next == 133;
}
static_assert(dxgiRowsAreWhole(), "each DXGI format once, in the published order, decoded or said what it is");

const Format* findIn(std::span<const Format> rows, std::uint32_t id) {
    const auto found = std::find_if(rows.begin(), rows.end(), [id](const Format& row) { return row.id == id; });
    return found == rows.end() ? nullptr : &*found;
}

// Three-channel byte layouts ignore the alpha mask; the alpha-only one ignores all others.
bool masksMatch(const Format& row, const Masks& masks) {
    if (row.channels == 1) return row.masks.a == masks.a;
    const bool sameColours = row.masks.r == masks.r && row.masks.g == masks.g && row.masks.b == masks.b;
    return sameColours && (row.channels == 3 || row.masks.a == masks.a);
}

Masks masksIn(const DDS_PIXELFORMAT& format) {
    return {format.dwRBitMask, format.dwGBitMask, format.dwBBitMask, format.dwABitMask};
}

// Returns whether the header has the bits and masks of the row.
bool hasMasksOf(const DDS_PIXELFORMAT& format, const Format& row) {
    return format.dwRGBBitCount == 8U * row.bytesPerPixel && masksIn(format) == row.masks;
}

const Format* decodedOnly(const Format* row) {
    return row != nullptr && row->isDecoded() ? row : nullptr;
}

}  // namespace

const char* loaderName(Loader loader) {
    return loaderNames[static_cast<std::size_t>(loader)];
}

std::span<const Format> formatTable() {
    return decodedRows;
}

const Format* findCode(std::uint32_t code) {
    return decodedOnly(findIn(codeRows, code));
}

const Format* findDxgi(std::uint32_t dxgiFormat) {
    return decodedOnly(findIn(dxgiRows, dxgiFormat));
}

const Format* findUndecodedCode(std::uint32_t code) {
    const Format* row = findIn(codeRows, code);
    if (row == nullptr && code != 0) return findIn(maskRows, code);
    return row != nullptr && row->isDecoded() ? nullptr : row;
}

const Format* findUndecodedDxgi(std::uint32_t dxgiFormat) {
    const Format* row = findIn(dxgiRows, dxgiFormat);
    return row != nullptr && row->isDecoded() ? nullptr : row;
}

const Format* findPremultipliedDxgi(std::uint32_t dxgiFormat) {
    return findIn(premultipliedRows, dxgiFormat);
}

const Format* findBlockCode(std::uint32_t code) {
    const Format* row = findCode(code);
    return row != nullptr && row->loader == Loader::compressed ? row : nullptr;
}

const Format& maskRowNamed(const char* name) {
    return *std::find_if(std::begin(maskRows), std::end(maskRows),
                         [name](const Format& row) { return std::strcmp(row.name, name) == 0; });
}

const Format* maskRowOfDxgi(std::uint32_t dxgiFormat) {
    const Format* row = findUndecodedDxgi(dxgiFormat);
    return row != nullptr && row->remedy.kind == Kind::masks ? &maskRowNamed(row->remedy.text) : nullptr;
}

const Format* findBumpMap(const DDS_PIXELFORMAT& pixelFormat) {
    constexpr std::uint32_t bumpFlags = DDPF_BUMPDUDV | DDPF_BUMPLUMINANCE;
    const std::uint32_t flags = pixelFormat.dwFlags & bumpFlags;
    if (pixelFormat.dwFourCC != 0) return nullptr;
    for (const Format& row : codeRows) {
        if ((row.pixelFlags & flags) != 0 && hasMasksOf(pixelFormat, row)) return &row;
    }
    return nullptr;
}

const Format* findLuminance(const DDS_PIXELFORMAT& pixelFormat) {
    for (const Format& row : codeRows) {
        const bool isLuminance = (row.pixelFlags & DDPF_LUMINANCE) != 0;
        if (isLuminance && pixelFormat.dwFlags == row.pixelFlags && hasMasksOf(pixelFormat, row)) return &row;
    }
    return nullptr;
}

const Format* findUndecodedFlag(std::uint32_t pixelFormatFlags) {
    const auto found = std::find_if(std::begin(flagRows), std::end(flagRows),
                                    [&](const Format& row) { return (pixelFormatFlags & row.id) != 0; });
    return found == std::end(flagRows) ? nullptr : found;
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
    for (const Format& row : maskRows) {
        const bool sameSize = row.bytesPerPixel == 0 || row.bytesPerPixel == bytesPerPixel;
        const bool named = &row != &anyAlphaMask && &row != &anyMasks;
        if (named && row.channels == channels && sameSize && masksMatch(row, masksIn(pixelFormat))) return row;
    }
    return channels == 1 ? anyAlphaMask : anyMasks;
}

std::uint32_t flagsOfMasks(const Format& row) {
    return row.channels == 1 ? DDPF_ALPHA : row.channels == 4 ? DDPF_RGB | DDPF_ALPHAPIXELS : DDPF_RGB;
}

Masks masksOf(const Format& row) {
    // The rows of X8 formats have a mask for the unused byte, which other readers would take for alpha.
    Masks masks = row.masks;
    if (row.channels == 3) masks.a = 0;
    return masks;
}

const Format& findPalette(std::uint32_t pixelFormatFlags) {
    for (const Format& row : paletteRows) {
        if ((pixelFormatFlags & row.id) != 0) return row;
    }
    return paletteRows[std::size(paletteRows) - 1];
}

}  // namespace kpx
