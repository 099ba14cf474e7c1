// libpng expands all formats to 8-bit RGB, with or without alpha.
#include "tools/pictures/PngSource.h"

#include <new>

#include "dds/checkedSize.h"
#include "explain/text.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// The most bytes that deflate can expand one byte to.
constexpr std::uint64_t largestExpansion = 1032;

}  // namespace

PngSource::PngSource(OpenFile file, bool reduceTo8Bits) : m_file(std::move(file)) {
    try {
        m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, [](png_struct*, const char*) {});
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) throw std::bad_alloc();
        guarded([](PngSource& source) {
            png_set_read_fn(source.m_png, &source, readBytes);
            // Text and colour profiles are not needed and may expand to gigabytes.
            constexpr png_byte skipped[] = "iCCP\0tEXt\0zTXt\0iTXt\0sPLT\0eXIf\0pCAL\0sCAL";
            png_set_keep_unknown_chunks(source.m_png, PNG_HANDLE_CHUNK_NEVER, skipped, sizeof skipped / 5);
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
}

void PngSource::fail(png_struct* png, const char* message) {
    static_cast<PngSource*>(png_get_error_ptr(png))->m_error = message;
    png_longjmp(png, 1);
}

// No exception may pass through libpng.
void PngSource::readBytes(png_struct* png, png_byte* bytes, std::size_t count) {
    auto& source = *static_cast<PngSource*>(png_get_io_ptr(png));
    std::size_t done = 0;
    try {
        done = source.m_file.readSome(source.m_place, {bytes, count});
    } catch (const std::exception&) {
        png_error(png, "Read Error");
    }
    if (done < count) png_error(png, "Read Error");
    source.m_place += count;
}

void PngSource::guarded(void (*step)(PngSource&)) {
    if (setjmp(png_jmpbuf(m_png)) != 0) throw FileError("is a broken PNG file: " + m_error);
    step(*this);
}

void PngSource::readLayout(bool reduceTo8Bits) {
    if (png_get_bit_depth(m_png, m_info) == 16 && !reduceTo8Bits)
        throw FileError("has 16 bits per channel; --depth 8 reduces them to 8");
    const std::uint64_t bytes =
        std::uint64_t{png_get_image_height(m_png, m_info)} * (1 + png_get_rowbytes(m_png, m_info));
    if (bytes > m_file.size() * largestExpansion)
        throw FileError(textOf("is a broken PNG file: its ", m_file.size(), " bytes cannot hold ",
                               png_get_image_width(m_png, m_info), " x ", png_get_image_height(m_png, m_info),
                               " pixels"));
    checkWidth(png_get_image_width(m_png, m_info));
    guarded([](PngSource& source) {
        png_set_expand(source.m_png);
        png_set_gray_to_rgb(source.m_png);
        png_set_scale_16(source.m_png);
        png_set_interlace_handling(source.m_png);
        png_read_update_info(source.m_png, source.m_info);
    });
    m_layout = {static_cast<int>(png_get_image_width(m_png, m_info)),
                static_cast<int>(png_get_image_height(m_png, m_info)), 3, png_get_channels(m_png, m_info) - 3, false};
    m_channels.emplace(m_layout);
    if (png_get_interlace_type(m_png, m_info) == PNG_INTERLACE_NONE)
        m_row.resize(m_channels->width() * m_layout.channels());
}

void PngSource::readWholeImage() {
    const size_t rowSize = m_channels->width() * m_layout.channels();
    const auto height = static_cast<size_t>(m_layout.height);
    if (height * rowSize > largestBlock) throw std::bad_alloc();
    m_image.reset(static_cast<unsigned char*>(std::calloc(height, rowSize)));
    if (m_image == nullptr) throw std::bad_alloc();
    for (size_t y = 0; y < height; ++y) m_imageRows.push_back(m_image.get() + y * rowSize);
    guarded([](PngSource& source) { png_read_image(source.m_png, source.m_imageRows.data()); });
}

std::span<const unsigned char* const> PngSource::nextRow() {
    stopIfInterrupted();
    if (!m_row.empty())
        guarded([](PngSource& source) { png_read_row(source.m_png, source.m_row.data(), nullptr); });
    else if (m_image == nullptr)
        readWholeImage();
    const unsigned char* pixels = m_image == nullptr ? m_row.data() : m_imageRows[static_cast<size_t>(m_rowsRead)];
    const size_t channels = m_layout.channels();
    for (size_t channel = 0; channel < channels; ++channel) {
        unsigned char* to = m_channels->row(channel);
        for (size_t x = 0; x < m_channels->width(); ++x) to[x] = pixels[x * channels + channel];
    }
    if (++m_rowsRead == m_layout.height) {
        // A file that ends with its pixels is incomplete.
        guarded([](PngSource& source) { png_read_end(source.m_png, nullptr); });
        m_file.checkIsUnchanged();
    }
    return m_channels->rows();
}

}  // namespace kpx::tool
