// OpenEXR output: float channels of 16 or 32 bits, compressed without loss. OpenEXR's core writes the file; the rows
// are packed here, in the form of its ZIP compression, by a faster compressor.
#include <fcntl.h>
#include <isa-l/igzip_lib.h>
#include <openexr.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/channelUse.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr int chunkRows = 16;                           // of OpenEXR's ZIP compression
constexpr std::uint32_t tooLargeForHalf = 0x477FF000U;  // 65520, from which on half floats are infinite
constexpr std::uint32_t infinity = 0x7F800000U;

// The file as the library sees it.
class ExrFile {
public:
    ExrFile(const std::string& path, const ImageLayout& layout, std::string_view names, exr_pixel_type_t valueType)
        : m_descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
        if (m_descriptor < 0) throw systemError<OutputError>("cannot be created", errno);
        try {
            start(path, layout, names, valueType);
        } catch (...) {
            release();
            throw;
        }
    }
    ~ExrFile() { release(); }
    ExrFile(const ExrFile&) = delete;
    ExrFile& operator=(const ExrFile&) = delete;

    void write(int firstRow, std::span<const unsigned char> chunk) {
        check(exr_write_scanline_chunk(m_context, part, firstRow, chunk.data(), chunk.size()));
    }

    // To be called after the last row: the file is whole then.
    void finish() {
        check(exr_finish(&m_context));
        const int descriptor = m_descriptor;
        m_descriptor = -1;
        if (close(descriptor) != 0) throw systemError<OutputError>("cannot be written", errno);
    }

private:
    static constexpr int part = 0;

    void start(const std::string& path, const ImageLayout& layout, std::string_view names, exr_pixel_type_t valueType) {
        exr_context_initializer_t init = EXR_DEFAULT_CONTEXT_INITIALIZER;
        init.user_data = this;
        init.write_fn = writeBytes;
        init.error_handler_fn = [](exr_const_context_t, exr_result_t, const char*) {};
        check(exr_start_write(&m_context, path.c_str(), EXR_WRITE_FILE_DIRECTLY, &init));
        int added = 0;
        check(exr_add_part(m_context, nullptr, EXR_STORAGE_SCANLINE, &added));
        check(exr_initialize_required_attr_simple(m_context, part, layout.width, layout.height, EXR_COMPRESSION_ZIP));
        for (const char name : names) {
            const char text[] = {name, '\0'};
            check(exr_add_channel(m_context, part, text, valueType, EXR_PERCEPTUALLY_LOGARITHMIC, 1, 1));
        }
        check(exr_write_header(m_context));
    }

    static std::int64_t writeBytes(exr_const_context_t /*context*/, void* file, const void* bytes, std::uint64_t size,
                                   std::uint64_t offset, exr_stream_error_func_ptr_t /*fail*/) {
        auto& self = *static_cast<ExrFile*>(file);
        const auto* from = static_cast<const char*>(bytes);
        for (std::uint64_t done = 0; done < size;) {
            const ssize_t count =
                pwrite(self.m_descriptor, from + done, size - done, static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) self.m_error = errno;
            if (count <= 0) return -1;
            done += static_cast<std::uint64_t>(count);
        }
        return static_cast<std::int64_t>(size);
    }

    void check(exr_result_t result) const {
        if (result == EXR_ERR_SUCCESS) return;
        throw OutputError(std::string("cannot be written: ") +
                          (m_error != 0 ? systemErrorText(m_error) : exr_get_default_error_message(result)));
    }

    void release() {
        exr_finish(&m_context);
        if (m_descriptor >= 0) close(m_descriptor);
    }

    int m_descriptor;
    int m_error = 0;  // errno of what failed
    exr_context_t m_context = nullptr;
};

// Some rows as OpenEXR compresses them: the even bytes before the odd ones, each as the difference from the one before,
// in zlib's format; or the rows as they are where that is no smaller.
class ExrPacker {
public:
    explicit ExrPacker(std::size_t size) : m_differences(size), m_packed(size), m_memory(ISAL_DEF_LVL1_DEFAULT) {}

    std::span<const unsigned char> pack(std::span<const unsigned char> rows) {
        partAndDifference(rows);
        isal_deflate_stateless_init(&m_stream);
        m_stream.gzip_flag = IGZIP_ZLIB;
        m_stream.level = 1;
        m_stream.level_buf = m_memory.data();
        m_stream.level_buf_size = static_cast<std::uint32_t>(m_memory.size());
        m_stream.end_of_stream = 1;
        m_stream.next_in = m_differences.data();
        m_stream.avail_in = static_cast<std::uint32_t>(rows.size());
        m_stream.next_out = m_packed.data();
        m_stream.avail_out = static_cast<std::uint32_t>(rows.size() - 1);
        if (isal_deflate_stateless(&m_stream) != COMP_OK) return rows;
        return {m_packed.data(), m_stream.total_out};
    }

private:
    void partAndDifference(std::span<const unsigned char> rows) {
        const std::size_t half = rows.size() / 2;  // values have an even number of bytes
        unsigned char* even = m_packed.data();
        unsigned char* odd = even + half;
        for (std::size_t i = 0; i < half; ++i) {
            even[i] = rows[2 * i];
            odd[i] = rows[2 * i + 1];
        }
        m_differences[0] = even[0];
        for (std::size_t i = 1; i < rows.size(); ++i)
            m_differences[i] = static_cast<unsigned char>(even[i] - even[i - 1] + 128);
    }

    std::vector<unsigned char> m_differences, m_packed, m_memory;
    isal_zstream m_stream{};
};

// The nearest half float, the even one of two, without branches, so that compilers make vectors of it.
std::uint16_t roundedToHalf(std::uint32_t bits) {
    constexpr std::uint32_t oneHalf = 0x3F000000U;
    const std::uint32_t magnitude = bits & 0x7FFFFFFFU;
    // The last place of this sum is that of the smallest half float.
    const float sum = std::bit_cast<float>(magnitude) + std::bit_cast<float>(oneHalf);
    const std::uint32_t subnormal = std::bit_cast<std::uint32_t>(sum) - oneHalf;
    const std::uint32_t normal = (magnitude - (112U << 23) + 0xFFFU + (magnitude >> 13 & 1U)) >> 13;
    const std::uint32_t payload = magnitude >> 13 & 0x3FFU;
    const std::uint32_t notNumber = 0x7C00U | payload | (payload == 0 ? 1U : 0U);
    std::uint32_t result = magnitude < 113U << 23 ? subnormal : normal;
    result = magnitude >= tooLargeForHalf ? 0x7C00U : result;
    result = magnitude > infinity ? notNumber : result;
    return static_cast<std::uint16_t>((bits >> 16 & 0x8000U) | result);
}

// Puts a row of floats as half floats. Returns whether a finite one was too large.
bool putRounded(unsigned char* to, const unsigned char* row, std::size_t width) {
    std::uint32_t overflows = 0;
    for (std::size_t x = 0; x < width; ++x) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, row + x * sizeof bits, sizeof bits);
        const std::uint16_t rounded = roundedToHalf(bits);
        std::memcpy(to + x * sizeof rounded, &rounded, sizeof rounded);
        const std::uint32_t magnitude = bits & 0x7FFFFFFFU;
        overflows |= (magnitude >= tooLargeForHalf ? 1U : 0U) & (magnitude < infinity ? 1U : 0U);
    }
    return overflows != 0;
}

// The channels in the order of their names, which is that of the file.
std::vector<std::size_t> sortedChannels(std::string_view names) {
    std::vector<std::size_t> channels(names.size());
    std::iota(channels.begin(), channels.end(), 0U);
    std::sort(channels.begin(), channels.end(), [&](auto a, auto b) { return names[a] < names[b]; });
    return channels;
}

// Returns whether a finite value was too large for its 16 bits.
bool writeRows(PixelSource& source, ExrFile& file, std::string_view names, bool isHalf) {
    const ImageLayout& layout = source.layout();
    const auto width = static_cast<std::size_t>(layout.width);
    const std::size_t rowSize = width * (isHalf ? sizeof(std::uint16_t) : sizeof(float));
    const std::vector<std::size_t> channels = sortedChannels(names);
    const int mostRows = std::min(chunkRows, layout.height);
    std::vector<unsigned char> chunk(rowSize * names.size() * static_cast<std::size_t>(mostRows));
    ExrPacker packer(chunk.size());
    bool hasOverflowed = false;
    for (int y = 0; y < layout.height; y += chunkRows) {
        unsigned char* to = chunk.data();
        for (int row = 0; row < std::min(chunkRows, layout.height - y); ++row) {
            const auto rows = source.nextRow();
            for (const std::size_t channel : channels) {
                if (!isHalf)
                    std::copy_n(rows[channel], rowSize, to);
                else if (putRounded(to, rows[channel], width))
                    hasOverflowed = true;
                to += rowSize;
            }
        }
        file.write(y, packer.pack({chunk.data(), to}));
    }
    return hasOverflowed;
}

}  // namespace

void writeExr(PixelSource& source, const std::string& path, const std::string& name, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    if (!layout.isFloat) throw FileError("has 8-bit channels, which OpenEXR cannot hold as they are: write .png");
    const std::string_view names = channelUse(layout).exrNames;
    const ExrValues values = settings.exrValues;
    const bool isHalf = values == ExrValues::source ? source.traits().isHalf : values == ExrValues::half;
    ExrFile file(path, layout, names, isHalf ? EXR_PIXEL_HALF : EXR_PIXEL_FLOAT);
    const bool hasOverflowed = writeRows(source, file, names, isHalf);
    file.finish();
    if (hasOverflowed) {
        tell(name, "note: values of 65520 and more have become infinite, as 16 bits hold none; --exr float keeps them");
    }
}

}  // namespace kpx::tool
