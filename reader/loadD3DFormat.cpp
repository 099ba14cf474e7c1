// Loads formats with a Direct3D code, and translates the DX10 header for the other loaders.
#include "dds/dataSize.h"
#include "reader/TddsReader.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadD3DFormatImage(std::FILE* stream) {
    const Format* format = formatFor(Loader::d3dFormat);
    if (format == nullptr) return -1;
    if (format->loader == Loader::compressed) return loadCompressedImage(stream);
    if (!begin(planFor(Loader::d3dFormat, format))) return failWithoutMemory();
    if (format->has(pixelPairs)) return loadPixelPairs(stream, format->code == fourCC("GRGB"));
    if (format->has(highBytes)) return loadHighBytes(stream);
    readPixels(stream, m_pixels.size());
    return 0;
}

// An incomplete row is zero, and so are all after it.
int TddsReader::loadPixelPairs(std::FILE* stream, bool greenFirst) {
    const std::uint64_t fileRowBytes = pairRowBytes(m_width);
    unsigned char* pixels = m_pixels.data();
    RecordReader rows(fileRowBytes, m_height);
    if (!rows.allocate()) return failWithoutMemory();
    const std::uint64_t wholeRows = rows.read(stream, [&](const unsigned char* row, std::uint64_t count) {
        for (; count != 0; --count, row += fileRowBytes, pixels += m_rowBytes) {
            m_kernels.expandPairs(row, m_width, greenFirst, pixels);
        }
    });
    m_pixels.zeroFrom(wholeRows * m_rowBytes);
    return 0;
}

int TddsReader::loadHighBytes(std::FILE* stream) {
    RecordReader values(sizeof(std::uint16_t), m_pixels.size());
    if (!values.allocate()) return failWithoutMemory();
    values.read(stream, [this](const unsigned char* words, std::uint64_t count) {
        m_kernels.highBytes(words, count, m_pixels.data() + m_arrivedBytes);
        noteArrived(count);
    });
    m_pixels.zeroFrom(m_arrivedBytes);
    return 0;
}

int TddsReader::loadDX10Image(std::FILE* stream) {
    if (std::fread(&m_dx10Header, 1, sizeof m_dx10Header, stream) != sizeof m_dx10Header) return -1;
    const Choice choice = chooseDxgi(m_dx10Header);
    if (choice.format == nullptr) return -1;
    rewriteForDxgi(choice, m_header.header.ddspf);
    m_format = choice.format;
    m_isSnorm = choice.format->has(isSnorm);
    return loadWith(choice.loader, stream);
}

}  // namespace kpx
