// Surfaces are stored element by element, face by face, level by level and slice by slice, without gaps.
#include "explain/surfaces.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "dds/dataSize.h"
#include "explain/recoding.h"
#include "explain/text.h"

namespace kpx {
namespace {

constexpr const char* alphaModes[] = {"unknown", "straight", "premultiplied", "opaque", "custom"};

std::uint32_t facesOf(const DDS_HEADER& header) {
    if ((header.dwCaps2 & DDSCAPS2_CUBEMAP) == 0) return 1;
    const int faces = std::popcount(header.dwCaps2 & DDSCAPS2_CUBEMAP_ALLFACES);
    return faces == 0 ? 6 : static_cast<std::uint32_t>(faces);
}

std::uint32_t halved(std::uint32_t side, std::uint32_t level) {
    return std::max(side >> level, 1U);
}

// Returns the levels down to one pixel.
std::uint32_t mostLevels(const DDS_HEADER& header, std::uint32_t slices) {
    return static_cast<std::uint32_t>(std::bit_width(std::max({header.dwWidth, header.dwHeight, slices})));
}

std::uint64_t countOf(const Contents& contents) {
    std::uint64_t count = 0;
    for (std::uint32_t level = 0; level < contents.levels; ++level) count += halved(contents.slices, level);
    return saturatingProduct(count, contents.faces, contents.elements);
}

std::string zeroPadded(std::uint32_t value, std::uint32_t count, std::size_t leastDigits) {
    const std::string digits = std::to_string(value);
    const std::size_t width = std::max(leastDigits, std::to_string(count - 1).size());
    return std::string(width - digits.size(), '0') + digits;
}

// Returns the name of a face, with a number that keeps their order when names are sorted. A legacy header may lack
// some.
std::string faceName(const DDS_HEADER& header, const Contents& contents, std::uint32_t face) {
    constexpr const char* names[] = {"0+x", "1-x", "2+y", "3-y", "4+z", "5-z"};
    const bool isPartial = contents.faces < std::size(names);
    for (std::uint32_t i = 0; i < std::size(names); ++i) {
        const bool isThere = !isPartial || (header.dwCaps2 & DDSCAPS2_CUBEMAP_POSITIVEX << i) != 0;
        if (isThere && face-- == 0) return names[i];
    }
    return {};
}

std::uint32_t statedSize(const SurfaceLayout& layout, const Surface& surface) {
    const bool isLinear =
        layout.verdict.decoder == Loader::compressed || (layout.facts.header.header.dwFlags & DDSD_LINEARSIZE) != 0;
    const std::uint64_t bytes = isLinear ? surface.bytes : surface.bytes / surface.height;
    return bytes > UINT32_MAX ? 0 : static_cast<std::uint32_t>(bytes);
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

std::uint64_t SurfaceLayout::surfaceBytes(std::uint32_t width, std::uint32_t height) const {
    if (recoded != nullptr) return recodingOf(*recoded)->pictureBytes(width, height);
    const Format& format = *verdict.format;
    switch (verdict.decoder) {
        case Loader::compressed:
            return allBlocksBytes(width, height, format.blockBytes);
        case Loader::uncompressed:
            return saturatingProduct(maskedRowBytes(verdict.pixelFormat, width), height);
        case Loader::d3dFormat:
            return saturatingProduct(codeFileRowBytes(format, width), height);
        case Loader::palettised:
            return palettisedBytes(format, width, height) - paletteBytes;
        default:
            return saturatingProduct(floatFileRowBytes(format, width), height);
    }
}

SurfaceLayout surfaceLayout(const FileFacts& facts, const Verdict& verdict, const Format* recoded) {
    Contents contents = contentsOf(facts, verdict);
    contents.levels = std::min(contents.levels, mostLevels(facts.header.header, contents.slices));
    const bool hasPalette = verdict.decoder == Loader::palettised && recoded == nullptr;
    const std::uint64_t palette = hasPalette ? paletteBytes(*verdict.format) : 0;
    return {facts, verdict, contents, headerBytes(facts).size(), palette, countOf(contents), recoded};
}

void forEachWholeSurface(const SurfaceLayout& layout, const std::function<bool(const Surface&)>& visit) {
    const DDS_HEADER& header = layout.facts.header.header;
    const Contents& contents = layout.contents;
    std::uint64_t start = layout.headerBytes + layout.paletteBytes;
    Surface surface{};
    for (surface.element = 0; surface.element < contents.elements; ++surface.element) {
        for (surface.face = 0; surface.face < contents.faces; ++surface.face) {
            for (surface.level = 0; surface.level < contents.levels; ++surface.level) {
                surface.width = halved(header.dwWidth, surface.level);
                surface.height = halved(header.dwHeight, surface.level);
                surface.bytes = layout.surfaceBytes(surface.width, surface.height);
                for (surface.slice = 0; surface.slice < halved(contents.slices, surface.level); ++surface.slice) {
                    const bool isWhole =
                        start <= layout.facts.fileBytes && surface.bytes <= layout.facts.fileBytes - start;
                    surface.start = start;
                    if (!isWhole || !visit(surface)) return;
                    start += surface.bytes;
                }
            }
        }
    }
}

void forEachWholeSize(const SurfaceLayout& layout,
                      const std::function<void(std::uint32_t, std::uint32_t, std::uint64_t)>& visit) {
    const DDS_HEADER& header = layout.facts.header.header;
    const Contents& contents = layout.contents;
    const auto bytesOf = [&](std::uint32_t level) {
        return layout.surfaceBytes(halved(header.dwWidth, level), halved(header.dwHeight, level));
    };
    std::uint64_t faceBytes = 0;  // of all levels
    for (std::uint32_t level = 0; level < contents.levels; ++level) {
        faceBytes = saturatingSum(faceBytes, saturatingProduct(bytesOf(level), halved(contents.slices, level)));
    }
    const std::uint64_t start = layout.headerBytes + layout.paletteBytes;
    const std::uint64_t present = layout.facts.fileBytes - std::min(start, layout.facts.fileBytes);
    const std::uint64_t faces = saturatingProduct(contents.faces, contents.elements);
    const std::uint64_t wholeFaces = std::min(faces, present / faceBytes);
    // The data of the first incomplete face.
    std::uint64_t rest = wholeFaces < faces ? present - wholeFaces * faceBytes : 0;
    for (std::uint32_t level = 0; level < contents.levels; ++level) {
        const std::uint32_t slices = halved(contents.slices, level);
        const std::uint64_t more = std::min<std::uint64_t>(slices, rest / bytesOf(level));
        rest = more < slices ? 0 : rest - more * bytesOf(level);
        // Each surface has at least one byte, so that the count is at most that of the bytes and cannot wrap.
        const std::uint64_t count = wholeFaces * slices + more;
        if (count > 0) visit(halved(header.dwWidth, level), halved(header.dwHeight, level), count);
    }
}

std::uint64_t wholeSurfaces(const SurfaceLayout& layout) {
    std::uint64_t whole = 0;
    forEachWholeSize(layout, [&](std::uint32_t, std::uint32_t, std::uint64_t count) { whole += count; });
    return whole;
}

std::string surfaceName(const SurfaceLayout& layout, const Surface& surface) {
    const Contents& contents = layout.contents;
    std::string name;
    if (contents.elements > 1) name += "-array" + zeroPadded(surface.element, contents.elements, 2);
    if (contents.faces > 1) name += "-face" + faceName(layout.facts.header.header, contents, surface.face);
    if (contents.levels > 1) name += "-mip" + zeroPadded(surface.level, contents.levels, 2);
    if (contents.slices > 1) name += "-slice" + zeroPadded(surface.slice, contents.slices, 3);
    return name;
}

FileFacts factsOfSurface(const SurfaceLayout& layout, const Surface& surface) {
    FileFacts facts = layout.facts;
    facts.fileBytes = layout.headerBytes + layout.paletteBytes + surface.bytes;
    DDS_HEADER& header = facts.header.header;
    header.dwFlags &= ~(DDSD_MIPMAPCOUNT | DDSD_DEPTH);
    header.dwWidth = surface.width;
    header.dwHeight = surface.height;
    header.dwPitchOrLinearSize = statedSize(layout, surface);
    header.dwDepth = 0;
    header.dwMipMapCount = 1;
    header.dwCaps &= ~(DDSCAPS_COMPLEX | DDSCAPS_MIPMAP);
    header.dwCaps2 &= ~(DDSCAPS2_CUBEMAP | DDSCAPS2_CUBEMAP_ALLFACES | DDSCAPS2_VOLUME);
    if (layout.headerBytes < factBytes) return facts;
    DDS_HEADER_DXT10& dx10 = facts.dx10Header;
    if (dx10.resourceDimension == D3D10_RESOURCE_DIMENSION_TEXTURE3D) {
        dx10.resourceDimension = D3D10_RESOURCE_DIMENSION_TEXTURE2D;
    }
    dx10.miscFlag &= ~D3D10_RESOURCE_MISC_TEXTURECUBE;
    dx10.arraySize = 1;
    return facts;
}

}  // namespace kpx
