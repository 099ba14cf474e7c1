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
    // What is to be converted is read in groups that are still in the cache then.
    const std::uint64_t most = m_isSnorm ? readGroupBytes : bytes;
    while (m_arrivedBytes < bytes) {
        const std::uint64_t asked = std::min(most, bytes - m_arrivedBytes);
        const std::uint64_t arrived = std::fread(m_pixels.data() + m_arrivedBytes, 1, asked, stream);
        noteArrived(arrived);
        if (arrived < asked) break;
    }
}

void TddsReader::noteArrived(std::uint64_t bytes) {
    if (m_isSnorm) m_kernels.snormToUnorm(m_pixels.data() + m_arrivedBytes, bytes);
    m_arrivedBytes += bytes;
}

}  // namespace kpx
