// A header is believed by its fields and by the size of the data around it.
#include "explain/dx10Header.h"

#include "dds/checkedSize.h"

namespace kpx {
namespace {

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

bool canHaveDx10Header(const FileFacts& facts) {
    if (facts.fileBytes < factBytes || !isPlausible(facts.dx10Header)) return false;
    const bool isFull = facts.bytesAfterHeader() == judge(facts).bytesExpected;
    return !isFull && bytesUnderDx10(facts) <= facts.fileBytes - factBytes;
}

}  // namespace kpx
