// The pictures in a DDS file, one after the other: every mipmap and slice of every cube face and array element.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "explain/verdict.h"

namespace kpx {

// The pictures that a file's headers declare; the reader decodes the first.
struct Contents {
    std::uint32_t levels;    // of mipmaps, the top one included
    std::uint32_t faces;     // 1, or of a cube map
    std::uint32_t slices;    // 1, or of a volume
    std::uint32_t elements;  // of an array
    const char* alphaMode;   // of the DX10 header; null without one
};

// Returns the counts as the headers state them; 0 counts as 1.
Contents contentsOf(const FileFacts& facts, const Verdict& verdict);

// Returns the pictures besides the first: "6 faces, 9 mipmap levels"; empty if there are none.
std::string contentsText(const Contents& contents);

struct Surface {
    std::uint32_t element, face, level, slice;
    std::uint32_t width, height;  // at least 1
    std::uint64_t start, bytes;   // of its data in the file
};

// How a file is divided. Requires a format that is decoded or can be recoded.
struct SurfaceLayout {
    FileFacts facts;
    Verdict verdict;
    Contents contents;           // with no more levels than halving the sides gives
    std::uint64_t headerBytes;   // before all data
    std::uint64_t paletteBytes;  // between the headers and the first picture; 0 without a palette
    std::uint64_t count;         // of surfaces; UINT64_MAX also stands for more
    const Format* recoded;       // the format that is recoded; null if the verdict's format is decoded

    // Returns the size of the data of a picture; UINT64_MAX also stands for more.
    [[nodiscard]] std::uint64_t surfaceBytes(std::uint32_t width, std::uint32_t height) const;
};

SurfaceLayout surfaceLayout(const FileFacts& facts, const Verdict& verdict, const Format* recoded = nullptr);

// Visits the surfaces that the file has in full, in their order, until a visit returns false.
void forEachWholeSurface(const SurfaceLayout& layout, const std::function<bool(const Surface&)>& visit);

// For each size among these surfaces, calls visit with the size and the number of surfaces of that size. The time
// depends on the number of mipmap levels only.
void forEachWholeSize(const SurfaceLayout& layout,
                      const std::function<void(std::uint32_t width, std::uint32_t height, std::uint64_t count)>& visit);
// Returns the number of these surfaces.
std::uint64_t wholeSurfaces(const SurfaceLayout& layout);

// Returns "-array00-face0+x-mip00-slice000" without the parts that do not vary.
std::string surfaceName(const SurfaceLayout& layout, const Surface& surface);

// Returns the facts that a file with only this surface would have.
FileFacts factsOfSurface(const SurfaceLayout& layout, const Surface& surface);

}  // namespace kpx
