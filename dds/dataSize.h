// The bytes that a picture takes in the file, after the headers, and in memory. The size of a row never wraps; that of
// a picture is limited by largestBlock.
#pragma once

#include <algorithm>
#include <cstdint>

#include "blocks/texel.h"
#include "dds/checkedSize.h"
#include "dds/formatTable.h"

namespace kpx {

// The sides of the black picture that replaces one that cannot be decoded.
inline constexpr std::uint32_t fallbackSide = 64;

// Hosts store sizes in signed 32-bit fields. A picture with a larger side is treated as too large for memory.
inline constexpr std::uint32_t largestSide = 0x7FFFFFFF;

constexpr bool isSideTooLarge(std::uint32_t width, std::uint32_t height) {
    return width > largestSide || height > largestSide;
}

// Bit-mask pixels are stored as they are in the file.
inline std::uint64_t maskedRowBytes(const DDS_PIXELFORMAT& pixelFormat, std::uint32_t width) {
    return std::uint64_t{maskedPixelBytes(pixelFormat)} * width;
}

// In memory all are 32-bit floats, whatever the type in the file.
constexpr std::uint64_t floatRowBytes(const Format& format, std::uint32_t width) {
    return std::uint64_t{format.channels} * width * sizeof(float);
}
constexpr std::uint64_t floatFileRowBytes(const Format& format, std::uint32_t width) {
    return std::uint64_t{format.bytesPerPixel} * width;
}

inline constexpr std::uint32_t paletteEntryBytes = 4;

constexpr std::uint32_t paletteBytes(const Format& format) {
    return (format.has(smallPalette) ? 16 : 256) * paletteEntryBytes;
}

inline constexpr std::uint32_t largestPaletteBytes = 256 * paletteEntryBytes;

constexpr std::uint64_t indexRowBytes(const Format& format, std::uint32_t width) {
    return format.has(nibbleIndices) ? ceilQuotient(width, 2) : width;
}
// A palette and its indices.
constexpr std::uint64_t palettisedBytes(const Format& format, std::uint32_t width, std::uint32_t height) {
    return paletteBytes(format) + indexRowBytes(format, width) * height;
}
// In memory each index is replaced by its palette entry.
constexpr std::uint64_t palettisedRowBytes(std::uint32_t width) {
    return std::uint64_t{paletteEntryBytes} * width;
}

// A row of pixel pairs in the file. A row of odd width ends with a whole pair.
constexpr std::uint64_t pairRowBytes(std::uint32_t width) {
    return 4 * ceilQuotient(width, 2);
}

// The row size that is compared with largestBlock, for formats with a Direct3D code: the size in the file, but 6 bytes
// per pixel for pixel pairs.
constexpr std::uint64_t codeLimitRowBytes(const Format& format, std::uint32_t width) {
    return std::uint64_t{format.has(pixelPairs) ? 6U : format.bytesPerPixel} * width;
}
constexpr std::uint64_t codeFileRowBytes(const Format& format, std::uint32_t width) {
    return format.has(pixelPairs) ? pairRowBytes(width) : codeLimitRowBytes(format, width);
}
// In memory each channel is a byte.
constexpr std::uint64_t codeStoredRowBytes(const Format& format, std::uint32_t width) {
    return std::uint64_t{format.channels} * width;
}

// Block-compressed pictures. A null format stands for an unknown code, which is taken for blocks of 16 bytes.
constexpr std::uint32_t blockBytesOf(const Format* format) {
    return format == nullptr ? 16 : format->blockBytes;
}

// All blocks of an image, including those that an edge cuts.
constexpr std::uint64_t allBlocksBytes(std::uint32_t width, std::uint32_t height, std::uint32_t blockBytes) {
    return saturatingProduct(ceilQuotient(width, 4), ceilQuotient(height, 4), blockBytes);
}

// The bytes that the block-compressed loader reads: the largest of height x width x blockBytes / 16, the linear size
// and the whole blocks of the image.
constexpr std::uint64_t compressedBytes(std::uint32_t width, std::uint32_t height, std::uint32_t blockBytes,
                                        std::uint32_t linearSize) {
    const std::uint64_t pixels = std::uint64_t{width} * height;
    const std::uint64_t byArea = blockBytes == 8 ? pixels / 2 : pixels;
    return std::max({byArea, std::uint64_t{linearSize}, allBlocksBytes(width, height, blockBytes)});
}

inline constexpr std::uint32_t texelBytes = sizeof(A8R8G8B8Colour);
inline constexpr std::uint32_t floatPixelBytes = 4 * sizeof(float);

constexpr std::uint64_t compressedRowBytes(const Format* format, std::uint32_t width) {
    const bool isFloat = format != nullptr && layoutRow(format->layout).isFloat;
    return std::uint64_t{isFloat ? floatPixelBytes : texelBytes} * width;
}

// The channel rows of a scanline together; 0 for a picture without rows. bits is 8 or 32.
constexpr std::uint64_t channelRowsBytes(std::uint32_t width, std::uint32_t height, std::uint32_t channels,
                                         std::uint32_t bits) {
    return height == 0 ? 0 : std::uint64_t{width} * channels * (bits / 8);
}

}  // namespace kpx
