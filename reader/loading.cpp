// The loaders' messages, and the steps that every loader of TddsReader takes: fields, buffer, reading.
#include "reader/loading.h"

#include <algorithm>
#include <cstdio>

#include "reader/TddsReader.h"

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

const Format* TddsReader::formatFor(Loader loader) const {
    return m_format != nullptr ? m_format : kpx::formatFor(loader, m_header.header.ddspf, m_dx10Header);
}

LoadPlan TddsReader::planFor(Loader loader, const Format* format) const {
    DDS_HEADER header = m_header.header;
    header.dwWidth = m_width;
    header.dwHeight = m_height;
    return planLoader(loader, format, header);
}

bool TddsReader::begin(const LoadPlan& plan) {
    m_header.header.ddspf = plan.pixelFormat;
    m_numChannels = plan.channels;
    m_pixelLayout = plan.layout;
    m_bitsPerChannel = static_cast<std::int32_t>(plan.bits);
    m_bytesPerPixel = static_cast<std::int32_t>(plan.bytesPerPixel);
    m_rowBytes = static_cast<std::uint32_t>(plan.storedRowBytes / (plan.bits / 8));
    m_arrivedBytes = 0;
    return plan.refusal == Refusal::none && m_pixels.allocate(plan.storedRowBytes * m_height, Content::unset);
}

void TddsReader::readPixels(std::FILE* stream, std::uint64_t bytes) {
    // Data to be converted is read in groups that fit in the cache.
    const std::uint64_t most = m_isSnorm ? readGroupBytes : bytes;
    while (m_arrivedBytes < bytes) {
        const std::uint64_t request = std::min(most, bytes - m_arrivedBytes);
        const std::uint64_t count = std::fread(m_pixels.data() + m_arrivedBytes, 1, request, stream);
        noteArrived(count);
        if (count < request) break;
    }
    m_pixels.zeroFrom(m_arrivedBytes);
}

void TddsReader::noteArrived(std::uint64_t bytes) {
    if (m_isSnorm) m_kernels.snormToUnorm(m_pixels.data() + m_arrivedBytes, bytes);
    m_arrivedBytes += bytes;
}

}  // namespace kpx
