// Headers of every family of formats, and of every way that the choice of loader can go.
#pragma once

#include <iterator>

#include "reader/formatTable.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/ddsFiles.h"

namespace testing_support {

inline Bytes randomBytes(model::Random& random, std::size_t count) {
    Bytes bytes(count);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.next());
    return bytes;
}

// A header that the table's row describes.
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

// A file of a format with so many random bytes after its headers.
inline Bytes randomFile(model::Random& random, const kpx::Format& format, std::uint32_t width, std::uint32_t height,
                        std::size_t dataBytes) {
    Bytes file = headerFor(format, width, height);
    const Bytes data = randomBytes(random, dataBytes);
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

inline constexpr std::uint32_t formatFlagBits[] = {
    kpx::DDPF_ALPHAPIXELS,       kpx::DDPF_ALPHA,           kpx::DDPF_FOURCC, kpx::DDPF_PALETTEINDEXED4,
    kpx::DDPF_PALETTEINDEXEDTO8, kpx::DDPF_PALETTEINDEXED8, kpx::DDPF_RGB,    kpx::DDPF_LUMINANCE};

// Of every loader and of none.
inline std::vector<std::uint32_t> someCodes() {
    std::vector<std::uint32_t> codes = {0, 25, 34, 36, 50, 110, 111, 113, 116, 117, 134, 135, 136, 1116};
    for (const char* name : {"DXT1", "DXT5", "DXT6", "DXT7", "BC5U", "BC5S", "BC4U", "ATI1", "ATI2", "RGBG", "DX10"}) {
        codes.push_back(kpx::load32(reinterpret_cast<const unsigned char*>(name)));
    }
    return codes;
}

// Calls visit(header) for every set of format flags with each of some codes, with DDSD_LINEARSIZE and without.
template <typename Visit>
void forEveryDispatch(model::Random& random, Visit visit) {
    const std::vector<std::uint32_t> codes = someCodes();
    for (std::uint32_t subset = 0; subset < 1U << std::size(formatFlagBits); ++subset) {
        std::uint32_t flags = 0;
        for (std::size_t bit = 0; bit < std::size(formatFlagBits); ++bit) {
            flags |= (subset >> bit & 1) != 0 ? formatFlagBits[bit] : 0;
        }
        for (const std::uint32_t code : codes) {
            for (const std::uint32_t linear : {0U, kpx::DDSD_LINEARSIZE}) {
                kpx::DdsFileHeader file = codeHeader(code, 5, 3, linear);
                file.header.ddspf.dwFlags = flags;
                file.header.ddspf.dwRGBBitCount = random.below(2) == 0 ? 16 : 32;
                file.header.ddspf.dwRBitMask = 0xF800;
                file.header.ddspf.dwABitMask = 0xFF;
                visit(file);
            }
        }
    }
}

}  // namespace testing_support
