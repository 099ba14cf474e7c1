// The one table of formats: every code, DXGI format, mask layout and kind of palette that the reader knows, a row
// each, and the pure functions that choose a row for a header. The reader acts on them; the tool and the
// documentation read the same table.
#pragma once

#include <cstdint>
#include <span>

#include "blocks/kernels.h"
#include "reader/ddsFile.h"
#include "reader/pixelLayout.h"

namespace kpx {

enum class Loader : std::uint8_t {
    none,
    uncompressed,
    floatingPoint,
    r11g11b10,
    r9g9b9e5,
    palettised,
    d3dFormat,
    dx10,
    compressed,
};
// The loader's name in the code, such as "loadCompressedImage"; "none" for none.
const char* loaderName(Loader loader);

// What in a header names the format.
enum class NamedBy : std::uint8_t { code, dxgi, masks, palette };

// Properties of a format, as bits of Format::flags.
enum FormatFlag : std::uint8_t {
    setsAlpha = 0x01,       // the loader adds DDPF_ALPHAPIXELS
    highBytes = 0x02,       // 16-bit values of which the high byte is kept
    isSnorm = 0x04,         // bytes are signed-normalised and become unsigned after loading
    isHalf = 0x08,          // 16-bit floats
    pixelPairs = 0x10,      // two pixels in four bytes
    linearSizeOnly = 0x20,  // with DDPF_FOURCC, decoded only when the header has DDSD_LINEARSIZE
    nibbleIndices = 0x40,   // palette indices of 4 bits
    smallPalette = 0x80,    // a palette of 16 entries, else 256
};

struct Masks {
    std::uint32_t r, g, b, a;
    bool operator==(const Masks&) const = default;
};

struct Format {
    NamedBy namedBy;
    std::uint32_t id;  // the code, DXGI number or palette flag; 0 for masks
    const char* name;  // as published, where it is
    Loader loader;
    std::uint32_t code;          // what the loader finds in dwFourCC; 0 where it does not look there
    Masks masks;                 // of bit-mask formats
    std::uint8_t bytesPerPixel;  // in the file; 0: as the header says, or block-compressed
    PixelLayout layout;
    std::uint8_t channels;  // 0: as the header says
    std::uint8_t flags;     // FormatFlag bits
    BlockKernel kernel;
    std::uint8_t blockBytes;  // of a 4 by 4 block; 0: not block-compressed

    constexpr bool has(FormatFlag flag) const { return (flags & flag) != 0; }
};

std::span<const Format> formatTable();

// The row of a format code or of a DXGI format; null when there is none.
const Format* findCode(std::uint32_t code);
const Format* findDxgi(std::uint32_t dxgiFormat);
// The row of a format code that names block-compressed data; null when there is none.
const Format* findBlockCode(std::uint32_t code);

// Channels of bit-mask data: 1 (alpha only), 3 or 4.
std::uint32_t maskedChannels(const DDS_PIXELFORMAT& pixelFormat);

// Bytes of a bit-mask pixel: of fewer than 8 bits, as many as there are channels.
std::uint32_t maskedPixelBytes(const DDS_PIXELFORMAT& pixelFormat);

// The row of bit-mask data.
const Format& findMasks(const DDS_PIXELFORMAT& pixelFormat);

// The row of palette flags, of which one at least is set.
const Format& findPalette(std::uint32_t pixelFormatFlags);

// Why a header has no loader.
enum class Refusal : std::uint8_t {
    none,
    nothingNamed,      // no format flag that is known, and no code
    unknownCode,       // the loader that the flags lead to does not know the code
    linearSizeNeeded,  // a block code that is only decoded with DDSD_LINEARSIZE
    dxgiRejected,      // a DXGI format of 0 to 99 that is not decoded
    dxgiTooLarge,      // a DXGI format above 99
};

struct Choice {
    Loader loader;         // none: the load fails at once
    const Format* format;  // null for Loader::dx10, and where refusal says why there is none
    Refusal refusal;
    std::uint32_t code;  // dwFourCC as it is to stand in the reader's copy of the header
};

// The loader for a header, by its flags and its code.
Choice chooseLoader(const DDS_HEADER& header);

// The loader for a DX10 header; never Loader::dx10.
Choice chooseDxgi(const DDS_HEADER_DXT10& dx10Header);

// Describes a chosen DXGI format in the terms of its loader: by code in dwFourCC, or by masks.
void describeDxgi(const Choice& choice, DDS_PIXELFORMAT& pixelFormat);

}  // namespace kpx
