// Splits a stored row into channel rows, in the order red, green, blue, alpha.
#include "reader/TddsReader.h"

#include <algorithm>
#include <cstring>

namespace kpx {
namespace {

// If every mask is exactly one of the first bytes of a pixel, sets the row of each of these bytes to that of its
// channel. Returns false for other masks.
bool rowsOfWholeBytes(const std::uint32_t (&masks)[4], std::uint32_t channels, std::uint32_t bytesPerPixel,
                      unsigned char* const* channelRows, unsigned char* (&rows)[4]) {
    if (channels < 3 || channels > bytesPerPixel || bytesPerPixel > 4) return false;
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        std::uint32_t byte = 0;
        while (byte < channels && masks[channel] != 0xFFU << (8 * byte)) ++byte;
        if (byte == channels || rows[byte] != nullptr) return false;
        rows[byte] = channelRows[channel];
    }
    return true;
}

}  // namespace

unsigned char** TddsReader::getScanlineChannelsAsBytes(int y) {
    if (m_channelRows == nullptr || y < 0 || static_cast<std::uint32_t>(y) >= m_height) return nullptr;
    const LayoutRow& layout = layoutRow(m_pixelLayout);
    const std::uint64_t storedRow = m_height - 1 - static_cast<std::uint32_t>(y);
    const std::uint64_t rowBytes = std::uint64_t{m_rowBytes} * (layout.isFloat ? sizeof(float) : 1);
    const unsigned char* source = m_pixels.data() + storedRow * rowBytes;
    const PixelRow row{source, m_width, storedRow == 0 ? source : source - rowBytes};
    std::copy_n(m_channelRows, m_numChannels, m_scanlineOut);
    if (layout.units == 0) {
        outputMasked(row);
    } else if (layout.isFloat) {
        outputFloats(row, layout);
    } else {
        outputBytes(row, layout);
    }
    return m_channelRows;
}

void TddsReader::outputMasked(const PixelRow& row) {
    const auto bytesPerPixel = static_cast<std::uint32_t>(m_bytesPerPixel);
    if (m_pixelLayout == MaskedAlphaOnly && bytesPerPixel == 1) {
        std::memcpy(m_scanlineOut[0], row.pixels, m_width);
        return;
    }
    unsigned char* rows[4] = {};
    if (rowsOfWholeBytes({m_redMask, m_greenMask, m_blueMask, m_alphaMask}, m_numChannels, bytesPerPixel, m_scanlineOut,
                         rows)) {
        (bytesPerPixel == 3 ? m_kernels.splitBytes3 : m_kernels.splitBytes4)(row, rows);
        return;
    }
    const bool alphaOnly = (m_header.header.ddspf.dwFlags & DDPF_ALPHA) != 0;
    const MaskField colours[4] = {makeMaskField(m_redMask), makeMaskField(m_greenMask), makeMaskField(m_blueMask),
                                  makeMaskField(m_alphaMask)};
    m_kernels.extractMasks(row, bytesPerPixel, alphaOnly ? &colours[3] : colours, m_numChannels, m_scanlineOut);
}

void TddsReader::outputBytes(const PixelRow& row, const LayoutRow& layout) {
    unsigned char* rows[4] = {};
    for (unsigned unit = 0; unit < layout.units; ++unit) rows[unit] = m_scanlineOut[layout.channel[unit]];
    if (layout.units == 1) {
        std::memcpy(rows[0], row.pixels, m_width);
    } else if (layout.units == 2) {
        m_kernels.splitBytes2(row, rows);
    } else if (layout.units == 4 || m_bytesPerPixel == 4) {
        // With three channels in four bytes the last row is null.
        m_kernels.splitBytes4(row, rows);
    } else {
        m_kernels.splitBytes3(row, rows);
    }
}

void TddsReader::outputFloats(const PixelRow& row, const LayoutRow& layout) {
    float* rows[4] = {};
    for (unsigned unit = 0; unit < layout.units; ++unit) {
        rows[unit] = reinterpret_cast<float*>(m_scanlineOut[layout.channel[unit]]);
    }
    switch (layout.units) {
        case 1:
            std::memcpy(rows[0], row.pixels, m_width * sizeof(float));
            break;
        case 2:
            m_kernels.splitFloats2(row, rows);
            break;
        case 3:
            m_kernels.splitFloats3(row, rows);
            break;
        default:
            m_kernels.splitFloats4(row, rows);
    }
}

}  // namespace kpx
