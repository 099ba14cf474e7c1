// An 8-bit PNG file being written through libpng, row by row. Its methods throw OutputError.
#pragma once

#include <png.h>

#include <cstdio>
#include <memory>
#include <string>

#include "tools/pictures/PixelSource.h"
#include "tools/pictures/PngPixels.h"

namespace kpx::tool {

// What the compression of a picture is to be good at.
enum class PngEffort { fast, smallest };

class PngFile {
public:
    // The file says that its colours are sRGB where they are. channels: 1 grey, 2 grey and alpha, 3 RGB, 4 RGBA.
    PngFile(const std::string& path, const ImageLayout& layout, size_t channels, bool isSrgb,
            PngEffort effort = PngEffort::fast);
    // Into an open stream, which it closes; null is a failure to open it.
    PngFile(FILE* file, const ImageLayout& layout, size_t channels, bool isSrgb, PngEffort effort = PngEffort::fast);
    ~PngFile() { release(); }
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    // Before the first row: key and text in Latin-1.
    void writeText(const std::string& key, const std::string& text);
    void writeRow(const unsigned char* pixels);
    // To be called after the last row: the file is whole then.
    void finish();

private:
    static void fail(png_struct* png, const char* message);
    void writeHeader(const ImageLayout& layout, size_t channels, bool isSrgb);
    void writeChunk(const char* type, std::span<const unsigned char> bytes);
    [[noreturn]] void throwError() const;
    void release();

    FILE* m_file;
    png_struct* m_png = nullptr;
    png_info* m_info = nullptr;
    std::unique_ptr<PngPixels> m_pixels;  // null where libpng compresses them itself
    std::string m_error;
};

}  // namespace kpx::tool
