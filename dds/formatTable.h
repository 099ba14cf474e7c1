// The table of formats. Every format code, DXGI format, mask layout, palette and flag that this system knows has one
// row, whether it is decoded or not. The reader, the tool and the documentation use the same rows.
#pragma once

#include <cstdint>
#include <span>

#include "blocks/kernels.h"
#include "dds/ddsFile.h"
#include "dds/pixelLayout.h"

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
// Returns the loader's name in the code, such as "loadCompressedImage"; "none" for none.
const char* loaderName(Loader loader);

// The part of a header that names the format.
enum class NamedBy : std::uint8_t { code, dxgi, masks, palette, flags };

// Properties of a format, as bits of Format::traits.
enum Trait : std::uint16_t {
    setsAlpha = 0x0001,       // the loader adds DDPF_ALPHAPIXELS
    highBytes = 0x0002,       // 16-bit values; only the high byte is used
    isSnorm = 0x0004,         // bytes are signed-normalised; loading makes them unsigned
    isHalf = 0x0008,          // 16-bit floats
    pixelPairs = 0x0010,      // two pixels in four bytes
    linearSizeOnly = 0x0020,  // if DDPF_FOURCC is set, decoded only with DDSD_LINEARSIZE
    nibbleIndices = 0x0040,   // 4-bit palette indices
    smallPalette = 0x0080,    // 16 palette entries instead of 256
    isSrgb = 0x0100,          // sRGB colour
    ignoresAlpha = 0x0200,    // alpha bits without meaning (X8)
    isInteger = 0x0400,       // integers, read as unsigned normalised values
    isTypeless = 0x0800,      // the name does not state the type of the values
    isSigned = 0x1000,        // signed values
    isPremultiplied = 0x2000  // colour multiplied by alpha; reading divides it again
};

struct Masks {
    std::uint32_t r, g, b, a;
    bool operator==(const Masks&) const = default;
};

// The ways of recoding the pixels of formats that are not decoded.
enum class Recoding : std::uint8_t { swizzledBlocks, xrBias, l6v5u5, x8l8v8u8, a2w10v10u10, uyvy, yuy2 };

// What helps a format that is not decoded, or decoded wrongly, by the name that the file gives it: another name, or the
// conversion of its data.
struct Remedy {
    enum class Kind : std::uint8_t {
        none,      // impossible; Format::what says why
        code,      // the same data under another code
        masks,     // the same data under DDPF_RGB or DDPF_ALPHA and masks
        flags,     // the same data under the flags, bits and masks of the row itself
        dxgi,      // the same data under a DX10 header
        recoding,  // recoded pixels
    };
    Kind kind = Kind::none;
    std::uint32_t id = 0;  // the code or DXGI number
    Recoding recoding{};
    // masks: the name of the row of masks. dxgi: what is lost, worded to follow a semicolon, or empty. swizzledBlocks:
    // the channel that each of the decoded red, green, blue and alpha holds, or '-'.
    const char* text = "";
};

struct Format {
    NamedBy namedBy = NamedBy::code;
    std::uint32_t id = 0;  // the code, DXGI number or flag; for masks the Direct3D number, or 0
    const char* name = "";
    const char* what = "";         // a clause that describes a format which is not decoded by this id
    Loader loader = Loader::none;  // none: not decoded
    std::uint32_t code = 0;        // the dwFourCC that the loader works by; 0 if it does not use it
    std::uint32_t pixelFlags = 0;  // DDPF flags that name the format without a code, together with bit count and masks
    Masks masks{};                 // for bit-mask formats, and for pixelFlags
    std::uint8_t bytesPerPixel = 0;  // in the file; 0: as the header says, or block-compressed
    PixelLayout layout = MaskedBits;
    std::uint8_t channels = 0;  // 0: as the header says
    std::uint16_t traits = 0;   // Trait bits
    BlockKernel kernel = BlockKernel::none;
    std::uint8_t blockBytes = 0;  // of a 4 by 4 block; 0: not block-compressed
    std::uint32_t sameDxgi = 0;   // the DXGI format of the same data, if its row has another code; 0: none
    Remedy remedy{};

    constexpr bool has(unsigned anyOf) const { return (traits & anyOf) != 0; }
    constexpr bool isDecoded() const { return loader != Loader::none; }
};

// Returns the rows of all formats that are decoded.
std::span<const Format> formatTable();

// Return the row that decodes a code or a DXGI format; null if there is none.
const Format* findCode(std::uint32_t code);
const Format* findDxgi(std::uint32_t dxgiFormat);
// Like findDxgi, for BC3 that the DX10 header marks as premultiplied; null for every other format.
const Format* findPremultipliedDxgi(std::uint32_t dxgiFormat);
// Return the row of a code or DXGI format that is known but not decoded by that name; null if there is none. For a code
// that is the Direct3D number of a bit-mask format, the first returns the row of its masks.
const Format* findUndecodedCode(std::uint32_t code);
const Format* findUndecodedDxgi(std::uint32_t dxgiFormat);
// Returns the row of a code for block-compressed data; null if there is none.
const Format* findBlockCode(std::uint32_t code);

// Returns the row of masks with this name. Requires: it exists.
const Format& maskRowNamed(const char* name);
// Returns the row of masks that decodes the data of an undecoded DXGI format; null if there is none.
const Format* maskRowOfDxgi(std::uint32_t dxgiFormat);
// Returns the row of a signed bump map named by flags, bits and masks instead of a code; null if there is none.
const Format* findBumpMap(const DDS_PIXELFORMAT& pixelFormat);
// Returns the row of luminance with exactly these flags, bits and masks; null if there is none.
const Format* findLuminance(const DDS_PIXELFORMAT& pixelFormat);
// Returns the row of the first flag that names an undecoded kind of format; null if there is none.
const Format* findUndecodedFlag(std::uint32_t pixelFormatFlags);

// Returns the number of channels of bit-mask data: 1 (alpha only), 3 or 4.
std::uint32_t maskedChannels(const DDS_PIXELFORMAT& pixelFormat);
// Returns the bytes of a bit-mask pixel. A pixel of fewer than 8 bits counts as one byte per channel.
std::uint32_t maskedPixelBytes(const DDS_PIXELFORMAT& pixelFormat);
// Returns the row with these masks, or the general row for any masks.
const Format& findMasks(const DDS_PIXELFORMAT& pixelFormat);
// Returns the DDS_PIXELFORMAT.dwFlags for a row of masks.
std::uint32_t flagsOfMasks(const Format& row);
// Returns the masks to write into a header. The alpha mask is 0 for formats without alpha.
Masks masksOf(const Format& row);

// Returns the row for palette flags. Requires: at least one of them is set.
const Format& findPalette(std::uint32_t pixelFormatFlags);

}  // namespace kpx
