// What becomes of a file, worked out from its headers and its size alone, by the rules and sizes that the loaders act
// on. Pure functions: no file is opened and no memory is taken.
#pragma once

#include <cstdint>

#include "explain/fileFacts.h"
#include "reader/formatTable.h"

namespace kpx {

enum class Result : std::uint8_t {
    decoded,  // the file's own picture
    black,    // the 64 by 64 opaque black picture
    refused,  // no picture: the file cannot be opened
};

// decoded, black or refused.
const char* resultName(Result result);

// Why a picture comes out black, or a file is refused.
enum class Cause : std::uint8_t {
    none,
    headerCut,           // refused: fewer than 128 bytes
    dx10HeaderCut,       // the file ends inside the DX10 header
    nothingNamed,        // neither a known format flag nor a code
    unknownCode,         // a code that is not decoded
    notABlockCode,       // a code that is decoded, but not by the block-compressed loader, which the flags choose
    linearSizeNeeded,    // a block code that is only decoded with DDSD_LINEARSIZE
    dxgiRejected,        // a DXGI format of 0 to 99 that is not decoded
    dxgiTooLarge,        // a DXGI format above 99
    sideTooLarge,        // a side exceeds largestSide
    pictureTooLarge,     // the picture exceeds largestBlock in memory
    dataTooLarge,        // the data to be read in one go exceeds it
    rowTooLarge,         // a row exceeds it
    dataShort,           // the file ends before the data does
    linearSizeTooLarge,  // the data is there, but the header's linear size asks for more
    paletteShort,        // the file ends before palette and indices do
};

struct Verdict {
    Result result;
    Cause cause;
    Cause secondCause;    // where mending the first alone would not help: of a code that is not decoded, its data
    const char* printed;  // the reader's message on standard output; null: none

    const Format* format;  // null where the format is not decoded
    Loader loader;         // that the header leads to
    Loader decoder;        // that the loader hands over to, or the same
    PixelLayout layout;    // of the picture in memory

    // The picture as the host gets it, 64 by 64 where it is black; zero where it is refused.
    std::uint32_t width, height;
    std::uint32_t channels;  // with alpha
    bool hasAlpha;
    std::uint32_t bits;  // of a channel: 8, or 32 for floats

    // The file's data after all headers. What is not known, as nothing decodes it, is 0.
    std::uint64_t bytesPresent;
    std::uint64_t bytesExpected;
    std::uint64_t fileRowBytes;  // of a row in the file; 0 for block-compressed and palettised data
    std::uint64_t pictureBytes;  // of the declared picture in memory
    std::uint64_t rowBytes;      // of the larger of the row buffers
    std::uint64_t wholeRows;     // of the decoded picture that the file supplies in full

    std::uint32_t colourChannels() const { return channels - (hasAlpha ? 1 : 0); }
};

// Assumes that there is as much memory as the limits allow.
Verdict judge(const FileFacts& facts);

// The pixel format as the loaders see it: luminance and DXGI formats in the terms of their loader.
DDS_PIXELFORMAT loadedPixelFormat(const FileFacts& facts);

}  // namespace kpx
