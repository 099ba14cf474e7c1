// The filters of PNG over whole rows, which compilers make vectors of; zlib's format by ISA-L.
#include "tools/pictures/PngPixels.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace kpx::tool {
namespace {

constexpr std::size_t stripeSize = 256 * 1024;
constexpr std::size_t sampleSize = 16 * 1024;
constexpr std::size_t pieceSize = 64 * 1024;

// Whichever of left, above and above-left is nearest to left + above - above-left.
unsigned char paeth(int left, int above, int corner) {
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    const int other = toAbove <= toCorner ? above : corner;
    return static_cast<unsigned char>(toLeft <= toAbove && toLeft <= toCorner ? left : other);
}

// The filters take a row and the one above it, and the size of a pixel.
using Filter = void(unsigned char* to, const unsigned char* row, const unsigned char* above, std::size_t size,
                    std::size_t pixel);

void filterNone(unsigned char* to, const unsigned char* row, const unsigned char* /*above*/, std::size_t size,
                std::size_t /*pixel*/) {
    std::memcpy(to, row, size);
}

void filterSub(unsigned char* to, const unsigned char* row, const unsigned char* /*above*/, std::size_t size,
               std::size_t pixel) {
    std::memcpy(to, row, pixel);
    for (std::size_t i = pixel; i < size; ++i) to[i] = static_cast<unsigned char>(row[i] - row[i - pixel]);
}

void filterUp(unsigned char* to, const unsigned char* row, const unsigned char* above, std::size_t size,
              std::size_t /*pixel*/) {
    for (std::size_t i = 0; i < size; ++i) to[i] = static_cast<unsigned char>(row[i] - above[i]);
}

void filterPaeth(unsigned char* to, const unsigned char* row, const unsigned char* above, std::size_t size,
                 std::size_t pixel) {
    filterUp(to, row, above, pixel, pixel);
    for (std::size_t i = pixel; i < size; ++i)
        to[i] = static_cast<unsigned char>(row[i] - paeth(row[i - pixel], above[i], above[i - pixel]));
}

struct NumberedFilter {
    unsigned char type;  // its number in PNG
    Filter* filter;
};

constexpr std::array<NumberedFilter, 4> filters = {{{0, filterNone}, {1, filterSub}, {2, filterUp}, {4, filterPaeth}}};

}  // namespace

struct PngPixels::Compressors {
    Compressors() {
        isal_deflate_init(&file);
        file.gzip_flag = IGZIP_ZLIB;
        file.level = 2;
        file.level_buf = fileMemory.data();
        file.level_buf_size = static_cast<std::uint32_t>(fileMemory.size());
    }

    // How many bytes become of a sample.
    std::size_t compressedSize(std::span<const unsigned char> sample) {
        isal_deflate_stateless_init(&trial);
        trial.level = 1;
        trial.level_buf = trialMemory.data();
        trial.level_buf_size = static_cast<std::uint32_t>(trialMemory.size());
        trial.end_of_stream = 1;
        trial.next_in = const_cast<unsigned char*>(sample.data());  // it is only read
        trial.avail_in = static_cast<std::uint32_t>(sample.size());
        trial.next_out = piece.data();
        trial.avail_out = static_cast<std::uint32_t>(piece.size());
        return isal_deflate_stateless(&trial) == COMP_OK ? trial.total_out : SIZE_MAX;
    }

    isal_zstream file{}, trial{};
    std::vector<unsigned char> fileMemory = std::vector<unsigned char>(ISAL_DEF_LVL2_DEFAULT);
    std::vector<unsigned char> trialMemory = std::vector<unsigned char>(ISAL_DEF_LVL1_DEFAULT);
    std::vector<unsigned char> piece = std::vector<unsigned char>(pieceSize);
};

PngPixels::PngPixels(std::size_t rowSize, std::size_t pixelSize, Sink sink)
    : m_rowSize(rowSize),
      m_pixelSize(pixelSize),
      m_sink(std::move(sink)),
      m_stripeRows(std::max<std::size_t>(1, stripeSize / rowSize)),
      m_stripe((m_stripeRows + 1) * rowSize),
      m_filtered(m_stripeRows * (rowSize + 1)),
      m_compressors(std::make_unique<Compressors>()) {}

PngPixels::~PngPixels() = default;

void PngPixels::add(const unsigned char* row) {
    if (m_rows == m_stripeRows) compressStripe(false);
    std::copy_n(row, m_rowSize, &m_stripe[++m_rows * m_rowSize]);
}

void PngPixels::finish() {
    compressStripe(true);
}

std::span<const unsigned char> PngPixels::filtered(unsigned char type, std::size_t firstRow, std::size_t rows) {
    const auto* const numbered =
        std::find_if(filters.begin(), filters.end(), [&](const auto& each) { return each.type == type; });
    unsigned char* to = m_filtered.data();
    for (std::size_t y = firstRow; y < firstRow + rows; ++y, to += m_rowSize) {
        *to++ = type;
        const unsigned char* above = &m_stripe[y * m_rowSize];
        numbered->filter(to, above + m_rowSize, above, m_rowSize, m_pixelSize);
    }
    return {m_filtered.data(), to};
}

// Of rows in the middle of the stripe; of a row that is longer than a sample, its start.
unsigned char PngPixels::bestFilter() {
    const std::size_t rows = std::clamp<std::size_t>(sampleSize / m_rowSize, 1, m_rows);
    unsigned char best = 0;
    std::size_t bestSize = SIZE_MAX;
    for (const auto& [type, filter] : filters) {
        const std::span sample = filtered(type, (m_rows - rows) / 2, rows);
        const std::size_t size = m_compressors->compressedSize(sample.first(std::min(sample.size(), 2 * sampleSize)));
        if (size < bestSize) best = type;
        bestSize = std::min(bestSize, size);
    }
    return best;
}

void PngPixels::compressStripe(bool isLast) {
    isal_zstream& file = m_compressors->file;
    const std::span bytes = filtered(bestFilter(), 0, m_rows);
    // More than fits into the count of a call is a row alone of so many pixels as PNG allows.
    for (std::span<const unsigned char> rest = bytes; !rest.empty();) {
        const std::span part = rest.first(std::min<std::size_t>(rest.size(), 1U << 30));
        rest = rest.subspan(part.size());
        file.next_in = const_cast<unsigned char*>(part.data());  // it is only read
        file.avail_in = static_cast<std::uint32_t>(part.size());
        file.end_of_stream = isLast && rest.empty() ? 1 : 0;
        do {
            std::vector<unsigned char>& piece = m_compressors->piece;
            file.next_out = piece.data();
            file.avail_out = static_cast<std::uint32_t>(piece.size());
            if (isal_deflate(&file) != COMP_OK) throw std::logic_error("the compressor of PNG files is misused");
            m_sink({piece.data(), piece.size() - file.avail_out});
        } while (file.avail_out == 0);
    }
    std::copy_n(&m_stripe[m_rows * m_rowSize], m_rowSize, m_stripe.data());
    m_rows = 0;
}

}  // namespace kpx::tool
