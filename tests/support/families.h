// Makes files for every row of the table of formats.
#pragma once

#include "dds/formatTable.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/ddsFiles.h"

namespace testing_support {

inline Bytes randomBytes(model::Random& random, std::size_t count) {
    Bytes bytes(count);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.next());
    return bytes;
}

// Returns a header for a row of the table.
inline Bytes headerFor(const kpx::Format& format, std::uint32_t width, std::uint32_t height) {
    using namespace kpx;
    if (format.namedBy == NamedBy::dxgi) return dx10File(format.id, width, height);
    DdsFileHeader file = codeHeader(format.id, width, height, format.has(linearSizeOnly) ? DDSD_LINEARSIZE : 0);
    DDS_PIXELFORMAT& pixelFormat = file.header.ddspf;
    if (format.namedBy == NamedBy::palette) {
        pixelFormat.dwFlags = format.id;
        pixelFormat.dwFourCC = 0;
    } else if (format.namedBy == NamedBy::masks) {
        pixelFormat.dwFlags = format.channels == 1   ? DDPF_ALPHA
                              : format.channels == 4 ? DDPF_RGB | DDPF_ALPHAPIXELS
                                                     : std::uint32_t{DDPF_RGB};
        pixelFormat.dwFourCC = 0;
        pixelFormat.dwRGBBitCount = 8U * format.bytesPerPixel;
        pixelFormat.dwRBitMask = format.masks.r;
        pixelFormat.dwGBitMask = format.masks.g;
        pixelFormat.dwBBitMask = format.masks.b;
        pixelFormat.dwABitMask = format.masks.a;
    }
    return fileOf(file);
}

// Returns a file of a format with the given number of random bytes after its headers.
inline Bytes randomFile(model::Random& random, const kpx::Format& format, std::uint32_t width, std::uint32_t height,
                        std::size_t dataBytes) {
    Bytes file = headerFor(format, width, height);
    const Bytes data = randomBytes(random, dataBytes);
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

}  // namespace testing_support
