// Bit-mask pixel data: stored as it stands in the file, to be taken apart scanline by scanline.
#include "reader/TddsReader.h"
#include "reader/checkedSize.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadUncompressedImage(std::FILE* stream) {
    DDS_PIXELFORMAT& pixelFormat = m_header.header.ddspf;
    if ((pixelFormat.dwFlags & DDPF_ALPHA) != 0) m_numChannels = 1;
    const std::uint32_t bytesPerPixel = pixelFormat.dwRGBBitCount / 8;
    m_bytesPerPixel = static_cast<std::int32_t>(bytesPerPixel == 0 ? m_numChannels : bytesPerPixel);

    const std::uint64_t rowBytes = saturatingProduct(static_cast<std::uint32_t>(m_bytesPerPixel), m_width);
    if (!allocateImage(rowBytes)) return failWithoutMemory();
    m_rowBytes = static_cast<std::uint32_t>(rowBytes);

    m_redMask = pixelFormat.dwRBitMask;
    m_greenMask = pixelFormat.dwGBitMask;
    m_blueMask = pixelFormat.dwBBitMask;
    m_alphaMask = pixelFormat.dwABitMask;
    const Format& format = findMasks(m_numChannels, static_cast<std::uint32_t>(m_bytesPerPixel),
                                     {m_redMask, m_greenMask, m_blueMask, m_alphaMask});
    m_pixelLayout = format.layout;
    if (format.has(setsAlpha)) pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;

    readPixels(stream, rowBytes * m_height);
    return 0;
}

}  // namespace kpx
