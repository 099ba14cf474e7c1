// The same pixels under another name: what the reader decodes, of formats that it does not decode by the name that a
// file gives, and the DXGI formats of legacy ones.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "reader/formatTable.h"

namespace kpx {

// The row of masks by its name; null where there is none.
const Format* findNamedMasks(const char* name);
// The row of the masks of a DXGI format that is not decoded itself; null where there is none.
const Format* masksOfDxgi(std::uint32_t dxgiFormat);

// DDS_PIXELFORMAT.dwFlags that go with a row of masks.
std::uint32_t flagsOfMasks(const Format& row);
// The masks of a row. The table has one for the alpha of formats without alpha, which other readers would take for it.
Masks masksOf(const Format& row);

// Formats of luminance and depth, which are read by flags and the number of bits, and not by their code.
struct LuminanceFormat {
    std::uint32_t code;
    std::uint32_t flags, bits;
    Masks masks;
};
std::span<const LuminanceFormat> luminanceFormats();

// Formats of signed values, by their code or by DDPF_BUMPDUDV and masks, which are read under a DX10 header only.
struct SignedFormat {
    std::uint32_t code;
    const char* name;
    std::uint32_t bits;
    Masks masks;
    std::uint32_t dxgi;
};
std::span<const SignedFormat> signedFormats();

// Codes that are not decoded, of data that is decoded under a DX10 header.
struct CodeOfDxgi {
    std::uint32_t code;
    std::uint32_t dxgi;
    const char* words = "";  // what is not said any more, after a semicolon
};
std::span<const CodeOfDxgi> codesOfDxgi();

// The DXGI format that has the values of another, which is not decoded; 0 where there is none.
std::uint32_t dxgiOfSameValues(std::uint32_t dxgiFormat);

// The number of a format that a legacy header names by flags and masks, of those that are not decoded by them; 0 where
// it is none of them.
std::uint32_t codeOfBumpMap(const DDS_PIXELFORMAT& format);

// Codes of other writers for blocks that are decoded under another code.
struct SameBlocks {
    std::uint32_t code;
    std::uint32_t decoded;
};
std::span<const SameBlocks> sameBlocks();

// Codes of DXT5 blocks with the channels in another order. They are their own source: their letters name what DXT5 has
// as red, green, blue and alpha.
struct SwizzledCode {
    std::uint32_t code;
    const char* holds;  // for red, green, blue and alpha of what is decoded: the channel that it holds, or '-'
};
const SwizzledCode* findSwizzledCode(std::uint32_t code);

// Legacy formats by their names, and the DXGI format of the same data, where the reader's table does not join the two
// by a code.
struct SameData {
    const char* legacy;
    std::uint32_t dxgi;
};
std::span<const SameData> sameDataRows();

}  // namespace kpx
