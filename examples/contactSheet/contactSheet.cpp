// kpxcontactsheet OUT.png PICTURE.png...: small pictures side by side, each over a checkerboard with its name below.
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "examples/contactSheet/font.h"

namespace {

using namespace kpx::example;

constexpr unsigned gap = 6;
constexpr unsigned labelHeight = glyphHeight + 4;
constexpr unsigned glyphAdvance = glyphWidth + 1;
constexpr double widthToHeight = 4.0 / 3.0;

struct Image {
    unsigned width = 0, height = 0, channels = 0;
    std::vector<unsigned char> bytes;

    unsigned char* at(unsigned x, unsigned y) { return &bytes[(std::size_t{y} * width + x) * channels]; }
    const unsigned char* at(unsigned x, unsigned y) const { return &bytes[(std::size_t{y} * width + x) * channels]; }
};

struct Named {
    std::string name;
    Image image;  // red, green, blue, alpha
};

Named readPicture(const std::string& path) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&png, path.c_str()) == 0) throw std::runtime_error(path + ": " + png.message);
    png.format = PNG_FORMAT_RGBA;
    Named picture{std::filesystem::path(path).stem().string(), {png.width, png.height, 4, {}}};
    picture.image.bytes.resize(PNG_IMAGE_SIZE(png));
    if (png_image_finish_read(&png, nullptr, picture.image.bytes.data(), 0, nullptr) == 0) {
        throw std::runtime_error(path + ": " + png.message);
    }
    return picture;
}

void writeSheet(const Image& sheet, const std::string& path) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = sheet.width;
    png.height = sheet.height;
    png.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&png, path.c_str(), 0, sheet.bytes.data(), 0, nullptr) == 0) {
        throw std::runtime_error(path + ": " + png.message);
    }
}

unsigned labelWidth(const std::string& label) {
    return static_cast<unsigned>(label.size()) * glyphAdvance;
}

void drawLabel(Image& sheet, unsigned left, unsigned top, const std::string& label) {
    constexpr unsigned char ink = 230;
    for (const char character : label) {
        const Glyph& glyph = glyphOf(character);
        for (unsigned y = 0; y < glyphHeight; ++y) {
            for (unsigned x = 0; x < glyphWidth; ++x) {
                if ((glyph.rows[y] >> (glyphWidth - 1 - x) & 1) != 0) std::fill_n(sheet.at(left + x, top + y), 3, ink);
            }
        }
        left += glyphAdvance;
    }
}

void drawPicture(Image& sheet, unsigned left, unsigned top, const Image& picture) {
    for (unsigned y = 0; y < picture.height; ++y) {
        for (unsigned x = 0; x < picture.width; ++x) {
            const unsigned board = (x / 8 + y / 8) % 2 == 0 ? 204 : 153;
            const unsigned char* source = picture.at(x, y);
            unsigned char* target = sheet.at(left + x, top + y);
            for (unsigned c = 0; c < 3; ++c) {
                const unsigned sum = source[c] * source[3] + board * (255U - source[3]);
                target[c] = static_cast<unsigned char>((sum + 127) / 255);
            }
        }
    }
}

Image joined(const std::vector<Named>& pictures) {
    constexpr unsigned char background = 48;
    unsigned cellWidth = 1;
    unsigned cellHeight = 1;
    for (const Named& picture : pictures) {
        cellWidth = std::max({cellWidth, picture.image.width, labelWidth(picture.name)});
        cellHeight = std::max(cellHeight, picture.image.height + labelHeight);
    }
    cellWidth += gap;
    cellHeight += gap;
    const auto count = static_cast<unsigned>(pictures.size());
    const double square = std::sqrt(count * widthToHeight * cellHeight / cellWidth);
    const unsigned columns = std::max(1U, static_cast<unsigned>(std::lround(square)));
    const unsigned rows = (count + columns - 1) / columns;

    Image sheet{columns * cellWidth + gap, rows * cellHeight + gap, 3, {}};
    sheet.bytes.assign(std::size_t{sheet.width} * sheet.height * sheet.channels, background);
    for (unsigned i = 0; i < count; ++i) {
        const unsigned left = gap + i % columns * cellWidth;
        const unsigned top = gap + i / columns * cellHeight;
        drawPicture(sheet, left, top, pictures[i].image);
        drawLabel(sheet, left, top + pictures[i].image.height + 2, pictures[i].name);
    }
    return sheet;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: kpxcontactsheet OUT.png PICTURE.png...\n", stderr);
        return 2;
    }
    try {
        std::vector<Named> pictures;
        for (int i = 2; i < argc; ++i) pictures.push_back(readPicture(argv[i]));
        writeSheet(joined(pictures), argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kpxcontactsheet: %s\n", error.what());
        return 1;
    }
}
