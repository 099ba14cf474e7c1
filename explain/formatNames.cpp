// The published formats that are not decoded, with what they are, and the words for the decoded ones.
#include "explain/formatNames.h"

#include <cctype>
#include <cstring>
#include <span>

#include "explain/sameData.h"
#include "explain/text.h"

namespace kpx {
namespace {

constexpr const char* asInteger = "integers";
constexpr const char* asDepth = "depth and stencil";
constexpr const char* asVideo = "YUV video";
constexpr const char* asPlanes = "YUV video in planes whose order is not published";
constexpr const char* asStencil = "stencil numbers, which are no picture";
constexpr const char* asOneBit = "one bit a pixel, in an order that is not published";
constexpr const char* asIndices = "palette indices without a palette";

// The published DXGI formats that are not decoded.
constexpr UndecodedFormat undecodedDxgi[] = {
    {0, "UNKNOWN", "no format at all"},
    {1, "R32G32B32A32_TYPELESS", "four 32-bit values of no known type; 2 R32G32B32A32_FLOAT is read"},
    {3, "R32G32B32A32_UINT", asInteger},
    {4, "R32G32B32A32_SINT", asInteger},
    {5, "R32G32B32_TYPELESS", "three 32-bit values of no known type; 6 R32G32B32_FLOAT is read"},
    {7, "R32G32B32_UINT", asInteger},
    {8, "R32G32B32_SINT", asInteger},
    {9, "R16G16B16A16_TYPELESS", "four 16-bit values of no known type; 10 _FLOAT, 11 _UNORM and 13 _SNORM are read"},
    {12, "R16G16B16A16_UINT", asInteger},
    {14, "R16G16B16A16_SINT", asInteger},
    {15, "R32G32_TYPELESS", "two 32-bit values of no known type; 16 R32G32_FLOAT is read"},
    {17, "R32G32_UINT", asInteger},
    {18, "R32G32_SINT", asInteger},
    {19, "R32G8X24_TYPELESS", asDepth},
    {20, "D32_FLOAT_S8X24_UINT", asDepth},
    {21, "R32_FLOAT_X8X24_TYPELESS", asDepth},
    {22, "X32_TYPELESS_G8X24_UINT", asStencil},
    {39, "R32_TYPELESS", "32-bit values of no known type; 41 R32_FLOAT is read"},
    {40, "D32_FLOAT", asDepth},
    {42, "R32_UINT", asInteger},
    {43, "R32_SINT", asInteger},
    {44, "R24G8_TYPELESS", asDepth},
    {45, "D24_UNORM_S8_UINT", asDepth},
    {46, "R24_UNORM_X8_TYPELESS", asDepth},
    {47, "X24_TYPELESS_G8_UINT", asStencil},
    {53, "R16_TYPELESS", "16-bit values of no known type; 54 R16_FLOAT and 56 R16_UNORM are read"},
    {55, "D16_UNORM", asDepth},
    {66, "R1_UNORM", asOneBit},
    {85, "B5G6R5_UNORM", "5-6-5 colour"},
    {86, "B5G5R5A1_UNORM", "5-5-5-1 colour"},
    {89, "R10G10B10_XR_BIAS_A2_UNORM", "10-bit colour of extended range; 24 R10G10B10A2_UNORM is read"},
    {100, "AYUV", asVideo},
    {101, "Y410", asVideo},
    {102, "Y416", asVideo},
    {103, "NV12", asVideo},
    {104, "P010", asVideo},
    {105, "P016", asVideo},
    {106, "420_OPAQUE", "YUV video in an order that is the graphics processor's own"},
    {107, "YUY2", asVideo},
    {108, "Y210", asVideo},
    {109, "Y216", asVideo},
    {110, "NV11", "YUV video in planes whose lengths of rows in files are not published"},
    {111, "AI44", asIndices},
    {112, "IA44", asIndices},
    {113, "P8", asIndices},
    {114, "A8P8", asIndices},
    {115, "B4G4R4A4_UNORM", "4-4-4-4 colour"},
    {130, "P208", asVideo},
    {131, "V208", asPlanes},
    {132, "V408", asPlanes},
};

constexpr const char* asMasks = "bit-mask colour, which is read with DDPF_RGB and masks, not by a code";
constexpr const char* asLuminance = "luminance, which is read with DDPF_LUMINANCE, not by a code";
constexpr const char* asBumpMap = "a signed bump map";
constexpr const char* asSwizzled = "DXT5 with its channels in another order";
constexpr const char* asBC6H = "not a published code; BC6H is read under a DX10 header";
constexpr const char* asBC7 = "not a published code; BC7 is read under a DX10 header";
constexpr const char* asMobile = "blocks of mobile graphics, which are to be exported anew from where they were made";
constexpr const char* asOpaqueDepth = "depth and stencil, whose places in the file are not published";

// The Direct3D numbers and the four-character codes that are not decoded.
constexpr UndecodedFormat undecodedCodes[] = {
    {20, "D3DFMT_R8G8B8", asMasks},
    {21, "D3DFMT_A8R8G8B8", asMasks},
    {22, "D3DFMT_X8R8G8B8", asMasks},
    {23, "D3DFMT_R5G6B5", asMasks},
    {24, "D3DFMT_X1R5G5B5", asMasks},
    {25, "D3DFMT_A1R5G5B5", asMasks},
    {26, "D3DFMT_A4R4G4B4", asMasks},
    {27, "D3DFMT_R3G3B2", asMasks},
    {28, "D3DFMT_A8", "alpha only, which is read with DDPF_ALPHA and a mask, not by a code"},
    {29, "D3DFMT_A8R3G3B2", asMasks},
    {30, "D3DFMT_X4R4G4B4", asMasks},
    {31, "D3DFMT_A2B10G10R10", asMasks},
    {32, "D3DFMT_A8B8G8R8", asMasks},
    {33, "D3DFMT_X8B8G8R8", asMasks},
    {35, "D3DFMT_A2R10G10B10", asMasks},
    {40, "D3DFMT_A8P8", asIndices},
    {41, "D3DFMT_P8", "palette indices, which are read with DDPF_PALETTEINDEXED8, not by a code"},
    {50, "D3DFMT_L8", asLuminance},
    {51, "D3DFMT_A8L8", asLuminance},
    {52, "D3DFMT_A4L4", "luminance and alpha of 4 bits"},
    {60, "D3DFMT_V8U8", asBumpMap},
    {61, "D3DFMT_L6V5U5", asBumpMap},
    {62, "D3DFMT_X8L8V8U8", asBumpMap},
    {63, "D3DFMT_Q8W8V8U8", asBumpMap},
    {64, "D3DFMT_V16U16", asBumpMap},
    {67, "D3DFMT_A2W10V10U10", asBumpMap},
    {70, "D3DFMT_D16_LOCKABLE", asDepth},
    {71, "D3DFMT_D32", "depth"},
    {73, "D3DFMT_D15S1", asOpaqueDepth},
    {75, "D3DFMT_D24S8", asOpaqueDepth},
    {77, "D3DFMT_D24X8", "depth, whose place in the file is not published"},
    {79, "D3DFMT_D24X4S4", asOpaqueDepth},
    {80, "D3DFMT_D16", asDepth},
    {81, "D3DFMT_L16", asLuminance},
    {82, "D3DFMT_D32F_LOCKABLE", asDepth},
    {83, "D3DFMT_D24FS8", asOpaqueDepth},
    {84, "D3DFMT_D32_LOCKABLE", "depth"},
    {85, "D3DFMT_S8_LOCKABLE", asStencil},
    {117, "D3DFMT_CxV8U8", asBumpMap},
    {118, "D3DFMT_A1", asOneBit},
    {119, "D3DFMT_A2B10G10R10_XR_BIAS", "10-bit colour of extended range"},
    {CODE_RGB_FLOAT32, "CODE_RGB_FLOAT32", "three 32-bit floats, which are read under a DX10 header as format 6"},
    {fourCC("ATI1"), "ATI1", "BC4; the same blocks are read as \"BC4U\""},
    {fourCC("RXGB"), "RXGB", "DXT5 with red stored as alpha; the same blocks are read, with red in alpha, as \"DXT5\""},
    {fourCC("A2D5"), "A2D5", "DXT5 with its channels in an order that is not published"},
    {fourCC("xGBR"), "xGBR", asSwizzled},
    {fourCC("RxBG"), "RxBG", asSwizzled},
    {fourCC("RBxG"), "RBxG", asSwizzled},
    {fourCC("xRBG"), "xRBG", asSwizzled},
    {fourCC("RGxB"), "RGxB", asSwizzled},
    {fourCC("xGxR"), "xGxR", asSwizzled},
    {fourCC("A2XY"), "A2XY", "BC5; the same blocks are read as \"ATI2\""},
    {fourCC("BC6H"), "BC6H", asBC6H},
    {fourCC("BC6S"), "BC6S", asBC6H},
    {fourCC("BC7L"), "BC7L", asBC7},
    {fourCC("BC7\0"), "BC7", asBC7},
    {fourCC("UYVY"), "UYVY", asVideo},
    {fourCC("YUY2"), "YUY2", asVideo},
    {fourCC("AYUV"), "AYUV", asVideo},
    {fourCC("NV12"), "NV12", asVideo},
    {fourCC("YV12"), "YV12", asVideo},
    {fourCC("P010"), "P010", asVideo},
    {fourCC("P016"), "P016", asVideo},
    {fourCC("Y210"), "Y210", asVideo},
    {fourCC("Y216"), "Y216", asVideo},
    {fourCC("Y410"), "Y410", asVideo},
    {fourCC("Y416"), "Y416", asVideo},
    {fourCC("IYUV"), "IYUV", asVideo},
    {fourCC("I420"), "I420", asVideo},
    {fourCC("MET1"), "MULTI2_ARGB8", "several pictures in one, whose order is not published"},
    {fourCC("ETC1"), "ETC1", asMobile},
    {fourCC("ETC2"), "ETC2", asMobile},
    {fourCC("PTC2"), "PVRTC 2 bits", asMobile},
    {fourCC("PTC4"), "PVRTC 4 bits", asMobile},
};

const UndecodedFormat* findIn(std::span<const UndecodedFormat> rows, std::uint32_t id) {
    for (const UndecodedFormat& row : rows) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

// Whether the code is one that this system uses for itself.
bool isOwnCode(std::uint32_t code) {
    return code >= CODE_SINGLE16 && (code <= CODE_SINGLE8 || code == CODE_RGB_FLOAT32);
}

// Whether the code reads the DXGI format's data but says another type of them: unsigned and normalised.
bool isReadAs(const Format& format) {
    const auto isNamed = [&](const char* part) { return std::strstr(format.name, part) != nullptr; };
    const bool isSignedFloat = format.kernel == BlockKernel::bc6hSigned;
    return format.has(isSnorm) || isSignedFloat || isNamed("_UINT") || isNamed("_SINT");
}

// The first DXGI format of a known type that is read by the code.
std::string dxgiOfCode(std::uint32_t code) {
    for (const Format& row : formatTable()) {
        const bool isTyped = std::strstr(row.name, "_TYPELESS") == nullptr;
        if (row.namedBy == NamedBy::dxgi && row.code == code && isTyped) return "DXGI " + dxgiText(row.id);
    }
    return {};
}

}  // namespace

const UndecodedFormat* findUndecodedDxgi(std::uint32_t dxgiFormat) {
    return findIn(undecodedDxgi, dxgiFormat);
}

const UndecodedFormat* findUndecodedCode(std::uint32_t code) {
    return findIn(undecodedCodes, code);
}

std::string codeText(std::uint32_t code) {
    if (code <= 0xFFFF) return std::to_string(code);
    std::string text = "\"";
    for (int shift = 0; shift < 32; shift += 8) {
        const auto character = static_cast<unsigned char>(code >> shift);
        if (std::isprint(character) == 0) return hex(code);
        text += static_cast<char>(character);
    }
    return text + "\"";
}

std::string namedCode(std::uint32_t code) {
    const UndecodedFormat* known = code <= 0xFFFF ? findUndecodedCode(code) : nullptr;
    // Four characters are their own name.
    return known == nullptr ? codeText(code) : textOf(code, " ", known->name);
}

std::string dxgiText(std::uint32_t dxgiFormat) {
    const Format* decoded = findDxgi(dxgiFormat);
    const UndecodedFormat* undecoded = findUndecodedDxgi(dxgiFormat);
    const char* name = decoded != nullptr ? decoded->name : undecoded != nullptr ? undecoded->name : nullptr;
    return name == nullptr ? std::to_string(dxgiFormat) : textOf(dxgiFormat, " ", name);
}

std::string formatText(const Format& format) {
    switch (format.namedBy) {
        case NamedBy::code:
            // A four-character code is its own name.
            return "code " + codeText(format.id) + (format.id <= 0xFFFF ? textOf(" ", format.name) : "");
        case NamedBy::dxgi:
            return "DXGI " + dxgiText(format.id);
        case NamedBy::masks:
            // Rows without masks of their own, "any masks", are their own names.
            return format.masks == Masks{} ? format.name : textOf("masks ", format.name);
        case NamedBy::palette:
            return textOf("palette ", format.name);
    }
    return {};
}

std::string otherName(const Format& format) {
    for (const SameData& row : sameDataRows()) {
        if (format.namedBy != NamedBy::dxgi && std::strcmp(row.legacy, format.name) == 0) {
            return "DXGI " + dxgiText(row.dxgi);
        }
    }
    if (format.namedBy == NamedBy::code) return dxgiOfCode(format.code);
    if (format.namedBy != NamedBy::dxgi) return {};
    if (format.code != 0) return isOwnCode(format.code) || isReadAs(format) ? "" : formatText(*findCode(format.code));
    for (const SameData& row : sameDataRows()) {
        if (row.dxgi == format.id) return textOf("masks ", row.legacy);
    }
    return {};
}

}  // namespace kpx
