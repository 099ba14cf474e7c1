// The facts of a file, read from its first bytes, and the plan of loading that follows from them.
#include "explain/verdict.h"

#include <algorithm>

#include "dds/checkedSize.h"

namespace kpx {
namespace {

bool isPlausible(const DDS_HEADER_DXT10& dx10) {
    return dx10.resourceDimension >= D3D10_RESOURCE_DIMENSION_TEXTURE1D &&
           dx10.resourceDimension <= D3D10_RESOURCE_DIMENSION_TEXTURE3D && dx10.arraySize != 0 &&
           (findDxgi(dx10.dxgiFormat) != nullptr || maskRowOfDxgi(dx10.dxgiFormat) != nullptr);
}

// Returns the size of the first picture, read as the DX10 header says.
std::uint64_t bytesUnderDx10(FileFacts facts) {
    DDS_HEADER& header = facts.header.header;
    const Format* masks = maskRowOfDxgi(facts.dx10Header.dxgiFormat);
    if (masks != nullptr) return saturatingProduct(masks->bytesPerPixel, header.dwWidth, header.dwHeight);
    header.dwPitchOrLinearSize = 0;
    header.ddspf = {header.ddspf.dwSize, DDPF_FOURCC, dx10Code, 0, 0, 0, 0, 0};
    return judge(facts).bytesExpected;
}

}  // namespace

FileFacts factsOf(std::span<const unsigned char> start, std::uint64_t fileBytes) {
    std::array<unsigned char, factBytes> bytes{};
    std::copy_n(start.begin(), std::min(start.size(), bytes.size()), bytes.begin());
    FileFacts facts{fileBytes, {}, {}};
    std::memcpy(&facts.header, bytes.data(), sizeof facts.header);
    std::memcpy(&facts.dx10Header, bytes.data() + sizeof facts.header, sizeof facts.dx10Header);
    return facts;
}

bool hasDx10Header(const FileFacts& facts) {
    return chooseLoader(facts.header.header).loader == Loader::dx10 && facts.fileBytes >= factBytes;
}

bool canHaveDx10Header(const FileFacts& facts) {
    if (facts.fileBytes < factBytes || !isPlausible(facts.dx10Header)) return false;
    const bool isFull = facts.bytesAfterHeader() == judge(facts).bytesExpected;
    return !isFull && bytesUnderDx10(facts) <= facts.fileBytes - factBytes;
}

std::vector<unsigned char> headerBytes(const FileFacts& facts) {
    std::vector<unsigned char> bytes(factBytes);
    std::memcpy(bytes.data(), &facts.header, sizeof facts.header);
    std::memcpy(bytes.data() + sizeof facts.header, &facts.dx10Header, sizeof facts.dx10Header);
    if (!hasDx10Header(facts)) bytes.resize(sizeof facts.header);
    return bytes;
}

Verdict judge(const FileFacts& facts) {
    if (facts.fileBytes < sizeof facts.header) {
        Verdict verdict{};
        verdict.refusal = Refusal::headerCut;
        verdict.result = Result::refused;
        return verdict;
    }
    const LoadPlan plan = planLoad(facts.header.header, facts.dx10Header, facts.bytesAfterHeader());
    return {plan, plan.refusal == Refusal::none ? Result::decoded : Result::black};
}

}  // namespace kpx
