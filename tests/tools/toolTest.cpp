// Reads the pictures that kpximage converts with the libraries of their formats.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>

#include <array>
#include <cstdint>
#include <limits>
#include <map>

#include "tests/support/Tool.h"
#include "tests/support/families.h"
#include "tests/support/png.h"
#include "tests/support/processState.h"

namespace {

using Bytes = std::string;
using PixelFormat = kpx::DDS_PIXELFORMAT;
using testing_support::Png;
using testing_support::readPng;
using testing_support::RunResult;
using testing_support::textOf;
using testing_support::textOfFile;
using testing_support::Tool;

// Makes PNG files in memory.

constexpr PixelFormat rgb24{32, 0x40, 0, 24, 0xFF0000, 0xFF00, 0xFF, 0};
constexpr PixelFormat rgba32{32, 0x41, 0, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr PixelFormat alpha8{32, 0x2, 0, 8, 0, 0, 0, 0xFF};
constexpr PixelFormat grey8{32, 0x20000, 0, 8, 0xFF, 0, 0, 0};
constexpr PixelFormat greyAlpha16{32, 0x20001, 0, 16, 0xFF, 0, 0, 0xFF00};
constexpr PixelFormat named(uint32_t code) {
    return {32, 0x4, code, 0, 0, 0, 0, 0};
}
constexpr PixelFormat twoOf16Bits = named(34);

Bytes dds(uint32_t width, uint32_t height, const PixelFormat& format, const Bytes& pixels) {
    kpx::DdsFileHeader file = testing_support::headerOf(width, height);
    file.header.dwFlags = 0x1007;
    file.header.ddspf = format;
    return textOf(testing_support::fileOf(file)) + pixels;
}

Bytes floats(const std::vector<float>& values) {
    Bytes bytes(values.size() * sizeof(float), '\0');
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

// Returns incompressible bytes, the same in every run.
Bytes noise(size_t size) {
    model::Random random(1);
    return textOf(testing_support::randomBytes(random, size));
}

void writePng(const std::string& path, const Png& image) {
    FILE* file = std::fopen(path.c_str(), "wb");
    png_struct* png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_info* info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), image.depth,
                 image.type, image.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE,
                 PNG_FILTER_TYPE_BASE);
    if (image.type == PNG_COLOR_TYPE_PALETTE) {
        const std::array<png_color, 2> colours = {{{1, 2, 3}, {4, 5, 6}}};
        const std::array<png_byte, 2> alphas = {7, 255};
        png_set_PLTE(png, info, colours.data(), colours.size());
        png_set_tRNS(png, info, alphas.data(), alphas.size(), nullptr);
    }
    png_write_info(png, info);
    Bytes rows = image.rows;
    std::vector<png_bytep> pointers;
    const size_t rowSize = png_get_rowbytes(png, info);
    for (int y = 0; y < image.height; ++y) {
        pointers.push_back(reinterpret_cast<png_bytep>(&rows.at(static_cast<size_t>(y) * rowSize)));
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

struct ExrChannel {
    Imf::PixelType type;
    std::vector<float> values;
};

// Returns the channels of an OpenEXR file by their names.
std::map<std::string, ExrChannel> readExr(const std::string& path) {
    Imf::InputFile file(path.c_str());
    const Imath::Box2i window = file.header().dataWindow();
    const auto width = static_cast<size_t>(window.max.x + 1);
    std::map<std::string, ExrChannel> channels;
    Imf::FrameBuffer frame;
    for (auto i = file.header().channels().begin(); i != file.header().channels().end(); ++i) {
        ExrChannel& channel = channels[i.name()];
        channel = {i.channel().type, std::vector<float>(width * static_cast<size_t>(window.max.y + 1))};
        frame.insert(i.name(), Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(channel.values.data()), sizeof(float),
                                          width * sizeof(float)));
    }
    file.setFrameBuffer(frame);
    file.readPixels(window.min.y, window.max.y);
    return channels;
}

class Convert : public Tool {
protected:
    // Runs "convert" and compares all that it prints with the message.
    void convert(const std::string& arguments, const std::string& message = "", int status = 0) const {
        const RunResult result = run((message.empty() ? "convert -q -f -o " : "convert -f -o ") + arguments);
        EXPECT_EQ(result.status, status) << arguments;
        EXPECT_EQ(result.err, message) << arguments;
        EXPECT_EQ(result.out, "") << arguments;
    }
};

TEST_F(Tool, FormatsShowsThePluginItsOptionsAndTheTable) {
    const RunResult result = run("formats");
    EXPECT_EQ(result.status, 0);
    for (const char* text : {"plug-in: " KPX_PLUGIN_PATH "\n", "writes: yes\n",
                             "Compression: Off (0), DXT1 (1), DXT3 (3)\n", "BC7_UNORM ", "code \"DXT5\""}) {
        EXPECT_NE(result.out.find(text), std::string::npos) << text;
    }
}

Bytes dx10Pixel(uint32_t dxgi, const Bytes& pixel) {
    return textOf(testing_support::dx10File(dxgi, 1, 1)) + pixel;
}

TEST_F(Convert, WritesEveryPictureAsPng) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const Bytes lights = dds(2, 1, named(116), floats({0.25F, 0.001F, 9.0F, 0.5F, notANumber, -1.0F, 0.5F, 2.0F}));
    // The endpoints of both blocks are equal, so that red and green are the same everywhere.
    const Bytes flat("\x80\x80\0\0\0\0\0\0\x80\x80\0\0\0\0\0\0", 16);
    const struct {
        Bytes file;
        const char* options;
        int type;
        Bytes rows;  // the first of them
    } cases[] = {
        {dds(2, 2, rgb24, "abcdefABCDEF"), "", PNG_COLOR_TYPE_RGB, "cbafedCBAFED"},
        {dds(2, 2, rgba32, "abcdefghABCDEFGH"), "", PNG_COLOR_TYPE_RGBA, "cbadgfehCBADGFEH"},
        {dds(2, 2, grey8, "abcd"), "", PNG_COLOR_TYPE_GRAY, "abcd"},
        {dds(2, 2, greyAlpha16, "aAbBcCdD"), "", PNG_COLOR_TYPE_GRAY_ALPHA, "aAbBcCdD"},
        {dds(2, 2, alpha8, "abcd"), "", PNG_COLOR_TYPE_GRAY, "abcd"},
        {dds(2, 2, twoOf16Bits, "-a-b-c-d-e-f-g-h"), "", PNG_COLOR_TYPE_RGB, Bytes("ab\0cd\0ef\0gh\0", 12)},
        {dx10Pixel(88, "abcd"), "", PNG_COLOR_TYPE_RGBA, "cbad"},
        {dx10Pixel(88, "abcd"), "--opaque", PNG_COLOR_TYPE_RGB, "cba"},
        {dx10Pixel(88, "abcd"), "--opaque=all", PNG_COLOR_TYPE_RGB, "cba"},
        {dx10Pixel(87, "abcd"), "--opaque", PNG_COLOR_TYPE_RGBA, "cbad"},
        {dx10Pixel(87, "abcd"), "--opaque=all", PNG_COLOR_TYPE_RGB, "cba"},
        {dds(1, 1, greyAlpha16, "aA"), "--opaque=all", PNG_COLOR_TYPE_GRAY, "a"},
        {dds(1, 1, rgb24, "abc"), "--opaque=all", PNG_COLOR_TYPE_RGB, "cba"},
        {dds(1, 1, twoOf16Bits, Bytes("\0\x80\0\x80", 4)), "--swizzle rgz", PNG_COLOR_TYPE_RGB, "\x80\x80\xFF"},
        // One lies in the plane, one is longer than a unit vector.
        {dds(1, 1, twoOf16Bits, Bytes("\0\xFF\0\x80", 4)), "--swizzle rgz", PNG_COLOR_TYPE_RGB, "\xFF\x80\x80"},
        {dds(1, 1, twoOf16Bits, Bytes("\0\xFF\0\xFF", 4)), "--swizzle rgz", PNG_COLOR_TYPE_RGB, "\xFF\xFF\x80"},
        {dds(4, 4, named(kpx::fourCC("ATI2")), flat), "--swizzle rgz", PNG_COLOR_TYPE_RGB, "\x80\x80\xFF\x80"},
        // 0.25 is 0.5371 in sRGB, 0.001 is 0.01292, 0.5 is 0.7354; alpha stays linear.
        {lights, "--exposure 0", PNG_COLOR_TYPE_RGBA, Bytes("\x89\x03\xFF\x80\0\0\xBC\xFF", 8)},
        // A quarter of the light: 0.0625 is 0.2777, 0.00025 is 0.00323, 0.125 is 0.3885.
        {lights, "--exposure -2", PNG_COLOR_TYPE_RGBA, Bytes("\x47\x01\xFF\x80\0\0\x63\xFF", 8)},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &each - cases << each.options);
        file("a.dds", each.file);
        convert(std::string("a.png a.dds ") + each.options);
        const Png png = readPng(at("a.png"));
        EXPECT_EQ(png.type, each.type);
        EXPECT_EQ(png.depth, 8);
        EXPECT_EQ(png.rows.substr(0, each.rows.size()), each.rows);
    }
    file("a.dds", dds(1, 1, named(115), floats({0.6F, 0.0F})));
    convert("a.exr a.dds --swizzle rgz");
    EXPECT_FLOAT_EQ(readExr(at("a.exr")).at("B").values.at(0), 0.8F);
}

TEST_F(Convert, WritesTheSamePixelsFastAndSmallest) {
    const PixelFormat* formats[] = {&grey8, &greyAlpha16, &rgb24, &rgba32};
    for (size_t channels = 1; channels <= 4; ++channels) {
        file("a.dds", dds(300, 300, *formats[channels - 1], noise(45'000 * channels) + Bytes(45'000 * channels, 7)));
        convert("a.png a.dds");
        convert("b.png a.dds --png smallest");
        EXPECT_TRUE(readPng(at("a.png")) == readPng(at("b.png"))) << channels;
        EXPECT_NE(std::filesystem::file_size(at("a.png")), std::filesystem::file_size(at("b.png")));
    }
}

TEST_F(Convert, WritesTheBlackPictureOpaque) {
    file("a.dds", dds(2, 2, named(kpx::fourCC("????")), ""));
    EXPECT_EQ(run("convert a.dds -o a.png --keep-black").status, 3);
    Bytes rows;
    for (int i = 0; i < 64 * 64; ++i) rows += Bytes("\0\0\0\xFF", 4);
    EXPECT_EQ(readPng(at("a.png")), (Png{64, 64, PNG_COLOR_TYPE_RGBA, 8, rows}));
}

// A picture of 63 MiB does not fit the limit on memory, which the headers cannot predict.
TEST_F(Tool, ReportsLackOfMemory) {
    if (testing_support::underAddressSanitizer || testing_support::underThreadSanitizer)
        GTEST_SKIP() << "a sanitizer needs more addresses than the limit leaves";
    std::filesystem::resize_file(file("a.dds", dds(8192, 2688, rgb24, "")), 128 + 8192 * 2688 * 3);
    const char* limit = "ulimit -v 65536;";
    const RunResult converted = run("convert a.dds -o a.png", limit);
    EXPECT_EQ(converted.status, 1);
    EXPECT_EQ(converted.err, "kpximage: a.dds: not enough memory\n");
    const RunResult opened = run("info --open a.dds", limit);
    EXPECT_EQ(opened.status, 1);
    EXPECT_EQ(opened.err,
              "kpximage: a.dds: is 64 x 64, 4 colour and 0 alpha channels of 8 bits through the plug-in, but 8192 x "
              "2688, 3 colour and 0 alpha channels of 8 bits by its headers\n");
    EXPECT_EQ(run("info a.dds", limit).status, 0);
    EXPECT_EQ(run("info --open a.dds").status, 0);
}

TEST_F(Convert, WritesFloatsToOpenExrUnchanged) {
    // In the order of the DDS file.
    const std::tuple<unsigned, Bytes, unsigned> cases[] = {
        {114, "Y", 2}, {115, "RG", 2}, {116, "RGBA", 2}, {114, "Y", 16385}};
    for (const auto& [code, names, width] : cases) {
        std::vector<float> values;
        std::map<std::string, std::vector<float>> expected, found;
        for (size_t i = 0; i < 3 * width * names.size(); ++i) {
            values.push_back(1e-7F * static_cast<float>(i * i) - 1.0F);
            expected[names.substr(i % names.size(), 1)].push_back(values.back());
        }
        file("a.dds", dds(width, 3, named(code), floats(values)));
        convert("a.exr a.dds");
        EXPECT_EQ(Imf::InputFile(at("a.exr").c_str()).header().compression() == Imf::PIZ_COMPRESSION, width <= 16384);
        for (const auto& [name, channel] : readExr(at("a.exr"))) found[name] = channel.values;
        EXPECT_EQ(found, expected);
    }
}

TEST_F(Convert, WritesOpenExrWithTheBitsOfTheSourceOrTheOption) {
    const struct {
        uint32_t code;
        const char* options;
        Imf::PixelType type;
    } cases[] = {{111, "", Imf::HALF},
                 {111, "--exr source", Imf::HALF},
                 {111, "--exr float", Imf::FLOAT},
                 {114, "", Imf::FLOAT},
                 {114, "--exr half", Imf::HALF}};
    for (const auto& each : cases) {
        file("a.dds", dds(1, 1, named(each.code), each.code == 111 ? Bytes("\x00\x3E", 2) : floats({1.5F})));
        convert(std::string("a.exr a.dds ") + each.options);
        const ExrChannel channel = readExr(at("a.exr")).at("Y");
        EXPECT_EQ(channel.type, each.type) << each.code << each.options;
        EXPECT_EQ(channel.values, std::vector<float>{1.5F});
    }
}

TEST_F(Convert, MarksPngFilesOfSrgbFormats) {
    for (const auto& [dxgi, isSrgb] : {std::pair{28U, false}, {29U, true}, {91U, true}}) {
        file("a.dds", dx10Pixel(dxgi, "abcd"));
        convert("a.png a.dds");
        EXPECT_EQ(textOfFile(at("a.png")).find("sRGB") != Bytes::npos, isSrgb) << dxgi;
    }
}

TEST_F(Convert, ConvertsPngToDdsAndBack) {
    const Png image{5, 2, PNG_COLOR_TYPE_RGBA, 8, noise(40)};
    writePng(at("a.png"), image);
    convert("a.dds a.png --pad", "kpximage: a.png: note: the width 5 is stored as 8\n");
    const Bytes stored = textOfFile(at("a.dds"));
    ASSERT_EQ(stored.size(), 128U + 2 * 8 * 4);
    EXPECT_EQ(stored.substr(128, 4),
              Bytes({image.rows[2], image.rows[1], image.rows[0], image.rows[3]}));  // BGRA of the top left pixel
    convert("b.png a.dds");
    const Png back = readPng(at("b.png"));
    ASSERT_EQ(back.width, 8);
    EXPECT_EQ(back.rows.substr(0, 20), image.rows.substr(0, 20));
    EXPECT_EQ(back.rows.substr(32, 20), image.rows.substr(20, 20));
}

TEST_F(Convert, ExpandsEveryKindOfPng) {
    const Bytes rgb = noise(24);
    const Bytes expandedPalette = "\x04\x05\x06\xFF\x01\x02\x03\x07\x04\x05\x06\xFF\x01\x02\x03\x07";
    const struct {
        Png image;
        const char* options;
        Png expected;
    } cases[] = {
        {{4, 2, PNG_COLOR_TYPE_RGB, 8, rgb}, "", {4, 2, PNG_COLOR_TYPE_RGB, 8, rgb}},
        {{4, 2, PNG_COLOR_TYPE_RGB, 8, rgb, true}, "", {4, 2, PNG_COLOR_TYPE_RGB, 8, rgb}},
        {{4, 1, PNG_COLOR_TYPE_GRAY, 8, "abcd"}, "", {4, 1, PNG_COLOR_TYPE_RGB, 8, "aaabbbcccddd"}},
        {{4, 1, PNG_COLOR_TYPE_GRAY, 2, "\x1B"},
         "",
         {4, 1, PNG_COLOR_TYPE_RGB, 8, Bytes("\0\0\0UUU\xAA\xAA\xAA\xFF\xFF\xFF", 12)}},
        {{4, 1, PNG_COLOR_TYPE_PALETTE, 1, "\xA0"}, "", {4, 1, PNG_COLOR_TYPE_RGBA, 8, expandedPalette}},
        {{4, 1, PNG_COLOR_TYPE_GRAY, 16, "a-b-c-d-"}, "--depth 8", {4, 1, PNG_COLOR_TYPE_RGB, 8, "aaabbbcccddd"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &each - cases);
        writePng(at("a.png"), each.image);
        convert(std::string("a.dds a.png ") + each.options);
        convert("b.png a.dds");
        EXPECT_EQ(readPng(at("b.png")), each.expected);
    }
    convert("a.dds a.png", "kpximage: a.png: has 16 bits per channel; --depth 8 reduces them to 8\n", 1);
}

}  // namespace
