// The tables, and what is found in them.
#include "explain/sameData.h"

#include <cstring>

namespace kpx {
namespace {

constexpr LuminanceFormat luminance[] = {
    {50, DDPF_LUMINANCE, 8, {0xFF, 0, 0, 0}},
    {51, DDPF_LUMINANCE | DDPF_ALPHAPIXELS, 16, {0xFF, 0, 0, 0xFF00}},
    {81, DDPF_LUMINANCE, 16, {0xFFFF, 0, 0, 0}},
    // Depth is grey, and four bits of luminance are colour whose masks are one.
    {70, DDPF_LUMINANCE, 16, {0xFFFF, 0, 0, 0}},
    {80, DDPF_LUMINANCE, 16, {0xFFFF, 0, 0, 0}},
    {52, DDPF_RGB | DDPF_ALPHAPIXELS, 8, {0xF, 0xF, 0xF, 0xF0}},
};

// The codes of blocks are of writers that name BC6H and BC7 without a DX10 header; D3DFMT_CxV8U8 stores two signed
// bytes.
constexpr CodeOfDxgi underDx10[] = {
    {82, 41},
    {117, 51, "; the third value, which is worked out of the two, is added by \"kpximage convert --normal-z\""},
    {fourCC("BC6H"), 95},
    {fourCC("BC6S"), 96},
    {fourCC("BC7L"), 98},
    {fourCC("BC7\0"), 98},
};

struct SameValues {
    std::uint32_t dxgi, decoded;
};
constexpr SameValues sameValues[] = {{40, 41}, {55, 56}};

struct BumpMap {
    std::uint32_t flag, bits;
    Masks masks;
    std::uint32_t code;
};
constexpr BumpMap bumpMaps[] = {
    {DDPF_BUMPLUMINANCE, 16, {0x1F, 0x3E0, 0xFC00, 0}, 61},
    {DDPF_BUMPLUMINANCE, 32, {0xFF, 0xFF00, 0xFF0000, 0}, 62},
    {DDPF_BUMPDUDV, 32, {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000}, 67},
};

constexpr SameBlocks blocksOfOthers[] = {
    {fourCC("ATI1"), fourCC("BC4U")},
    {fourCC("A2XY"), fourCC("ATI2")},
};

constexpr SwizzledCode swizzled[] = {
    {fourCC("RXGB"), "-GBR"}, {fourCC("xGBR"), "-GBR"}, {fourCC("RxBG"), "R-BG"}, {fourCC("RBxG"), "RB-G"},
    {fourCC("xRBG"), "-RBG"}, {fourCC("RGxB"), "RG-B"}, {fourCC("xGxR"), "-G-R"},
};

constexpr SignedFormat signedValues[] = {
    {60, "D3DFMT_V8U8", 16, {0xFF, 0xFF00, 0, 0}, 51},
    {63, "D3DFMT_Q8W8V8U8", 32, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}, 31},
    {64, "D3DFMT_V16U16", 32, {0xFFFF, 0xFFFF0000, 0, 0}, 37},
    {110, "D3DFMT_Q16W16V16U16", 64, {}, 13},
};

constexpr SameData same[] = {
    {"DXT2", 74},
    {"DXT4", 77},
    {"BC5U", 83},
    {"D3DFMT_Q16W16V16U16", 13},
    {"D3DFMT_A8R8G8B8", 87},
    {"D3DFMT_X8R8G8B8", 88},
    {"D3DFMT_A8B8G8R8", 28},
    {"D3DFMT_A2B10G10R10", 24},
    {"D3DFMT_R5G6B5", 85},
    {"D3DFMT_A1R5G5B5", 86},
    {"D3DFMT_A4R4G4B4", 115},
    {"D3DFMT_A8", 65},
};

}  // namespace

const Format* findNamedMasks(const char* name) {
    for (const Format& row : formatTable()) {
        if (row.namedBy == NamedBy::masks && std::strcmp(row.name, name) == 0) return &row;
    }
    return nullptr;
}

const Format* masksOfDxgi(std::uint32_t dxgiFormat) {
    for (const SameData& row : same) {
        if (row.dxgi == dxgiFormat && findDxgi(dxgiFormat) == nullptr) return findNamedMasks(row.legacy);
    }
    return nullptr;
}

std::uint32_t flagsOfMasks(const Format& row) {
    return row.channels == 1 ? DDPF_ALPHA : row.channels == 4 ? DDPF_RGB | DDPF_ALPHAPIXELS : DDPF_RGB;
}

Masks masksOf(const Format& row) {
    Masks masks = row.masks;
    if (row.channels == 3) masks.a = 0;
    return masks;
}

std::span<const LuminanceFormat> luminanceFormats() {
    return luminance;
}

std::span<const SignedFormat> signedFormats() {
    return signedValues;
}

std::span<const CodeOfDxgi> codesOfDxgi() {
    return underDx10;
}

std::uint32_t dxgiOfSameValues(std::uint32_t dxgiFormat) {
    for (const SameValues& row : sameValues) {
        if (row.dxgi == dxgiFormat) return row.decoded;
    }
    return 0;
}

std::uint32_t codeOfBumpMap(const DDS_PIXELFORMAT& format) {
    const Masks masks{format.dwRBitMask, format.dwGBitMask, format.dwBBitMask, format.dwABitMask};
    for (const BumpMap& row : bumpMaps) {
        const bool isFlagged = (format.dwFlags & row.flag) != 0 && format.dwFourCC == 0;
        if (isFlagged && format.dwRGBBitCount == row.bits && masks == row.masks) return row.code;
    }
    return 0;
}

std::span<const SameBlocks> sameBlocks() {
    return blocksOfOthers;
}

const SwizzledCode* findSwizzledCode(std::uint32_t code) {
    for (const SwizzledCode& row : swizzled) {
        if (row.code == code) return &row;
    }
    return nullptr;
}

std::span<const SameData> sameDataRows() {
    return same;
}

}  // namespace kpx
