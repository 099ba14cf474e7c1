// Counts as the headers state them; 0 is taken for 1.
#include "explain/contents.h"

#include <algorithm>
#include <bit>

#include "explain/text.h"

namespace kpx {
namespace {

constexpr const char* alphaModes[] = {"unknown", "straight", "premultiplied", "opaque", "custom"};

std::uint32_t facesOf(const DDS_HEADER& header) {
    if ((header.dwCaps2 & DDSCAPS2_CUBEMAP) == 0) return 1;
    const int faces = std::popcount(header.dwCaps2 & DDSCAPS2_CUBEMAP_ALLFACES);
    return faces == 0 ? 6 : static_cast<std::uint32_t>(faces);
}

}  // namespace

Contents contentsOf(const FileFacts& facts, const Verdict& verdict) {
    const DDS_HEADER& header = facts.header.header;
    const bool isVolume = (header.dwCaps2 & DDSCAPS2_VOLUME) != 0;
    Contents contents{std::max(header.dwMipMapCount, 1U), facesOf(header), isVolume ? std::max(header.dwDepth, 1U) : 1U,
                      1, nullptr};
    if (verdict.loader != Loader::dx10 || verdict.refusal == Refusal::dx10HeaderCut) return contents;
    const DDS_HEADER_DXT10& dx10 = facts.dx10Header;
    contents.elements = std::max(dx10.arraySize, 1U);
    if ((dx10.miscFlag & D3D10_RESOURCE_MISC_TEXTURECUBE) != 0) contents.faces = 6;
    if (dx10.resourceDimension == D3D10_RESOURCE_DIMENSION_TEXTURE3D) contents.slices = std::max(header.dwDepth, 1U);
    const std::uint32_t mode = dx10.miscFlags2 & alphaModeMask;
    contents.alphaMode = mode < std::size(alphaModes) ? alphaModes[mode] : "not published";
    return contents;
}

std::string contentsText(const Contents& contents) {
    std::string text;
    const auto add = [&text](std::uint32_t count, const char* what) {
        if (count > 1) text += (text.empty() ? "" : ", ") + textOf(count, " ", what);
    };
    add(contents.elements, "array elements");
    add(contents.faces, "cube faces");
    add(contents.slices, "slices");
    add(contents.levels, "mipmap levels");
    return text;
}

}  // namespace kpx
