// How many bytes of a file each loader asks for, after the header. The loaders and the explanation of a file use the
// same functions.
#pragma once

#include <algorithm>
#include <cstdint>

#include "reader/checkedSize.h"
#include "reader/formatTable.h"

namespace kpx {

// Whole blocks of an image.
constexpr std::uint64_t wholeBlockBytes(std::uint32_t width, std::uint32_t height, std::uint32_t blockBytes) {
    return saturatingProduct(ceilQuotient(width, 4), ceilQuotient(height, 4), blockBytes);
}

// What the block-compressed loader reads in one go: height x width x blockBytes / 16, or the linear size or the whole
// blocks of the image where those are more.
constexpr std::uint64_t compressedBytes(std::uint32_t width, std::uint32_t height, std::uint32_t blockBytes,
                                        std::uint32_t linearSize) {
    const std::uint64_t pixels = std::uint64_t{width} * height;
    const std::uint64_t byArea = blockBytes == 8 ? pixels / 2 : pixels;
    return std::max({byArea, std::uint64_t{linearSize}, wholeBlockBytes(width, height, blockBytes)});
}

constexpr std::uint32_t paletteEntries(const Format& format) {
    return format.has(smallPalette) ? 16 : 256;
}

// A palette of four-byte entries and its indices, which are read in one go.
constexpr std::uint64_t palettisedBytes(const Format& format, std::uint32_t width, std::uint32_t height) {
    const std::uint64_t rowBytes = format.has(nibbleIndices) ? ceilQuotient(width, 2) : width;
    return paletteEntries(format) * std::uint64_t{4} + rowBytes * height;
}

// A row of pixel pairs; a row of odd width ends with a whole pair.
constexpr std::uint64_t pairRowBytes(std::uint32_t width) {
    return 4 * ceilQuotient(width, 2);
}

}  // namespace kpx
