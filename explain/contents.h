// How many pictures a file's headers declare, of which the reader takes the first.
#pragma once

#include <cstdint>
#include <string>

#include "explain/verdict.h"

namespace kpx {

struct Contents {
    std::uint32_t levels;    // of mipmaps, the top one included
    std::uint32_t faces;     // 1, or of a cube map
    std::uint32_t slices;    // 1, or of a volume
    std::uint32_t elements;  // of an array
    const char* alphaMode;   // of the DX10 header; null without one
};

Contents contentsOf(const FileFacts& facts, const Verdict& verdict);

// What there is beside the first picture: "6 faces, 9 mipmap levels". Empty where there is nothing.
std::string contentsText(const Contents& contents);

}  // namespace kpx
