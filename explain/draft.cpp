// The parts of a header that mends change together.
#include "explain/draft.h"

#include <algorithm>

#include "dds/formatTable.h"
#include "explain/text.h"

namespace kpx::mending {
namespace {

DDS_HEADER_DXT10 dx10HeaderOf(const DDS_HEADER& header, std::uint32_t dxgi) {
    constexpr std::uint32_t wholeCube = DDSCAPS2_CUBEMAP | DDSCAPS2_CUBEMAP_ALLFACES;
    const bool isVolume = (header.dwCaps2 & DDSCAPS2_VOLUME) != 0;
    const bool isCube = (header.dwCaps2 & wholeCube) == wholeCube;
    return {dxgi, isVolume ? D3D10_RESOURCE_DIMENSION_TEXTURE3D : D3D10_RESOURCE_DIMENSION_TEXTURE2D,
            isCube ? D3D10_RESOURCE_MISC_TEXTURECUBE : 0, 1, 0};
}

}  // namespace

Draft draftOf(const FileFacts& facts) {
    return {facts, hasDx10Header(facts) ? factBytes : sizeof(DdsFileHeader), judge(facts), {}, {}};
}

DDS_HEADER& headerOf(Draft& draft) {
    return draft.facts.header.header;
}

bool hasCause(const Draft& draft, Refusal refusal) {
    return draft.verdict.refusal == refusal || draft.verdict.secondRefusal == refusal;
}

const Format* rowToCure(const Draft& draft) {
    const DDS_PIXELFORMAT& format = draft.facts.header.header.ddspf;
    const Format* bumpMap = findBumpMap(format);
    // What is signed is never read as such by masks, whatever flags are set beside.
    if (bumpMap != nullptr && bumpMap->remedy.kind == Remedy::Kind::dxgi) return bumpMap;
    switch (draft.verdict.refusal) {
        case Refusal::dxgiRejected:
        case Refusal::dxgiTooLarge:
            return findUndecodedDxgi(draft.facts.dx10Header.dxgiFormat);
        case Refusal::unknownCode:
            return findUndecodedCode(format.dwFourCC);
        case Refusal::nothingNamed:
            return bumpMap;
        case Refusal::notABlockCode:
            return findCode(format.dwFourCC);
        default:
            return draft.verdict.format;
    }
}

void moveData(Draft& draft, std::uint64_t dataStart, std::uint64_t newHeaderBytes) {
    draft.facts.fileBytes = draft.facts.fileBytes - dataStart + newHeaderBytes;
}

void stateLinearSize(DDS_HEADER& header, std::uint64_t bytes) {
    header.dwPitchOrLinearSize = bytes > UINT32_MAX ? 0 : static_cast<std::uint32_t>(bytes);
}

void stateRows(DDS_HEADER& header, std::uint64_t rowBytes) {
    if ((header.dwFlags & DDSD_LINEARSIZE) == 0) return;
    header.dwFlags = (header.dwFlags & ~DDSD_LINEARSIZE) | DDSD_PITCH;
    stateLinearSize(header, rowBytes);
}

void nameByCode(DDS_PIXELFORMAT& format, std::uint32_t code) {
    constexpr std::uint32_t otherNames =
        DDPF_RGB | DDPF_ALPHA | DDPF_ALPHAPIXELS | DDPF_LUMINANCE | DDPF_BUMPDUDV | DDPF_BUMPLUMINANCE | anyPaletteFlag;
    format = {format.dwSize, (format.dwFlags & ~otherNames) | DDPF_FOURCC, code, 0, 0, 0, 0, 0};
}

void nameByMasks(DDS_PIXELFORMAT& format, std::uint32_t flags, std::uint32_t bits, const Masks& masks) {
    format = {format.dwSize, flags, 0, bits, masks.r, masks.g, masks.b, masks.a};
}

std::string useMasks(DDS_HEADER& header, const Format& row) {
    const std::uint32_t bytes = std::max<std::uint32_t>(row.bytesPerPixel, 1);
    const Masks masks = masksOf(row);
    nameByMasks(header.ddspf, flagsOfMasks(row), bytes * 8, masks);
    stateRows(header, std::uint64_t{bytes} * header.dwWidth);
    return textOf("the masks of ", row.name, " (", hex(masks.r), " ", hex(masks.g), " ", hex(masks.b), " ",
                  hex(masks.a), ", ", bytes * 8, " bits)");
}

void nameByDxgi(Draft& draft, std::uint32_t dxgi) {
    DDS_HEADER& header = headerOf(draft);
    nameByCode(header.ddspf, dx10Code);
    draft.facts.dx10Header = dx10HeaderOf(header, dxgi);
    moveData(draft, sizeof(DdsFileHeader), factBytes);
}

}  // namespace kpx::mending
