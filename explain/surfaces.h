// The pictures in a DDS file, one after the other: every mipmap and slice of every cube face and array element.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "explain/contents.h"
#include "explain/conversion.h"

namespace kpx {

struct Surface {
    std::uint32_t element, face, level, slice;
    std::uint32_t width, height;  // at least 1
    std::uint64_t start, bytes;   // of its data in the file
};

// How a file is divided. Of a file whose format is known, or can be converted.
struct SurfaceLayout {
    FileFacts facts;
    Verdict verdict;
    Contents contents;                     // with no more levels than halving the sides gives
    std::uint64_t headerBytes;             // before all data
    std::uint64_t paletteBytes;            // between the headers and the first picture; 0 where there is no palette
    std::uint64_t count;                   // of surfaces; no larger than the largest number
    std::optional<Conversion> conversion;  // of a format that is not decoded; none: the verdict knows the format

    // The data of a picture of this size; the largest number where it does not fit in one.
    [[nodiscard]] std::uint64_t surfaceBytes(std::uint32_t width, std::uint32_t height) const;
};

SurfaceLayout surfaceLayout(const FileFacts& facts, const Verdict& verdict,
                            const std::optional<Conversion>& conversion = std::nullopt);

// Visits the surfaces that the file supplies in full, in their order, until a visit returns false.
void forEachWholeSurface(const SurfaceLayout& layout, const std::function<bool(const Surface&)>& visit);

// The same in as many steps as there are levels: visits each size of whole surfaces with how many have it.
void forEachWholeSize(const SurfaceLayout& layout,
                      const std::function<void(std::uint32_t width, std::uint32_t height, std::uint64_t count)>& visit);
// How many they are.
std::uint64_t wholeSurfaces(const SurfaceLayout& layout);

// "-array00-face0+x-mip00-slice000", without what does not vary.
std::string surfaceName(const SurfaceLayout& layout, const Surface& surface);

// The facts of a file of that surface alone.
FileFacts factsOfSurface(const SurfaceLayout& layout, const Surface& surface);

}  // namespace kpx
