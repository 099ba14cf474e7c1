// OpenEXR output through OpenEXR's core library, which starts faster than the one for C++: float channels of 16 or 32
// bits, compressed without loss.
#include <openexr.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <memory>
#include <numeric>

#include "tools/pictures/PixelSource.h"
#include "tools/pictures/outputs.h"
#include "tools/pictures/values.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr int part = 0;
// PIZ makes pictures of half floats half as large as ZIP, in a fifth of its time. It takes 32 rows at a time, of which
// several copies are made: too much memory if they are very wide.
struct Compression {
    exr_compression_t kind;
    int chunkRows;
};

Compression compressionOf(const ImageLayout& layout) {
    constexpr int mostPixels = 16384;
    return layout.width <= mostPixels ? Compression{EXR_COMPRESSION_PIZ, 32} : Compression{EXR_COMPRESSION_ZIPS, 1};
}

struct Close {
    void operator()(exr_context_t context) const { exr_finish(&context); }
};
using Context = std::unique_ptr<std::remove_pointer_t<exr_context_t>, Close>;

void check(exr_result_t result) {
    if (result == EXR_ERR_SUCCESS) return;
    const int cause = errno;
    throw OutputError(std::string("cannot be written: ") +
                          (cause != 0 ? systemErrorText(cause) : exr_get_default_error_message(result)),
                      cause);
}

Context open(const std::string& path, const ImageLayout& layout, std::string_view names, exr_pixel_type_t type) {
    exr_context_initializer_t init = EXR_DEFAULT_CONTEXT_INITIALIZER;
    init.error_handler_fn = [](exr_const_context_t, exr_result_t, const char*) {};
    errno = 0;
    exr_context_t opened = nullptr;
    check(exr_start_write(&opened, path.c_str(), EXR_WRITE_FILE_DIRECTLY, &init));
    Context file(opened);
    int added = 0;
    check(exr_add_part(file.get(), nullptr, EXR_STORAGE_SCANLINE, &added));
    check(
        exr_initialize_required_attr_simple(file.get(), part, layout.width, layout.height, compressionOf(layout).kind));
    for (const char name : names) {
        const char text[] = {name, '\0'};
        check(exr_add_channel(file.get(), part, text, type, EXR_PERCEPTUALLY_LOGARITHMIC, 1, 1));
    }
    check(exr_write_header(file.get()));
    return file;
}

// Writes a chunk of rows of floats, each of which has the values of one channel after the other.
void writeChunk(exr_context_t file, int firstRow, const std::vector<float>& rows, std::size_t width) {
    exr_chunk_info_t chunk{};
    errno = 0;
    check(exr_write_scanline_chunk_info(file, part, firstRow, &chunk));
    exr_encode_pipeline_t pipeline{};
    exr_result_t result = exr_encoding_initialize(file, part, &chunk, &pipeline);
    for (std::int16_t i = 0; result == EXR_ERR_SUCCESS && i < pipeline.channel_count; ++i) {
        exr_coding_channel_info_t& channel = pipeline.channels[i];
        channel.encode_from_ptr =
            reinterpret_cast<const std::uint8_t*>(rows.data() + static_cast<std::size_t>(i) * width);
        channel.user_data_type = EXR_PIXEL_FLOAT;
        channel.user_bytes_per_element = sizeof(float);
        channel.user_pixel_stride = sizeof(float);
        channel.user_line_stride =
            static_cast<std::int32_t>(static_cast<std::size_t>(pipeline.channel_count) * width * sizeof(float));
    }
    if (result == EXR_ERR_SUCCESS) result = exr_encoding_choose_default_routines(file, part, &pipeline);
    if (result == EXR_ERR_SUCCESS) result = exr_encoding_run(file, part, &pipeline);
    const int cause = errno;
    exr_encoding_destroy(file, &pipeline);
    errno = cause;
    check(result);
}

// Returns the channels in the order of their names, which is that of the file.
std::vector<std::size_t> sortedChannels(std::string_view names) {
    std::vector<std::size_t> channels(names.size());
    std::iota(channels.begin(), channels.end(), 0U);
    std::sort(channels.begin(), channels.end(), [&](auto a, auto b) { return names[a] < names[b]; });
    return channels;
}

}  // namespace

std::string writeExr(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const std::string_view names = channelUse(layout).names;
    const bool isHalf =
        settings.exrValues == ExrValues::source ? source.traits().isHalf : settings.exrValues == ExrValues::half;
    Context file = open(path, layout, names, isHalf ? EXR_PIXEL_HALF : EXR_PIXEL_FLOAT);
    const std::vector<std::size_t> channels = sortedChannels(names);
    const auto width = static_cast<std::size_t>(layout.width);
    const int chunkRows = compressionOf(layout).chunkRows;
    std::vector<float> chunk(width * channels.size() * static_cast<std::size_t>(std::min(chunkRows, layout.height)));
    bool hasOverflowed = false;
    for (int y = 0; y < layout.height; y += chunkRows) {
        float* to = chunk.data();
        for (int row = y; row < std::min(y + chunkRows, layout.height); ++row) {
            const auto rows = source.nextRow();
            for (const std::size_t channel : channels) {
                for (std::size_t x = 0; x < width; ++x, ++to) {
                    *to = floatAt(rows[channel], x);
                    hasOverflowed |= std::abs(*to) >= 65520.0F && std::isfinite(*to);
                }
            }
        }
        writeChunk(file.get(), y, chunk, width);
    }
    exr_context_t finished = file.release();
    errno = 0;
    check(exr_finish(&finished));
    return isHalf && hasOverflowed ? "values of 65520 and more are infinite in 16 bits; --exr float keeps them" : "";
}

}  // namespace kpx::tool
