// OpenEXR output: float channels of 16 or 32 bits, compressed without loss by OpenEXR's core library.
#include <Imath/half.h>
#include <openexr.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/channelUse.h"
#include "tools/pictures/values.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr int chunkRows = 16;  // of OpenEXR's ZIP compression
constexpr int part = 0;

// The file as the library sees it.
class ExrFile {
public:
    ExrFile(const std::string& path, const ImageLayout& layout, std::string_view names, exr_pixel_type_t valueType) {
        exr_context_initializer_t init = EXR_DEFAULT_CONTEXT_INITIALIZER;
        init.error_handler_fn = [](exr_const_context_t, exr_result_t, const char*) {};
        try {
            errno = 0;
            check(exr_start_write(&m_context, path.c_str(), EXR_WRITE_FILE_DIRECTLY, &init));
            int added = 0;
            check(exr_add_part(m_context, nullptr, EXR_STORAGE_SCANLINE, &added));
            check(
                exr_initialize_required_attr_simple(m_context, part, layout.width, layout.height, EXR_COMPRESSION_ZIP));
            for (const char name : names) {
                const char text[] = {name, '\0'};
                check(exr_add_channel(m_context, part, text, valueType, EXR_PERCEPTUALLY_LOGARITHMIC, 1, 1));
            }
            check(exr_write_header(m_context));
        } catch (...) {
            exr_finish(&m_context);
            throw;
        }
    }
    ~ExrFile() {
        if (m_pipeline.context != nullptr) exr_encoding_destroy(m_context, &m_pipeline);
        exr_finish(&m_context);
    }
    ExrFile(const ExrFile&) = delete;
    ExrFile& operator=(const ExrFile&) = delete;

    // Writes a chunk of rows, each with the values of one channel after the other in the order of their names.
    void write(int firstRow, const unsigned char* rows, std::size_t channelBytes, std::size_t rowBytes) {
        errno = 0;
        exr_chunk_info_t chunk{};
        check(exr_write_scanline_chunk_info(m_context, part, firstRow, &chunk));
        if (m_pipeline.context == nullptr) {
            check(exr_encoding_initialize(m_context, part, &chunk, &m_pipeline));
            check(exr_encoding_choose_default_routines(m_context, part, &m_pipeline));
        } else {
            check(exr_encoding_update(m_context, part, &chunk, &m_pipeline));
        }
        for (std::int16_t i = 0; i < m_pipeline.channel_count; ++i) {
            exr_coding_channel_info_t& channel = m_pipeline.channels[i];
            channel.encode_from_ptr = rows + static_cast<std::size_t>(i) * channelBytes;
            channel.user_pixel_stride = channel.bytes_per_element;
            channel.user_line_stride = static_cast<std::int32_t>(rowBytes);
        }
        check(exr_encoding_run(m_context, part, &m_pipeline));
    }

    // To be called after the last row: the file is whole then.
    void finish() {
        exr_encoding_destroy(m_context, &m_pipeline);
        m_pipeline = {};
        errno = 0;
        check(exr_finish(&m_context));
    }

private:
    static void check(exr_result_t result) {
        if (result == EXR_ERR_SUCCESS) return;
        const int cause = errno;
        throw OutputError(std::string("cannot be written: ") +
                              (cause != 0 ? systemErrorText(cause) : exr_get_default_error_message(result)),
                          cause);
    }

    exr_context_t m_context = nullptr;
    exr_encode_pipeline_t m_pipeline{};
};

// Writes a row of floats as half floats. Returns whether a finite one was too large.
bool putRounded(unsigned char* to, const unsigned char* row, std::size_t width) {
    bool hasOverflowed = false;
    for (std::size_t x = 0; x < width; ++x) {
        const float value = floatAt(row, x);
        const std::uint16_t rounded = Imath::half(value).bits();
        std::memcpy(to + x * sizeof rounded, &rounded, sizeof rounded);
        hasOverflowed |= (rounded & 0x7FFF) == 0x7C00 && std::isfinite(value);
    }
    return hasOverflowed;
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
    const std::size_t channelBytes = width * (isHalf ? sizeof(std::uint16_t) : sizeof(float));
    const std::size_t rowBytes = channelBytes * names.size();
    const std::vector<std::size_t> channels = sortedChannels(names);
    std::vector<unsigned char> chunk(rowBytes * static_cast<std::size_t>(std::min(chunkRows, layout.height)));
    bool hasOverflowed = false;
    for (int y = 0; y < layout.height; y += chunkRows) {
        unsigned char* to = chunk.data();
        for (int row = 0; row < std::min(chunkRows, layout.height - y); ++row) {
            const auto rows = source.nextRow();
            for (const std::size_t channel : channels) {
                if (!isHalf)
                    std::copy_n(rows[channel], channelBytes, to);
                else if (putRounded(to, rows[channel], width))
                    hasOverflowed = true;
                to += channelBytes;
            }
        }
        file.write(y, chunk.data(), channelBytes, rowBytes);
    }
    return hasOverflowed;
}

}  // namespace

std::string writeExr(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const std::string_view names = channelUse(layout).names;
    const bool isHalf =
        settings.exrValues == ExrValues::source ? source.traits().isHalf : settings.exrValues == ExrValues::half;
    ExrFile file(path, layout, names, isHalf ? EXR_PIXEL_HALF : EXR_PIXEL_FLOAT);
    const bool hasOverflowed = writeRows(source, file, names, isHalf);
    file.finish();
    if (!hasOverflowed) return {};
    return "values of 65520 and more are infinite in 16 bits; --exr float keeps them";
}

}  // namespace kpx::tool
