// One stored row becomes separate channel rows, in the order red, green, blue, alpha.
#include "reader/TddsReader.h"

#include <algorithm>
#include <cstring>

namespace kpx {

unsigned char** TddsReader::getScanlineChannelsAsBytes(int y) {
    if (m_channelRows == nullptr || y < 0 || static_cast<std::uint32_t>(y) >= m_height) return nullptr;
    const LayoutRow& layout = layoutRow(m_pixelLayout);
    const std::uint64_t storedRow = m_height - 1 - static_cast<std::uint32_t>(y);
    const std::uint64_t unitBytes = layout.isFloat ? sizeof(float) : 1;
    const unsigned char* source = m_pixels.data() + storedRow * m_rowBytes * unitBytes;
    std::copy_n(m_channelRows, m_numChannels, m_scanlineOut);
    if (layout.units == 0) {
        outputMasked(source);
    } else if (layout.isFloat) {
        outputFloats(source, layout);
    } else {
        outputBytes(source, layout);
    }
    return m_channelRows;
}

void TddsReader::outputMasked(const unsigned char* source) {
    const bool alphaOnly = (m_header.header.ddspf.dwFlags & DDPF_ALPHA) != 0;
    const MaskField colours[4] = {makeMaskField(m_redMask), makeMaskField(m_greenMask), makeMaskField(m_blueMask),
                                  makeMaskField(m_alphaMask)};
    m_kernels.extractMasks(source, m_width, static_cast<std::size_t>(m_bytesPerPixel),
                           alphaOnly ? &colours[3] : colours, m_numChannels, m_scanlineOut);
}

void TddsReader::outputBytes(const unsigned char* source, const LayoutRow& layout) {
    unsigned char* rows[4] = {};
    for (unsigned unit = 0; unit < layout.units; ++unit) rows[unit] = m_scanlineOut[layout.channel[unit]];
    if (layout.units == 1) {
        std::memcpy(rows[0], source, m_width);
    } else if (layout.units == 2) {
        m_kernels.splitBytes2(source, m_width, rows);
    } else if (layout.units == 4 || m_bytesPerPixel == 4) {
        // Three channels in four bytes leave the last row null.
        m_kernels.splitBytes4(source, m_width, rows);
    } else {
        m_kernels.splitBytes3(source, m_width, rows);
    }
}

void TddsReader::outputFloats(const unsigned char* source, const LayoutRow& layout) {
    const auto* pixels = reinterpret_cast<const float*>(source);
    float* rows[4] = {};
    for (unsigned unit = 0; unit < layout.units; ++unit) {
        rows[unit] = reinterpret_cast<float*>(m_scanlineOut[layout.channel[unit]]);
    }
    switch (layout.units) {
        case 1:
            std::memcpy(rows[0], pixels, m_width * sizeof(float));
            break;
        case 2:
            m_kernels.splitFloats2(pixels, m_width, rows);
            break;
        case 3:
            m_kernels.splitFloats3(pixels, m_width, rows);
            break;
        default:
            m_kernels.splitFloats4(pixels, m_width, rows);
    }
}

}  // namespace kpx
