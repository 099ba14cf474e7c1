// The tables, and what is found in them.
#include "explain/sameData.h"

#include <cstring>

namespace kpx {
namespace {

constexpr LuminanceFormat luminance[] = {
    {50, DDPF_LUMINANCE, 8, {0xFF, 0, 0, 0}},
    {51, DDPF_LUMINANCE | DDPF_ALPHAPIXELS, 16, {0xFF, 0, 0, 0xFF00}},
    {81, DDPF_LUMINANCE, 16, {0xFFFF, 0, 0, 0}},
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

std::span<const SameData> sameDataRows() {
    return same;
}

}  // namespace kpx
