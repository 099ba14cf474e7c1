// What loading a file comes to, worked out from its headers and its size alone: which loader and which row of the table
// of formats, the sizes in the file and in memory, or why there is no picture. Pure functions. The loaders carry a plan
// out: they allocate, read and convert. Nothing else decides how a file is read.
#pragma once

#include <cstdint>

#include "dds/formatTable.h"

namespace kpx {

inline constexpr const char* noMemoryMessage = "Insufficient memory to load DDS file";
inline constexpr const char* noDataMessage = "Error loading DDS pixel data";

// Why a file has no picture of its own.
enum class Refusal : std::uint8_t {
    none,
    headerCut,           // fewer than 128 bytes: the file is not opened; every other refusal gives the black picture
    dx10HeaderCut,       // the file ends inside the DX10 header
    nothingNamed,        // neither a known format flag nor a code
    unknownCode,         // a code that is not decoded
    notABlockCode,       // a code that is decoded, but not by the block-compressed loader, which the flags choose
    linearSizeNeeded,    // a block code that is only decoded with DDSD_LINEARSIZE
    dxgiRejected,        // a DXGI format of 0 to 99 that is not decoded
    dxgiTooLarge,        // a DXGI format above 99
    sideTooLarge,        // a side exceeds largestSide
    pictureTooLarge,     // the picture exceeds largestBlock in memory
    rowTooLarge,         // the channel rows of a scanline exceed it
    dataShort,           // the file ends before the data does
    linearSizeTooLarge,  // the data is there, but the header's linear size asks for more
    paletteShort,        // the file ends before palette and indices do
};

// The loader for a header, and the row by which it reads.
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

// The row by which a loader reads what the pixel format names; null if it does not know the code. With the DX10 header,
// which is zero if there is none, since it tells signed BC6H from unsigned.
const Format* rowFor(Loader loader, const DDS_PIXELFORMAT& pixelFormat, const DDS_HEADER_DXT10& dx10Header);

struct LoadPlan {
    // Why there is no picture. The second is what would refuse it too, without the first: of a code that is not
    // decoded, its data.
    Refusal refusal;
    Refusal secondRefusal;
    const char* printed;  // the loader's message on standard output for a refusal; null: none

    const Format* format;  // null where the format is not decoded
    Loader loader;         // that the header leads to
    Loader decoder;        // that the loader hands over to, or the same

    // The picture as the host gets it: of the 64 by 64 black picture after a refusal, all zero if the file is not
    // opened.
    std::uint32_t width, height;
    PixelLayout layout;           // in memory
    std::uint32_t bytesPerPixel;  // of a stored pixel of bytes; 0 for floats and blocks
    std::uint32_t channels;       // with alpha
    std::uint32_t bits;           // of a channel: 8, or 32 for floats
    bool hasAlpha;
    DDS_PIXELFORMAT pixelFormat;  // as the loader leaves it in the reader's copy of the header

    // Of the declared picture. What is not known, since nothing decodes it, is 0.
    std::uint64_t bytesPresent;    // in the file, after all headers
    std::uint64_t bytesExpected;   // in the file, after all headers
    std::uint64_t fileRowBytes;    // of a row in the file; 0 for block-compressed and palettised data
    std::uint64_t storedRowBytes;  // of a row in memory
    std::uint64_t pictureBytes;    // in memory; of pixel pairs, with room for a whole pair for every pixel
    std::uint64_t wholeRows;       // of the decoded picture, that the file supplies in full
    std::uint64_t rowBytes;        // of the larger of the buffers for a row: of the file, or the channel rows

    std::uint32_t colourChannels() const { return channels - (hasAlpha ? 1 : 0); }
};

// The plan for a whole file: with the bytes that follow the 128-byte header, of which dx10Header is the first 20, read
// where the header asks for them. Assumes that there is as much memory as the limits allow.
LoadPlan planLoad(const DDS_HEADER& header, const DDS_HEADER_DXT10& dx10Header, std::uint64_t bytesAfterHeader);

// The plan of one loader for data of any length, up to its buffers: later refusals are the reader's.
// format is the loader's row, or null where a code is not known; of the header the sides, the linear size and the pixel
// format count.
LoadPlan planLoader(Loader loader, const Format* format, const DDS_HEADER& header);

}  // namespace kpx
