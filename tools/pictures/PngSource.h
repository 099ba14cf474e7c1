// A PNG file read as 8-bit RGB with or without alpha; grey and palette images are expanded.
#pragma once

#include <png.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "tools/files/OpenFile.h"
#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

class PngSource : public PixelSource {
public:
    // Throws FileError.
    PngSource(OpenFile file, bool reduceTo8Bits);
    ~PngSource() override { release(); }
    PngSource(const PngSource&) = delete;
    PngSource& operator=(const PngSource&) = delete;

    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    std::span<const unsigned char* const> nextRow() override;

private:
    static void fail(png_struct* png, const char* message);
    static void readBytes(png_struct* png, png_byte* bytes, std::size_t count);
    // Runs a step that calls only libpng; an error in it becomes a FileError.
    void guarded(void (*step)(PngSource&));
    void readLayout(bool reduceTo8Bits);
    void readWholeImage();
    void release();

    struct Free {
        void operator()(void* memory) const { std::free(memory); }
    };

    OpenFile m_file;
    std::uint64_t m_place = 0;  // in the file
    png_struct* m_png = nullptr;
    png_info* m_info = nullptr;
    std::string m_error;
    ImageLayout m_layout{};
    int m_rowsRead = 0;
    std::vector<unsigned char> m_row;  // of pixels; empty for an interlaced file
    // The whole image of an interlaced file; takes no memory until it is written.
    std::unique_ptr<unsigned char[], Free> m_image;
    std::vector<unsigned char*> m_imageRows;
    std::optional<ChannelRows> m_channels;
};

}  // namespace kpx::tool
