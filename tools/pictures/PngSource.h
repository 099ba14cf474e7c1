// A PNG file read as 8-bit RGB with or without alpha; grey and palette images are expanded.
#pragma once

#include <png.h>

#include <cstdio>
#include <vector>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

class PngSource : public PixelSource {
public:
    PngSource(const std::string& path, bool reduceTo8Bits);
    ~PngSource() override { release(); }
    PngSource(const PngSource&) = delete;
    PngSource& operator=(const PngSource&) = delete;

    [[nodiscard]] SourceKind kind() const override { return SourceKind::png; }
    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    std::span<const unsigned char* const> nextRow() override;

private:
    static void fail(png_struct* png, const char* message);
    // Runs a step that calls nothing but libpng; an error in it becomes a FileError.
    void guarded(void (*step)(PngSource&));
    void readLayout(bool reduceTo8Bits);
    void readWholeImage();
    [[nodiscard]] const unsigned char* nextPixels();
    void release();

    FILE* m_file;
    png_struct* m_png = nullptr;
    png_info* m_info = nullptr;
    std::string m_error;
    ImageLayout m_layout{};
    size_t m_channels = 0;
    int m_rowsRead = 0;
    std::vector<unsigned char> m_pixels;  // one row, or the whole image of an interlaced file
    std::vector<unsigned char*> m_imageRows;
    std::vector<unsigned char> m_values;              // one row of each channel in turn
    std::vector<const unsigned char*> m_channelRows;  // into m_values
};

}  // namespace kpx::tool
