// Bit-mask pixel data: stored as it stands in the file, to be taken apart scanline by scanline.
#include "reader/TddsReader.h"
#include "reader/dataSize.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadUncompressedImage(std::FILE* stream) {
    DDS_PIXELFORMAT& pixelFormat = m_header.header.ddspf;
    m_numChannels = maskedChannels(pixelFormat);
    m_bytesPerPixel = static_cast<std::int32_t>(maskedPixelBytes(pixelFormat));

    const std::uint64_t rowBytes = maskedRowBytes(pixelFormat, m_width);
    if (!allocateImage(rowBytes)) return failWithoutMemory();
    m_rowBytes = static_cast<std::uint32_t>(rowBytes);

    m_redMask = pixelFormat.dwRBitMask;
    m_greenMask = pixelFormat.dwGBitMask;
    m_blueMask = pixelFormat.dwBBitMask;
    m_alphaMask = pixelFormat.dwABitMask;
    const Format& format = findMasks(pixelFormat);
    m_pixelLayout = format.layout;
    if (format.has(setsAlpha)) pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;

    readPixels(stream, rowBytes * m_height);
    return 0;
}

}  // namespace kpx
