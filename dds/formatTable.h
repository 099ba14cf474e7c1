// The one table of formats: a row for every format code, DXGI format, mask layout, kind of palette and named flag that
// this system knows, decoded or not. The reader acts on it; the tool and the documentation read the same rows.
#pragma once

#include <cstdint>
#include <span>

#include "blocks/kernels.h"
#include "dds/ddsFile.h"
#include "dds/pixelLayout.h"
#include "dds/valueLayout.h"

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

// What in a header names the format.
enum class NamedBy : std::uint8_t { code, dxgi, masks, palette, flags };

// Properties of a format, as bits of Format::traits.
enum Trait : std::uint16_t {
    setsAlpha = 0x0001,       // the loader adds DDPF_ALPHAPIXELS
    highBytes = 0x0002,       // 16-bit values, of which the high byte is kept
    isSnorm = 0x0004,         // bytes are signed-normalised and become unsigned after loading
    isHalf = 0x0008,          // 16-bit floats
    pixelPairs = 0x0010,      // two pixels in four bytes
    linearSizeOnly = 0x0020,  // with DDPF_FOURCC, decoded only when the header has DDSD_LINEARSIZE
    nibbleIndices = 0x0040,   // palette indices of 4 bits
    smallPalette = 0x0080,    // a palette of 16 entries, else 256
    isSrgb = 0x0100,          // colours are sRGB
    ignoresAlpha = 0x0200,    // the alpha bits have no meaning (X8)
    isInteger = 0x0400,       // integers, read as unsigned normalised values
    isTypeless = 0x0800,      // the type of the values is not stated
    isSigned = 0x1000,        // signed values
    isPremultiplied = 0x2000  // colours are multiplied by alpha, and divided by it on reading
};

struct Masks {
    std::uint32_t r, g, b, a;
    bool operator==(const Masks&) const = default;
};

// How the data of a format can be decoded that is not decoded, or not rightly, by the name that the file gives.
struct Remedy {
    enum class Kind : std::uint8_t {
        none,     // not at all; Format::what says why
        code,     // the same data under another code
        masks,    // the same data under DDPF_RGB or DDPF_ALPHA and masks
        flags,    // the same data under the flags, bits and masks of the row itself
        dxgi,     // the same data under a DX10 header
        swizzle,  // blocks of "DXT5" with the channels in another order
        fields,   // the values have to be recoded: fields of a pixel
        yuv,      // the values have to be recoded: YUV planes
    };
    Kind kind = Kind::none;
    std::uint32_t id = 0;  // the code or DXGI number
    // masks: the name of the row of masks. dxgi: what is lost, a clause after a semicolon, or empty. swizzle: for red,
    // green, blue and alpha of what is decoded, the channel that it holds, or '-'.
    const char* text = "";
    const FieldLayout* fields = nullptr;
    const YuvLayout* yuv = nullptr;
};

struct Format {
    NamedBy namedBy = NamedBy::code;
    std::uint32_t id = 0;  // the code, DXGI number or flag; of masks: the Direct3D number, or 0
    const char* name = "";
    const char* what = "";           // what it is, a clause; of formats that are not decoded by this id
    Loader loader = Loader::none;    // none: not decoded
    std::uint32_t code = 0;          // what the loader finds in dwFourCC; 0 where it does not look there
    std::uint32_t pixelFlags = 0;    // DDPF flags that, with bits and masks, name the format without its code
    Masks masks{};                   // of bit-mask formats, and beside pixelFlags
    std::uint8_t bytesPerPixel = 0;  // in the file; 0: as the header says, or block-compressed
    PixelLayout layout = MaskedBits;
    std::uint8_t channels = 0;  // 0: as the header says
    std::uint16_t traits = 0;   // Trait bits
    BlockKernel kernel = BlockKernel::none;
    std::uint8_t blockBytes = 0;  // of a 4 by 4 block; 0: not block-compressed
    std::uint32_t sameDxgi = 0;   // the DXGI format of the same data, where no code joins the two; 0: none
    Remedy remedy{};

    constexpr bool has(unsigned anyOf) const { return (traits & anyOf) != 0; }
    constexpr bool isDecoded() const { return loader != Loader::none; }
};

// The rows of the formats that are decoded.
std::span<const Format> formatTable();

// The row that a code or a DXGI format is decoded by; null if there is none.
const Format* findCode(std::uint32_t code);
const Format* findDxgi(std::uint32_t dxgiFormat);
// As findDxgi, for BC3 whose colours the DX10 header calls premultiplied; null for every other format.
const Format* findPremultipliedDxgi(std::uint32_t dxgiFormat);
// The row of a known code or DXGI format that is not decoded by it; null if there is none. A Direct3D number of
// bit-mask data gives the row of masks.
const Format* findUndecodedCode(std::uint32_t code);
const Format* findUndecodedDxgi(std::uint32_t dxgiFormat);
// The row of a code that names block-compressed data; null if there is none.
const Format* findBlockCode(std::uint32_t code);

// The row of masks with this name, which exists.
const Format& namedMasks(const char* name);
// The row of masks under which an undecoded DXGI format is decoded; null if there is none.
const Format* masksOfDxgi(std::uint32_t dxgiFormat);
// The row of a signed bump map that is named by flags, bits and masks and has no code; null if there is none.
const Format* findBumpMap(const DDS_PIXELFORMAT& pixelFormat);
// The row of luminance with exactly these flags, bits and masks; null if there is none.
const Format* findLuminance(const DDS_PIXELFORMAT& pixelFormat);
// The row of the first flag in pixelFormatFlags that names an undecoded kind of format; null if there is none.
const Format* findUndecodedFlag(std::uint32_t pixelFormatFlags);

// Channels of bit-mask data: 1 (alpha only), 3 or 4.
std::uint32_t maskedChannels(const DDS_PIXELFORMAT& pixelFormat);
// Bytes of a bit-mask pixel: of fewer than 8 bits, as many as there are channels.
std::uint32_t maskedPixelBytes(const DDS_PIXELFORMAT& pixelFormat);
// The row of bit-mask data.
const Format& findMasks(const DDS_PIXELFORMAT& pixelFormat);
// DDS_PIXELFORMAT.dwFlags that go with a row of masks.
std::uint32_t flagsOfMasks(const Format& row);
// The masks to write for a row: without the alpha mask of formats without alpha.
Masks masksOf(const Format& row);

// The row of palette flags, of which one at least is set.
const Format& findPalette(std::uint32_t pixelFormatFlags);

}  // namespace kpx
