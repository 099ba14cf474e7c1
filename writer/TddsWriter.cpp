// Collects rows in file order, and writes header and pixels when the writer is closed.
#include "writer/TddsWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "dds/checkedSize.h"
#include "dds/ddsFile.h"

namespace kpx {

TddsWriter::TddsWriter(const KernelSet& kernels)
    : m_file(nullptr),
      m_paddedWidth(0),
      m_height(0),
      m_rowBytes(0),
      m_colourChannels(0),
      m_hasAlpha(0),
      m_totalChannels(0),
      m_compression(0),
      m_channelCursors(nullptr),
      m_width(0),
      m_lacksMemory(false),
      m_kernels(kernels) {}

TddsWriter::~TddsWriter() {
    close();
}

int TddsWriter::open(const char* path, unsigned width, unsigned height, unsigned channels, unsigned alpha,
                     unsigned compression) {
    close();
    m_lacksMemory = false;
    const std::uint64_t paddedWidth = 4 * ceilQuotient(width, 4);
    const std::uint64_t totalChannels = std::uint64_t{channels} + (alpha != 0 ? 1 : 0);
    const std::uint64_t imageBytes = saturatingProduct(totalChannels, paddedWidth, height);
    // The fields of the header have 32 bits, also for an image without pixels.
    if (imageBytes > largestBlock || paddedWidth > UINT32_MAX || totalChannels > UINT32_MAX) {
        errno = EFBIG;
        return -1;
    }
    m_width = width;
    m_paddedWidth = static_cast<std::uint32_t>(paddedWidth);
    m_height = height;
    m_colourChannels = channels;
    m_hasAlpha = alpha;
    m_compression = compression;
    m_totalChannels = static_cast<std::uint32_t>(totalChannels);
    m_rowBytes = static_cast<std::uint32_t>(totalChannels * paddedWidth);

    m_file = std::fopen(path, "w");
    if (m_file == nullptr) return -1;
    m_channelCursors = static_cast<unsigned char**>(std::calloc(m_totalChannels, sizeof *m_channelCursors));
    if (m_channelCursors == nullptr || !m_pixels.allocate(imageBytes)) {
        close();
        m_lacksMemory = true;
        return -1;
    }
    return 0;
}

void TddsWriter::arrangeChannels(unsigned char* const* rows) {
    // Blue, green, red, then the fourth channel, the matte. Any other number of channels: the last to the first.
    const std::uint32_t reversed = m_totalChannels == 4 ? 3 : m_totalChannels;
    std::reverse_copy(rows, rows + reversed, m_channelCursors);
    std::copy(rows + reversed, rows + m_totalChannels, m_channelCursors + reversed);
}

int TddsWriter::setScanlineChannelsAsBytes(int y, unsigned char** rows) {
    if (m_pixels.data() == nullptr || y < 0 || static_cast<std::uint32_t>(y) >= m_height) return -1;
    const std::uint64_t storedRow = m_height - 1 - static_cast<std::uint32_t>(y);
    unsigned char* out = m_pixels.data() + storedRow * m_totalChannels * m_paddedWidth;
    arrangeChannels(rows);
    if (m_totalChannels == 4) {
        m_kernels.joinBytes4(m_channelCursors, m_width, out);
    } else if (m_totalChannels == 3) {
        m_kernels.joinBytes3(m_channelCursors, m_width, out);
    } else {
        for (std::size_t x = 0; x < m_width; ++x) {
            for (std::size_t unit = 0; unit < m_totalChannels; ++unit) {
                out[x * m_totalChannels + unit] = m_channelCursors[unit][x];
            }
        }
    }
    out += std::size_t{m_width} * m_totalChannels;
    // The padding repeats the last pixel of a row, so that filtering at the edge does not mix in another colour.
    for (std::uint32_t x = m_width; x < m_paddedWidth; ++x, out += m_totalChannels) {
        std::memcpy(out, out - m_totalChannels, m_totalChannels);
    }
    return 0;
}

void TddsWriter::writeHeader() {
    DdsFileHeader file{};
    file.magic = ddsMagic;
    DDS_HEADER& header = file.header;
    header.dwSize = sizeof(DDS_HEADER);
    header.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PITCH | DDSD_PIXELFORMAT;
    header.dwHeight = m_height;
    header.dwWidth = m_paddedWidth;
    header.dwPitchOrLinearSize = m_rowBytes;
    header.ddspf.dwSize = sizeof(DDS_PIXELFORMAT);
    header.ddspf.dwFlags = DDPF_RGB | (m_hasAlpha != 0 ? DDPF_ALPHAPIXELS : 0);
    header.ddspf.dwRGBBitCount = 8 * m_totalChannels;
    header.ddspf.dwRBitMask = 0x00FF0000;
    header.ddspf.dwGBitMask = 0x0000FF00;
    header.ddspf.dwBBitMask = 0x000000FF;
    header.ddspf.dwABitMask = m_hasAlpha != 0 ? 0xFF000000 : 0;
    header.dwCaps = DDSCAPS_TEXTURE;
    std::fwrite(&file, 1, sizeof file, m_file);
}

void TddsWriter::writeData() {
    std::fwrite(m_pixels.data(), 1, m_pixels.size(), m_file);
}

void TddsWriter::close() {
    if (m_file != nullptr) {
        if (m_pixels.data() != nullptr) {
            writeHeader();
            writeData();
        }
        std::fclose(m_file);
        m_file = nullptr;
    }
    std::free(m_channelCursors);
    m_channelCursors = nullptr;
    m_pixels.release();
}

}  // namespace kpx
