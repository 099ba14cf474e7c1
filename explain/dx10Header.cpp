#include "explain/dx10Header.h"

#include <cstring>

#include "explain/headerFlags.h"
#include "reader/checkedSize.h"

namespace kpx {
namespace {

// Formats that the reader knows by masks: a code is published under the name of the masks, these numbers are not.
struct DxgiMasks {
    std::uint32_t dxgi;
    const char* masks;
};
constexpr DxgiMasks dxgiMasks[] = {{85, "D3DFMT_R5G6B5"}, {86, "D3DFMT_A1R5G5B5"}, {115, "D3DFMT_A4R4G4B4"}};

bool isPlausible(const DDS_HEADER_DXT10& dx10) {
    return dx10.resourceDimension >= D3D10_RESOURCE_DIMENSION_TEXTURE1D &&
           dx10.resourceDimension <= D3D10_RESOURCE_DIMENSION_TEXTURE3D && dx10.arraySize != 0 &&
           (findDxgi(dx10.dxgiFormat) != nullptr || masksOfDxgi(dx10.dxgiFormat) != nullptr);
}

// Of the first picture, read as the DX10 header says.
std::uint64_t bytesUnderDx10(FileFacts facts) {
    DDS_HEADER& header = facts.header.header;
    const Format* masks = masksOfDxgi(facts.dx10Header.dxgiFormat);
    if (masks != nullptr) return saturatingProduct(masks->bytesPerPixel, header.dwWidth, header.dwHeight);
    header.dwPitchOrLinearSize = 0;
    header.ddspf = {header.ddspf.dwSize, DDPF_FOURCC, dx10Code, 0, 0, 0, 0, 0};
    return judge(facts).bytesExpected;
}

}  // namespace

const Format* findNamedMasks(const char* name) {
    for (const Format& row : formatTable()) {
        if (row.namedBy == NamedBy::masks && std::strcmp(row.name, name) == 0) return &row;
    }
    return nullptr;
}

const Format* masksOfDxgi(std::uint32_t dxgiFormat) {
    for (const DxgiMasks& row : dxgiMasks) {
        if (row.dxgi == dxgiFormat) return findNamedMasks(row.masks);
    }
    return nullptr;
}

bool canHaveDx10Header(const FileFacts& facts) {
    if (facts.fileBytes < factBytes || !isPlausible(facts.dx10Header)) return false;
    const bool isFull = facts.bytesAfterHeader() == judge(facts).bytesExpected;
    return !isFull && bytesUnderDx10(facts) <= facts.fileBytes - factBytes;
}

}  // namespace kpx
