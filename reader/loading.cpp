// The loaders' messages, and the steps of TddsReader that every loader takes: fields, buffer, reading.
#include "reader/loading.h"

#include <algorithm>
#include <cstdio>

#include "reader/TddsReader.h"
#include "reader/dataSize.h"

namespace kpx {
namespace {

int failWith(const char* message) {
    std::puts(message);
    std::fflush(stdout);
    return -1;
}

}  // namespace

int failWithoutMemory() {
    return failWith(noMemoryMessage);
}

int failWithoutData() {
    return failWith(noDataMessage);
}

void TddsReader::applyFormat(const Format& format) {
    m_pixelLayout = format.layout;
    m_numChannels = format.channels;
    m_bitsPerChannel = layoutRow(format.layout).isFloat ? 32 : 8;
    if (format.has(setsAlpha)) m_header.header.ddspf.dwFlags |= DDPF_ALPHAPIXELS;
}

bool TddsReader::allocateImage(std::uint64_t bytesPerRow) {
    m_arrivedBytes = 0;
    if (isSideTooLarge(m_width, m_height)) return false;
    return m_pixels.allocate(saturatingProduct(bytesPerRow, m_height));
}

void TddsReader::readPixels(std::FILE* stream, std::uint64_t bytes) {
    m_arrivedBytes = std::fread(m_pixels.data(), 1, bytes, stream);
}

}  // namespace kpx
