// Formats named by a Direct3D code, and the DX10 header, which is translated for the other loaders.
#include "reader/TddsReader.h"
#include "reader/dataSize.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadD3DFormatImage(std::FILE* stream) {
    const Format* format = findCode(m_header.header.ddspf.dwFourCC);
    if (format == nullptr) return -1;
    if (format->loader == Loader::compressed && !format->has(linearSizeOnly)) return loadCompressedImage(stream);
    if (format->loader != Loader::d3dFormat) return -1;

    applyFormat(*format);
    m_bytesPerPixel = format->channels;
    const std::uint64_t rowBytes = codeStoredRowBytes(*format, m_width);
    const bool tooLarge = saturatingProduct(codeRowBytes(*format, m_width), m_height) > largestBlock;
    if (tooLarge || !allocateImage(rowBytes)) return failWithoutMemory();
    m_rowBytes = static_cast<std::uint32_t>(rowBytes);

    if (format->has(pixelPairs)) return loadPixelPairs(stream, format->code == fourCC("GRGB"));
    if (format->has(highBytes)) return loadHighBytes(stream);
    readPixels(stream, rowBytes * m_height);
    return 0;
}

// A row that is not whole is zero, and so are all after it.
int TddsReader::loadPixelPairs(std::FILE* stream, bool greenFirst) {
    const std::uint64_t fileRowBytes = pairRowBytes(m_width);
    unsigned char* pixels = m_pixels.data();
    RecordReader rows(fileRowBytes, m_height);
    if (!rows.allocate()) return failWithoutMemory();
    rows.read(stream, [&](const unsigned char* row, std::uint64_t count) {
        for (; count != 0; --count, row += fileRowBytes, pixels += m_rowBytes) {
            m_kernels.expandPairs(row, m_width, greenFirst, pixels);
        }
    });
    return 0;
}

int TddsReader::loadHighBytes(std::FILE* stream) {
    RecordReader values(sizeof(std::uint16_t), std::uint64_t{m_rowBytes} * m_height);
    if (!values.allocate()) return failWithoutMemory();
    values.read(stream, [this](const unsigned char* words, std::uint64_t count) {
        m_kernels.highBytes(words, count, m_pixels.data() + m_arrivedBytes);
        noteArrived(count);
    });
    return 0;
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
