// libpng reports errors by longjmp: between each setjmp and the step that may jump stand calls of libpng alone.
#include "tools/pictures/PngFile.h"

#include <cerrno>
#include <new>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// Pictures up to this size in bytes are made as small as can be, which takes a few milliseconds.
constexpr size_t smallSize = 64 * 1024;

}  // namespace

PngFile::PngFile(const std::string& path, const ImageLayout& layout, size_t channels, bool isSrgb, PngEffort effort)
    : PngFile(std::fopen(path.c_str(), "wb"), layout, channels, isSrgb, effort) {}

PngFile::PngFile(FILE* file, const ImageLayout& layout, size_t channels, bool isSrgb, PngEffort effort) : m_file(file) {
    try {
        if (m_file == nullptr) throw systemError<OutputError>("cannot be created", errno);
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, fail, [](png_struct*, const char*) {});
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) throw std::bad_alloc();
        writeHeader(layout, channels, isSrgb);
        const size_t rowSize = static_cast<size_t>(layout.width) * channels;
        if (effort == PngEffort::fast && rowSize * static_cast<size_t>(layout.height) > smallSize) {
            m_pixels =
                std::make_unique<PngPixels>(rowSize, channels, [this](auto bytes) { writeChunk("IDAT", bytes); });
        }
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

void PngFile::throwError() const {
    throw OutputError("cannot be written: " + m_error);
}

// Between each setjmp and the step that may jump back to it stand only calls of libpng.
void PngFile::writeHeader(const ImageLayout& layout, size_t channels, bool isSrgb) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};
    if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
    png_init_io(m_png, m_file);
    // libpng refuses more than a million rows unless told otherwise.
    png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(layout.width), static_cast<png_uint_32>(layout.height), 8,
                 types[channels - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (isSrgb) png_set_sRGB(m_png, m_info, PNG_sRGB_INTENT_RELATIVE);
    png_write_info(m_png, m_info);
}

void PngFile::writeChunk(const char* type, std::span<const unsigned char> bytes) {
    if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
    png_write_chunk(m_png, reinterpret_cast<png_const_bytep>(type), bytes.data(), bytes.size());
}

void PngFile::writeText(const std::string& key, const std::string& text) {
    const std::string chunk = key + '\0' + text;
    writeChunk("tEXt", {reinterpret_cast<const unsigned char*>(chunk.data()), chunk.size()});
}

void PngFile::writeRow(const unsigned char* pixels) {
    if (m_pixels != nullptr) return m_pixels->add(pixels);
    if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
    png_write_row(m_png, pixels);
}

void PngFile::finish() {
    if (m_pixels != nullptr) {
        m_pixels->finish();
        writeChunk("IEND", {});
    } else {
        if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
        png_write_end(m_png, m_info);
    }
    FILE* file = m_file;
    m_file = nullptr;
    if (std::fclose(file) != 0) throw systemError<OutputError>("cannot be written", errno);
}

}  // namespace kpx::tool
