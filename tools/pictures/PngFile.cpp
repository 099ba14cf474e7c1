// libpng reports errors by longjmp: between setjmp and a step that may jump stand only calls of libpng.
#include "tools/pictures/PngFile.h"

#include <zlib.h>

#include <cerrno>
#include <new>
#include <vector>

#include "tools/pictures/outputs.h"
#include "tools/pictures/values.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {

PngFile::PngFile(const std::string& path, const ImageLayout& layout, size_t channels, bool isSrgb, PngEffort effort)
    : m_file(std::fopen(path.c_str(), "wb")) {
    try {
        if (m_file == nullptr) throw systemError<OutputError>("cannot be created", errno);
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, fail, [](png_struct*, const char*) {});
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) throw std::bad_alloc();
        writeHeader(layout, channels, isSrgb, effort);
    } catch (...) {
        release();
        throw;
    }
}

void PngFile::release() {
    png_destroy_write_struct(&m_png, &m_info);
    if (m_file != nullptr) std::fclose(m_file);
    m_file = nullptr;
}

void PngFile::fail(png_struct* png, const char* message) {
    const int cause = errno;
    auto* file = static_cast<PngFile*>(png_get_error_ptr(png));
    file->m_error = std::ferror(file->m_file) != 0 && cause != 0 ? systemErrorText(cause) : message;
    png_longjmp(png, 1);
}

template <typename Step>
void PngFile::guarded(Step step) {
    if (setjmp(png_jmpbuf(m_png)) != 0) throw OutputError("cannot be written: " + m_error);
    step();
}

void PngFile::writeHeader(const ImageLayout& layout, size_t channels, bool isSrgb, PngEffort effort) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};
    // Pictures of up to 64 KiB are made as small as possible, which takes a few milliseconds.
    constexpr size_t smallSize = 64 * 1024;
    const size_t size = static_cast<size_t>(layout.width) * static_cast<size_t>(layout.height) * channels;
    guarded([&] {
        png_init_io(m_png, m_file);
        // libpng's own limit is a million rows.
        png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(layout.width), static_cast<png_uint_32>(layout.height), 8,
                     types[channels - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        // On textures about as small as level 1 with all filters, and three times as fast.
        if (effort == PngEffort::fast && size > smallSize) {
            png_set_compression_level(m_png, 1);
            png_set_compression_strategy(m_png, Z_RLE);
            png_set_filter(m_png, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
        }
        if (isSrgb) png_set_sRGB(m_png, m_info, PNG_sRGB_INTENT_RELATIVE);
        png_write_info(m_png, m_info);
    });
}

void PngFile::writeText(const std::string& key, const std::string& text) {
    const std::string chunk = key + '\0' + text;
    guarded([&] {
        png_write_chunk(m_png, reinterpret_cast<png_const_bytep>("tEXt"),
                        reinterpret_cast<png_const_bytep>(chunk.data()), chunk.size());
    });
}

void PngFile::writeRow(const unsigned char* pixels) {
    guarded([&] { png_write_row(m_png, pixels); });
}

void PngFile::finish() {
    guarded([&] { png_write_end(m_png, m_info); });
    FILE* file = m_file;
    m_file = nullptr;
    if (std::fclose(file) != 0) throw systemError<OutputError>("cannot be written", errno);
}

std::string writePng(PixelSource& source, const std::string& path, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    const Pick pick = channelUse(layout).png;
    const auto width = static_cast<std::size_t>(layout.width);
    const std::vector<unsigned char> zeros(width);
    std::vector<unsigned char> pixels(width * pick.count);
    PngFile file(path, layout, pick.count, source.traits().isSrgb, settings.pngEffort);
    for (int y = 0; y < layout.height; ++y) {
        const auto rows = source.nextRow();
        std::array<const unsigned char*, 4> picked{};
        for (std::size_t i = 0; i < pick.count; ++i) picked[i] = pick.row(i, rows, zeros.data());
        joinRows(picked.data(), pick.count, width, pixels.data());
        file.writeRow(pixels.data());
    }
    file.finish();
    return {};
}

}  // namespace kpx::tool
