// Reads PNG files by libpng, whose default error handler ends the test program.
#pragma once

#include <png.h>

#include <cstdio>
#include <map>
#include <string>

namespace testing_support {

struct Png {
    int width, height, type, depth;
    std::string rows;  // as in the file, without filters
    bool isInterlaced = false;
    std::map<std::string, std::string> texts = {};  // those stored before the pixels

    bool operator==(const Png&) const = default;
};

// Reads a file that is not interlaced; all zero if it does not exist.
inline Png readPng(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return {};
    png_struct* png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_info* info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    Png image{static_cast<int>(png_get_image_width(png, info)),
              static_cast<int>(png_get_image_height(png, info)),
              png_get_color_type(png, info),
              png_get_bit_depth(png, info),
              {}};
    png_text* texts = nullptr;
    const int count = png_get_text(png, info, &texts, nullptr);
    for (int i = 0; i < count; ++i) image.texts[texts[i].key] = texts[i].text;
    std::string row(png_get_rowbytes(png, info), '\0');
    for (int y = 0; y < image.height; ++y) {
        png_read_row(png, reinterpret_cast<png_bytep>(row.data()), nullptr);
        image.rows += row;
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return image;
}

}  // namespace testing_support
