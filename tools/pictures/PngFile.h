// An 8-bit PNG file being written through libpng, row by row. Its methods throw OutputError.
#pragma once

#include <png.h>

#include <cstdio>
#include <string>

#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

// fast: level 1, run lengths and one filter; smallest: what libpng does at its best.
enum class PngEffort { fast, smallest };

class PngFile {
public:
    // channels: 1 grey, 2 grey and alpha, 3 RGB, 4 RGBA. The file states whether its colours are sRGB.
    PngFile(const std::string& path, const ImageLayout& layout, size_t channels, bool isSrgb,
            PngEffort effort = PngEffort::fast);
    ~PngFile() { release(); }
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    // Writes a key and its text, both Latin-1. Requires: no row has been written.
    void writeText(const std::string& key, const std::string& text);
    void writeRow(const unsigned char* pixels);
    // Completes the file after the last row.
    void finish();

private:
    static void fail(png_struct* png, const char* message);
    // Runs a step that calls only libpng; an error in it becomes an OutputError.
    template <typename Step>
    void guarded(Step step);
    void writeHeader(const ImageLayout& layout, size_t channels, bool isSrgb, PngEffort effort);
    void release();

    FILE* m_file;
    png_struct* m_png = nullptr;
    png_info* m_info = nullptr;
    std::string m_error;
};

}  // namespace kpx::tool
