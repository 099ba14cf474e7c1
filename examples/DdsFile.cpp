// Builds headers of the published layout, for each way of naming a format.
#include "examples/DdsFile.h"

namespace kpx::example {
namespace {

DdsFileHeader headerFor(const Picture& picture, const Naming& naming, std::size_t dataSize) {
    DdsFileHeader file{};
    file.magic = ddsMagic;
    DDS_HEADER& header = file.header;
    header.dwSize = sizeof header;
    header.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT | naming.sizeFlag;
    header.dwHeight = picture.height;
    header.dwWidth = picture.width;
    const bool isPitch = naming.sizeFlag == DDSD_PITCH;
    header.dwPitchOrLinearSize = static_cast<std::uint32_t>(isPitch ? dataSize / picture.height : dataSize);
    header.dwCaps = DDSCAPS_TEXTURE;
    header.ddspf = {sizeof header.ddspf, naming.flags,   naming.code,    naming.bitCount,
                    naming.masks.r,      naming.masks.g, naming.masks.b, naming.masks.a};
    return file;
}

template <typename Record>
void append(Bytes& bytes, const Record& record) {
    const auto* start = reinterpret_cast<const unsigned char*>(&record);
    bytes.insert(bytes.end(), start, start + sizeof record);
}

}  // namespace

DdsFile encode(const Picture& picture, const Naming& naming, Encoder encoder) {
    DdsFile file;
    file.data = encoder(picture, naming);
    file.header = headerFor(picture, naming, file.data.size());
    if (naming.code == fourCC("DX10")) {
        file.dx10Header = DDS_HEADER_DXT10{naming.dxgi, D3D10_RESOURCE_DIMENSION_TEXTURE2D, 0, 1, naming.alphaMode};
    }
    return file;
}

Bytes bytesOf(const DdsFile& file) {
    Bytes bytes;
    append(bytes, file.header);
    if (file.dx10Header) append(bytes, *file.dx10Header);
    bytes.insert(bytes.end(), file.data.begin(), file.data.end());
    return bytes;
}

}  // namespace kpx::example
