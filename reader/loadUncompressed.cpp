// Loads bit-mask pixels, which are stored as in the file and split scanline by scanline.
#include "reader/TddsReader.h"
#include "reader/loading.h"

namespace kpx {

int TddsReader::loadUncompressedImage(std::FILE* stream) {
    DDS_PIXELFORMAT& pixelFormat = m_header.header.ddspf;
    const DDS_PIXELFORMAT before = pixelFormat;
    if (!begin(planFor(Loader::uncompressed, formatFor(Loader::uncompressed)))) {
        pixelFormat = before;
        return failWithoutMemory();
    }
    m_redMask = pixelFormat.dwRBitMask;
    m_greenMask = pixelFormat.dwGBitMask;
    m_blueMask = pixelFormat.dwBBitMask;
    m_alphaMask = pixelFormat.dwABitMask;
    readPixels(stream, m_pixels.size());
    return 0;
}

}  // namespace kpx
