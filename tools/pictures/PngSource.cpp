// libpng expands whatever the file has to 8-bit RGB, with alpha or without.
#include "tools/pictures/PngSource.h"

#include <cerrno>
#include <cstring>

#include "tools/terminal/errors.h"

namespace kpx::tool {

PngSource::PngSource(const std::string& path, bool reduceTo8Bits) : m_file(std::fopen(path.c_str(), "rb")) {
    try {
        if (m_file == nullptr) throw FileError(std::strerror(errno));
        m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, [](png_struct*, const char*) {});
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) throw std::bad_alloc();
        guarded([](PngSource& source) {
            png_init_io(source.m_png, source.m_file);
            png_read_info(source.m_png, source.m_info);
        });
        readLayout(reduceTo8Bits);
    } catch (...) {
        release();
        throw;
    }
}

void PngSource::release() {
    png_destroy_read_struct(&m_png, &m_info, nullptr);
    if (m_file != nullptr) std::fclose(m_file);
}

void PngSource::fail(png_struct* png, const char* message) {
    static_cast<PngSource*>(png_get_error_ptr(png))->m_error = message;
    png_longjmp(png, 1);
}

void PngSource::guarded(void (*step)(PngSource&)) {
    if (setjmp(png_jmpbuf(m_png)) != 0) throw FileError("is a broken PNG file: " + m_error);
    step(*this);
}

void PngSource::readLayout(bool reduceTo8Bits) {
    if (png_get_bit_depth(m_png, m_info) == 16 && !reduceTo8Bits) {
        throw FileError("has 16 bits a channel; --depth 8 reduces it");
    }
    guarded([](PngSource& source) {
        png_set_expand(source.m_png);
        png_set_gray_to_rgb(source.m_png);
        png_set_scale_16(source.m_png);
        png_set_interlace_handling(source.m_png);
        png_read_update_info(source.m_png, source.m_info);
    });
    m_channels = png_get_channels(m_png, m_info);
    m_layout = {static_cast<int>(png_get_image_width(m_png, m_info)),
                static_cast<int>(png_get_image_height(m_png, m_info)), 3, m_channels == 4 ? 1 : 0, false};
    const auto width = static_cast<size_t>(m_layout.width);
    m_values.resize(width * m_channels);
    for (size_t i = 0; i < m_channels; ++i) m_channelRows.push_back(&m_values[i * width]);
    if (png_get_interlace_type(m_png, m_info) == PNG_INTERLACE_NONE) {
        m_pixels.resize(m_values.size());
    } else {
        readWholeImage();
    }
}

void PngSource::readWholeImage() {
    const size_t rowSize = m_values.size();
    m_pixels.resize(rowSize * static_cast<size_t>(m_layout.height));
    for (size_t offset = 0; offset < m_pixels.size(); offset += rowSize) m_imageRows.push_back(&m_pixels[offset]);
    guarded([](PngSource& source) { png_read_image(source.m_png, source.m_imageRows.data()); });
}

const unsigned char* PngSource::nextPixels() {
    if (!m_imageRows.empty()) return m_imageRows[static_cast<size_t>(m_rowsRead)];
    guarded([](PngSource& source) { png_read_row(source.m_png, source.m_pixels.data(), nullptr); });
    return m_pixels.data();
}

std::span<const unsigned char* const> PngSource::nextRow() {
    const unsigned char* pixels = nextPixels();
    const auto width = static_cast<size_t>(m_layout.width);
    for (size_t channel = 0; channel < m_channels; ++channel) {
        for (size_t x = 0; x < width; ++x) m_values[channel * width + x] = pixels[x * m_channels + channel];
    }
    // The end is read too, so that a file cut off after its pixels does not pass for whole.
    if (++m_rowsRead == m_layout.height) guarded([](PngSource& source) { png_read_end(source.m_png, nullptr); });
    return m_channelRows;
}

}  // namespace kpx::tool
