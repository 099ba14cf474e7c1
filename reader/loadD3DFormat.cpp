// Formats named by a Direct3D code, and the DX10 header, which is translated for the other loaders.
#include <algorithm>
#include <cstring>

#include "reader/TddsReader.h"
#include "reader/dataSize.h"
#include "reader/loading.h"

namespace kpx {
namespace {

// Expands pairs of pixels in place, from the last to the first so that no unread byte is overwritten. "RGBG" holds
// R, G0, B, G1 and "GRGB" G0, R, G1, B; both pixels take the pair's R and B. A row of odd width uses only the first
// pixel of its last pair.
void expandPairs(unsigned char* row, std::uint32_t width, bool greenFirst) {
    for (std::uint64_t pair = ceilQuotient(width, 2); pair-- > 0;) {
        unsigned char source[4];
        std::memcpy(source, row + 4 * pair, 4);
        if (greenFirst) {
            std::swap(source[0], source[1]);
            std::swap(source[2], source[3]);
        }
        const unsigned char pixels[expandedPairBytes] = {source[0], source[1], source[2],
                                                         source[0], source[3], source[2]};
        const bool alone = 2 * pair + 1 == width;
        std::memcpy(row + expandedPairBytes * pair, pixels, alone ? 3 : expandedPairBytes);
    }
}

}  // namespace

int TddsReader::loadD3DFormatImage(std::FILE* stream) {
    const Format* format = findCode(m_header.header.ddspf.dwFourCC);
    if (format == nullptr) return -1;
    if (format->loader == Loader::compressed && !format->has(linearSizeOnly)) return loadCompressedImage(stream);
    if (format->loader != Loader::d3dFormat) return -1;

    applyFormat(*format);
    m_bytesPerPixel = format->bytesPerPixel;
    const std::uint64_t rowBytes = codeRowBytes(*format, m_width);
    if (!allocateImage(rowBytes)) return failWithoutMemory();
    m_rowBytes = static_cast<std::uint32_t>(rowBytes);

    if (format->has(pixelPairs)) return loadPixelPairs(stream, *format);
    readPixels(stream, rowBytes * m_height);
    if (format->has(highBytes)) reduceToHighBytes();
    return 0;
}

int TddsReader::loadPixelPairs(std::FILE* stream, const Format& format) {
    m_bytesPerPixel = 3;
    const std::uint64_t fileRowBytes = pairRowBytes(m_width);
    if (m_width == 0) return 0;
    unsigned char* row = m_pixels.data();
    for (std::uint64_t y = 0; y < m_height; ++y, row += m_rowBytes) {
        const std::size_t arrived = std::fread(row, 1, fileRowBytes, stream);
        if (arrived < fileRowBytes) {
            // A row that is not whole is zero, and so are all after it.
            std::memset(row, 0, arrived);
            break;
        }
        expandPairs(row, m_width, format.code == fourCC("GRGB"));
    }
    return 0;
}

void TddsReader::reduceToHighBytes() {
    const std::uint64_t values = m_arrivedBytes / 2;
    m_kernels.highBytes(m_pixels.data(), values, m_pixels.data());
    m_rowBytes /= 2;
    m_bytesPerPixel /= 2;
    // Of a short file, what lies between the reduced values and the end of the picture is still as it was read.
    const std::uint64_t imageBytes = std::uint64_t{m_rowBytes} * m_height;
    const std::uint64_t end = std::min(m_arrivedBytes, imageBytes);
    if (end > values) std::memset(m_pixels.data() + values, 0, end - values);
    m_arrivedBytes = values;
}

int TddsReader::loadDX10Image(std::FILE* stream) {
    if (std::fread(&m_dx10Header, 1, sizeof m_dx10Header, stream) != sizeof m_dx10Header) return -1;
    const Choice choice = chooseDxgi(m_dx10Header);
    if (choice.format == nullptr) return -1;
    describeDxgi(choice, m_header.header.ddspf);
    m_isSnorm = choice.format->has(isSnorm);
    return loadWith(choice.loader, stream);
}

}  // namespace kpx
