// Plans how a file is loaded, from its headers and size alone: the loader, the row of the table of formats, the sizes
// in the file and in memory, or the reason why there is no picture. These are pure functions, and the only place that
// decides how a file is read. The loaders carry out a plan: they allocate, read and convert.
#pragma once

#include <cstdint>

#include "dds/formatTable.h"

namespace kpx {

inline constexpr const char* noMemoryMessage = "Insufficient memory to load DDS file";
inline constexpr const char* noDataMessage = "Error loading DDS pixel data";

// The reason why a file has no picture.
enum class Refusal : std::uint8_t {
    none,
    headerCut,           // fewer than 128 bytes: the file is not opened; all others result in the black picture
    dx10HeaderCut,       // the file ends inside the DX10 header
    nothingNamed,        // neither a known format flag nor a code
    unknownCode,         // a code that is not decoded
    notABlockCode,       // a decoded code, but the flags select the block-compressed loader
    linearSizeNeeded,    // a block code that is decoded only with DDSD_LINEARSIZE
    dxgiRejected,        // a DXGI format of 0 to 99 that is not decoded
    dxgiTooLarge,        // a DXGI format above 99
    sideTooLarge,        // a side exceeds largestSide
    pictureTooLarge,     // the picture exceeds largestBlock in memory
    rowTooLarge,         // the channel rows of a scanline exceed largestBlock
    dataShort,           // the file ends before the data does
    linearSizeTooLarge,  // the data is complete, but the header's linear size is larger
    paletteShort,        // the file ends inside the palette or the indices
};

// The loader for a header, and the row that it reads by.
struct Choice {
    Loader loader;         // none: the load fails at once
    const Format* format;  // null for Loader::dx10, and if there is a refusal
    Refusal refusal;
    std::uint32_t code;  // the dwFourCC to store in the reader's copy of the header
};

// Returns the loader for a header, by its flags and its code.
Choice chooseLoader(const DDS_HEADER& header);
// Returns the loader for a DX10 header; never Loader::dx10.
Choice chooseDxgi(const DDS_HEADER_DXT10& dx10Header);
// Describes a chosen DXGI format in the terms of its loader: by code in dwFourCC, or by masks.
void rewriteForDxgi(const Choice& choice, DDS_PIXELFORMAT& pixelFormat);

// Returns the row that a loader reads by; null if it does not know the code. The DX10 header, all zero if there is
// none, distinguishes signed BC6H from unsigned.
const Format* formatFor(Loader loader, const DDS_PIXELFORMAT& pixelFormat, const DDS_HEADER_DXT10& dx10Header);

struct LoadPlan {
    // Why there is no picture. The second is the reason that would remain without the first: the code is not decoded,
    // say, and the data is too short as well.
    Refusal refusal;
    Refusal secondRefusal;
    const char* printed;  // the loader's message on standard output; null: none

    const Format* format;  // null if the format is not decoded
    Loader loader;         // chosen by the header
    Loader decoder;        // the loader that it hands over to, or the same one

    // The picture that the host gets. After a refusal it is the 64 by 64 black picture; if the file is not opened, all
    // are zero.
    std::uint32_t width, height;
    PixelLayout layout;           // in memory
    std::uint32_t bytesPerPixel;  // of a stored pixel of bytes; 0 for floats and blocks
    std::uint32_t channels;       // with alpha
    std::uint32_t bits;           // of a channel: 8, or 32 for floats
    bool hasAlpha;
    DDS_PIXELFORMAT pixelFormat;  // as the loader leaves it in the reader's copy of the header

    // The picture that the headers declare. If nothing decodes the format, its sizes are unknown and are 0.
    std::uint64_t bytesPresent;    // in the file, after all headers
    std::uint64_t bytesExpected;   // in the file, after all headers
    std::uint64_t fileRowBytes;    // of a row in the file; 0 for block-compressed and palettised data
    std::uint64_t storedRowBytes;  // of a row in memory
    std::uint64_t pictureBytes;    // in memory; pixel pairs count as 6 bytes per pixel
    std::uint64_t wholeRows;       // rows of the decoded picture that the file supplies in full
    std::uint64_t rowBytes;        // the larger of two buffers: a row of the file, and the channel rows of a scanline

    std::uint32_t colourChannels() const { return channels - (hasAlpha ? 1 : 0); }
};

// Returns the plan for a whole file. The last parameter counts the bytes after the 128-byte header, including the 20 of
// a DX10 header. Assumes that memory suffices up to the limits.
LoadPlan planLoad(const DDS_HEADER& header, const DDS_HEADER_DXT10& dx10Header, std::uint64_t bytesAfterHeader);

// Returns the plan of one loader, for data of any length; it may refuse, but not for missing data.
// format is the loader's row, or null for an unknown code. Of the header, the sides, the linear size and the pixel
// format are used.
LoadPlan planLoader(Loader loader, const Format* format, const DDS_HEADER& header);

}  // namespace kpx
