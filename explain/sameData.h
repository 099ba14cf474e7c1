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

// Formats of luminance, which are read by DDPF_LUMINANCE and the number of bits, and not by their code.
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

// Legacy formats by their names, and the DXGI format of the same data, where the reader's table does not join the two
// by a code.
struct SameData {
    const char* legacy;
    std::uint32_t dxgi;
};
std::span<const SameData> sameDataRows();

}  // namespace kpx
