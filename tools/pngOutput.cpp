// PNG output: bytes as they are, floats only with an exposure.
#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "tools/OutputFormat.h"
#include "tools/channelUse.h"
#include "tools/errors.h"

namespace kpx::tool {
namespace {

// An 8-bit PNG file being written.
class PngFile {
public:
    PngFile(const std::string& path, const ImageLayout& layout, size_t channels);
    ~PngFile() { release(); }
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    void writeRow(const unsigned char* pixels);
    void finish();

private:
    static void fail(png_struct* png, const char* message);
    void writeHeader(const ImageLayout& layout, size_t channels);
    [[noreturn]] void throwError() const { throw OutputError("cannot be written: " + m_error); }
    void release();

    FILE* m_file;
    png_struct* m_png = nullptr;
    png_info* m_info = nullptr;
    std::string m_error;
};

PngFile::PngFile(const std::string& path, const ImageLayout& layout, size_t channels)
    : m_file(std::fopen(path.c_str(), "wb")) {
    try {
        if (m_file == nullptr) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, fail, [](png_struct*, const char*) {});
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) throw std::bad_alloc();
        writeHeader(layout, channels);
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
    file->m_error = std::ferror(file->m_file) != 0 && cause != 0 ? std::strerror(cause) : message;
    png_longjmp(png, 1);
}

// Between each setjmp and the step that may jump back to it stand only calls of libpng.
void PngFile::writeHeader(const ImageLayout& layout, size_t channels) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};
    if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
    png_init_io(m_png, m_file);
    // libpng refuses more than a million rows unless told otherwise.
    png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(layout.width), static_cast<png_uint_32>(layout.height), 8,
                 types[channels - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (layout.isFloat) png_set_sRGB(m_png, m_info, PNG_sRGB_INTENT_RELATIVE);
    png_write_info(m_png, m_info);
}

void PngFile::writeRow(const unsigned char* pixels) {
    if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
    png_write_row(m_png, pixels);
}

void PngFile::finish() {
    if (setjmp(png_jmpbuf(m_png)) != 0) throwError();
    png_write_end(m_png, m_info);
    FILE* file = m_file;
    m_file = nullptr;
    if (std::fclose(file) != 0) throw OutputError(std::string("cannot be written: ") + std::strerror(errno));
}

// A share of full intensity as a byte; what is not a number counts as 0.
unsigned char toByte(double share) {
    return static_cast<unsigned char>(std::lround(255.0 * (share > 0.0 ? std::min(share, 1.0) : 0.0)));
}

// The sRGB transfer function of IEC 61966-2-1, up to full intensity.
double srgbEncoded(double linear) {
    if (linear >= 1.0) return 1.0;
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

float floatAt(const unsigned char* row, size_t x) {
    float value = 0.0F;
    std::memcpy(&value, row + x * sizeof value, sizeof value);
    return value;
}

// Puts rows of channels into pixels.
class RowPacker {
public:
    RowPacker(const ImageLayout& layout, std::string_view use, double exposure)
        : m_isFloat(layout.isFloat),
          m_width(static_cast<size_t>(layout.width)),
          m_use(use),
          m_gain(std::exp2(exposure)),
          m_pixels(m_width * use.size()) {}

    const unsigned char* pack(std::span<const unsigned char* const> rows) {
        for (size_t channel = 0; channel < m_use.size(); ++channel) {
            if (m_use[channel] == '-') continue;  // stays zero
            const unsigned char* row = rows[static_cast<size_t>(m_use[channel] - '0')];
            for (size_t x = 0; x < m_width; ++x) m_pixels[x * m_use.size() + channel] = byteAt(row, x, channel);
        }
        return m_pixels.data();
    }

private:
    [[nodiscard]] unsigned char byteAt(const unsigned char* row, size_t x, size_t channel) const {
        if (!m_isFloat) return row[x];
        const double value = floatAt(row, x);
        return toByte(isAlpha(channel) ? value : srgbEncoded(value * m_gain));
    }
    // Alpha is linear and has no exposure.
    [[nodiscard]] bool isAlpha(size_t channel) const { return m_use.size() % 2 == 0 && channel + 1 == m_use.size(); }

    bool m_isFloat;
    size_t m_width;
    std::string_view m_use;
    double m_gain;
    std::vector<unsigned char> m_pixels;
};

}  // namespace

void writePng(PixelSource& source, const std::string& path, const std::string& /*name*/,
              const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    if (layout.isFloat && !settings.exposure) {
        throw FileError("has floating-point channels: write .exr, or choose the brightness of a PNG with --exposure");
    }
    const std::string_view use = channelUse(layout).png;
    RowPacker packer(layout, use, settings.exposure.value_or(0.0));
    PngFile file(path, layout, use.size());
    for (int y = 0; y < layout.height; ++y) file.writeRow(packer.pack(source.nextRow()));
    file.finish();
}

}  // namespace kpx::tool
