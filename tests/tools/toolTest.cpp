// kpximage run as a user runs it: exit statuses, messages, and outputs read back with the libraries of their formats.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>

#include <array>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/Tool.h"
#include "tests/support/families.h"
#include "tests/support/png.h"
#include "tests/support/processState.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::string;
using PixelFormat = kpx::DDS_PIXELFORMAT;
using testing_support::Png;
using testing_support::readPng;
using testing_support::RunResult;
using testing_support::textOf;
using testing_support::textOfFile;
using testing_support::Tool;

// Files in memory.

constexpr PixelFormat rgb24{32, 0x40, 0, 24, 0xFF0000, 0xFF00, 0xFF, 0};
constexpr PixelFormat rgba32{32, 0x41, 0, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr PixelFormat alpha8{32, 0x2, 0, 8, 0, 0, 0, 0xFF};
constexpr PixelFormat grey8{32, 0x20000, 0, 8, 0xFF, 0, 0, 0};
constexpr PixelFormat greyAlpha16{32, 0x20001, 0, 16, 0xFF, 0, 0, 0xFF00};
constexpr PixelFormat named(uint32_t code) {
    return {32, 0x4, code, 0, 0, 0, 0, 0};
}
constexpr PixelFormat twoOf16Bits = named(34);
constexpr PixelFormat bc1 = named(kpx::fourCC("DXT1"));
constexpr PixelFormat unknownCode = named(kpx::fourCC("????"));

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

// Bytes without a pattern that a compressor could use, the same in every run.
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

std::vector<float> exrChannel(const std::string& path, const std::string& name) {
    Imf::InputFile file(path.c_str());
    const Imath::Box2i window = file.header().dataWindow();
    const auto width = static_cast<size_t>(window.max.x + 1);
    std::vector<float> values(width * static_cast<size_t>(window.max.y + 1));
    Imf::FrameBuffer frame;
    frame.insert(name,
                 Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()), sizeof(float), width * sizeof(float)));
    file.setFrameBuffer(frame);
    file.readPixels(window.min.y, window.max.y);
    return values;
}

std::string exrNames(const std::string& path) {
    Imf::InputFile file(path.c_str());
    std::string names;
    for (auto i = file.header().channels().begin(); i != file.header().channels().end(); ++i) names += i.name();
    return names;
}

#define EXPECT_RUN(result, expectedStatus, expectedErr) \
    do {                                                \
        const RunResult run_ = (result);                \
        EXPECT_EQ(run_.status, expectedStatus);         \
        EXPECT_EQ(run_.err, expectedErr);               \
    } while (false)

const Bytes twoRows = "abcdefABCDEF";  // 2 x 2 pixels of BGR: abc def / ABC DEF

TEST_F(Tool, WrongUsageIsStatus2AndAMessageAndHelpIs0) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    const char* cases[][2] = {
        {"", "subcommand is required"},
        {"conver a.dds b.png", "there is no command \"conver\""},
        {"--frobnicate", "there is no option \"--frobnicate\""},
        {"info --nonsense", "there is no option \"--nonsense\""},
        {"help nonsense", "nonsense not in"},
        {"info", "FILE is required"},
        {"info --nonsense a.dds", "--nonsense"},
        {"convert a.dds", "FILE"},
        {"convert a.dds a.tga", "a.tga: the name of the output must end in one of .png .exr .dds"},
        {"convert a.dds out/", "out/ is not a folder"},
        {"convert a.dds a.dds out.png", "out.png is not a folder"},
        {"convert a.dds . --format gif", "gif not in"},
        {"convert a.dds a.png --format png", "--format goes with a folder"},
        {"convert a.dds a.exr --exposure 1", "--exposure has no use for .exr"},
        {"convert a.dds a.png --exposure nan", "nan is no number of stops"},
        {"convert a.dds a.png --alpha 'Output alpha'", "--alpha has no use for .png"},
        {"convert a.dds b.dds --compression best", "there are \"Off\", \"DXT1\", \"DXT3\""},
        {"convert a.dds b.dds --depth 9", "9"},
        {"convert a.dds b.png --exr half", "--exr has no use for .png"},
        {"convert a.dds b.png --opaque=x8", "x8 not in"},
    };
    for (const auto& [arguments, message] : cases) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_TRUE(result.err.starts_with("kpximage: ")) << result.err;
        EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    for (const char* command : {"", "formats", "info", "explain", "convert", "repair", "split", "gallery"}) {
        const RunResult result = run(std::string(command) + " --help");
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.out.find(std::string("Usage: kpximage ") + command), std::string::npos) << result.out;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(run(std::string("help ") + command).out, result.out);
    }
    EXPECT_EQ(names(), "a.dds");
}

TEST_F(Tool, FormatsShowsThePluginItsOptionsAndTheTable) {
    const RunResult result = run("formats");
    EXPECT_EQ(result.status, 0);
    for (const char* text : {"plug-in: " KPX_PLUGIN_PATH "\n", "imageExtension: .dds\n", "imageAccess: 76\n",
                             "Compression: Off (0), DXT1 (1), DXT3 (3)\n", "BC7_UNORM ", "code \"DXT5\""}) {
        EXPECT_NE(result.out.find(text), std::string::npos) << text;
    }
}

TEST_F(Tool, ThePluginMayBeNamedBeforeOrAfterTheCommand) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    for (const char* arguments : {"--plugin ./no.so info --open a.dds", "info --open a.dds --plugin no.so"}) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.err.find("kpximage: cannot load the plug-in: " + at("")), std::string::npos) << result.err;
    }
}

TEST_F(Tool, InfoDescribesEveryFileAndFailsIfOneDoes) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    file("b.dds", dds(1, 1, named(116), floats({1, 2, 3, 4})));
    file("c.txt", Bytes(200, 'c'));
    file("short.dds", Bytes("DDS ") + Bytes(96, '\0'));
    const RunResult result = run("info a.dds c.txt missing.dds short.dds b.dds");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "a.dds: 2 x 2, 3 colour, 0 matte, 8-bit\nb.dds: 1 x 1, 3 colour, 1 matte, 32-bit float\n");
    EXPECT_EQ(result.err,
              "kpximage: c.txt: is not recognised\n"
              "kpximage: missing.dds: cannot open the file: No such file or directory\n"
              "kpximage: short.dds: is too short: it has 100 bytes, its header alone takes 128\n"
              "kpximage: 5 files: 2 done, 3 failed\n");
}

TEST_F(Tool, InfoAsJsonIsOneObjectALineWhateverTheNamesAre) {
    file("a\"\n\xFF.dds", dds(2, 2, rgba32, Bytes(16, 'x')));
    file("c.txt", Bytes(200, 'c'));
    const RunResult result = run("info --json *");
    EXPECT_EQ(result.status, 1);
    std::istringstream lines(result.out);
    std::vector<nlohmann::json> objects;
    for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["file"], "a\"\n\xEF\xBF\xBD.dds");
    EXPECT_EQ(objects[0]["colourChannels"], 3);
    EXPECT_EQ(objects[0]["matteChannels"], 1);
    EXPECT_EQ(objects[0]["float"], false);
    EXPECT_EQ(objects[1]["recognised"], false);
    EXPECT_EQ(result.err, "kpximage: c.txt: is not recognised\nkpximage: 2 files: 1 done, 1 failed\n");
}

TEST_F(Tool, WhatThePluginPrintsStaysOutOfTheData) {
    file("cut.dds", dds(8, 8, bc1, "abc"));
    const RunResult result = run("info --json --open cut.dds");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(nlohmann::json::parse(result.out)["width"], 64);
    EXPECT_EQ(nlohmann::json::parse(result.out)["black"], true);
    EXPECT_EQ(result.err,
              "kpximage: cut.dds: Error loading DDS pixel data\n"
              "kpximage: cut.dds: comes out as a black picture. The data is 29 bytes short: 3 follow the header and 32 "
              "are asked for.\n");
}

TEST_F(Tool, AnOutputThatIsNotReadIsAFailure) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    EXPECT_RUN(run("info a.dds >/dev/full"), 1, "kpximage: standard output: No space left on device\n");
    EXPECT_RUN(run("info a.dds >&-"), 1, "kpximage: standard output: Bad file descriptor\n");
}

TEST_F(Tool, ClosedStreamsDoNotEndUpInTheOutput) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    EXPECT_EQ(run("convert a.dds a.png <&- >&- 2>&-").status, 0);
    EXPECT_EQ(readPng(at("a.png")).rows, "cbafedCBAFED");
}

Bytes dx10Pixel(uint32_t dxgi, const Bytes& pixel) {
    return textOf(testing_support::dx10File(dxgi, 1, 1)) + pixel;
}

TEST_F(Tool, EveryPictureHasItsPng) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const Bytes lights = dds(2, 1, named(116), floats({0.25F, 0.001F, 9.0F, 0.5F, notANumber, -1.0F, 0.5F, 2.0F}));
    // Endpoints of both blocks alike, so that red and green are the same everywhere.
    const Bytes flat("\x80\x80\0\0\0\0\0\0\x80\x80\0\0\0\0\0\0", 16);
    const struct {
        Bytes file;
        const char* options;
        int type;
        Bytes rows;  // as far as they are looked at
    } cases[] = {
        {dds(2, 2, rgb24, twoRows), "", PNG_COLOR_TYPE_RGB, "cbafedCBAFED"},
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
        {dds(1, 1, twoOf16Bits, Bytes("\0\x80\0\x80", 4)), "--normal-z", PNG_COLOR_TYPE_RGB, "\x80\x80\xFF"},
        // Lies in the plane; and is longer than a unit vector.
        {dds(1, 1, twoOf16Bits, Bytes("\0\xFF\0\x80", 4)), "--normal-z", PNG_COLOR_TYPE_RGB, "\xFF\x80\x80"},
        {dds(1, 1, twoOf16Bits, Bytes("\0\xFF\0\xFF", 4)), "--normal-z", PNG_COLOR_TYPE_RGB, "\xFF\xFF\x80"},
        {dds(4, 4, named(kpx::fourCC("ATI2")), flat), "--normal-z", PNG_COLOR_TYPE_RGBA, "\x80\x80\xFF\xFF"},
        // 0.25 is 0.5371 in sRGB, 0.001 is 0.01292, 0.5 is 0.7354; alpha stays linear.
        {lights, "--exposure 0", PNG_COLOR_TYPE_RGBA, Bytes("\x89\x03\xFF\x80\0\0\xBC\xFF", 8)},
        // A quarter of the light: 0.0625 is 0.2777, 0.00025 is 0.00323, 0.125 is 0.3885.
        {lights, "--exposure -2", PNG_COLOR_TYPE_RGBA, Bytes("\x47\x01\xFF\x80\0\0\x63\xFF", 8)},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &each - cases << each.options);
        file("a.dds", each.file);
        EXPECT_RUN(run(std::string("convert a.dds a.png ") + each.options), 0, "");
        const Png png = readPng(at("a.png"));
        EXPECT_EQ(png.type, each.type);
        EXPECT_EQ(png.depth, 8);
        EXPECT_EQ(png.rows.substr(0, each.rows.size()), each.rows);
    }
    file("a.dds", dds(1, 1, named(115), floats({0.6F, 0.0F})));
    EXPECT_RUN(run("convert a.dds a.exr --normal-z"), 0, "");
    EXPECT_FLOAT_EQ(exrChannel(at("a.exr"), "B").at(0), 0.8F);
}

TEST_F(Tool, ThePictureThatStandsForTheUndecodableIsOpaqueBlack) {
    file("a.dds", dds(2, 2, unknownCode, ""));
    const Bytes message = "kpximage: a.dds: comes out as a black picture. The code \"????\" is not known.\n";
    EXPECT_RUN(run("convert a.dds a.png --strict"), 3, message);
    EXPECT_EQ(names(), "a.dds");
    EXPECT_RUN(run("convert a.dds a.png"), 3, message);
    EXPECT_RUN(run("info a.dds"), 3, message);
    Bytes rows;
    for (int i = 0; i < 64 * 64; ++i) rows += Bytes("\0\0\0\xFF", 4);
    EXPECT_EQ(readPng(at("a.png")), (Png{64, 64, PNG_COLOR_TYPE_RGBA, 8, rows}));
}

TEST_F(Tool, ABlackPictureDoesNotKeepOtherFilesBackAndAFailureOutweighsIt) {
    file("a.dds", dds(2, 2, unknownCode, ""));
    file("b.dds", dds(2, 2, rgb24, twoRows));
    fs::create_directory(at("out"));
    EXPECT_EQ(run("convert a.dds b.dds out --strict").status, 3);
    EXPECT_FALSE(fs::exists(at("out/a.png")));
    EXPECT_TRUE(fs::exists(at("out/b.png")));
    EXPECT_EQ(run("convert missing.dds a.dds out").status, 1);
    EXPECT_TRUE(fs::exists(at("out/a.png")));
}

// A limit on memory, which the headers do not foretell: the picture of 100 MiB does not fit in it.
TEST_F(Tool, ABlackPictureForLackOfMemoryIsNamedToo) {
    if (testing_support::underAddressSanitizer || testing_support::underThreadSanitizer)
        GTEST_SKIP() << "a sanitizer needs more addresses than the limit leaves";
    file("a.dds", dds(8192, 4096, rgb24, ""));
    const char* limit = "ulimit -v 98304;";
    const Bytes message = "kpximage: a.dds: Insufficient memory to load DDS file\n";
    EXPECT_RUN(run("convert a.dds a.png --strict", limit), 3, message);
    EXPECT_RUN(run("info --open a.dds", limit), 1,
               message +
                   "kpximage: a.dds: is 64 x 64, 4 colour, 0 matte, 8-bit through the plug-in, but 8192 x 4096, "
                   "3 colour, 0 matte, 8-bit by its headers\n");
    EXPECT_RUN(run("info a.dds", limit), 0, "");
    EXPECT_RUN(run("info --open a.dds"), 0, "");
}

TEST_F(Tool, FloatsBecomeOpenExrUnchangedWithTheTopRowFirst) {
    struct Case {
        uint32_t code;
        const char* channels;  // in the order of the DDS file
        const char* sorted;
    };
    for (const Case& each : {Case{114, "Y", "Y"}, Case{115, "RG", "GR"}, Case{116, "RGBA", "ABGR"}}) {
        const Bytes channels = each.channels;
        std::vector<float> values;
        for (size_t i = 0; i < 6 * channels.size(); ++i) values.push_back(1e-7F * static_cast<float>(i * i) - 1.0F);
        file("a.dds", dds(2, 3, named(each.code), floats(values)));
        EXPECT_RUN(run("convert a.dds a.exr"), 0, "");
        ASSERT_EQ(exrNames(at("a.exr")), each.sorted);
        for (size_t channel = 0; channel < channels.size(); ++channel) {
            std::vector<float> expected;
            for (size_t i = channel; i < values.size(); i += channels.size()) expected.push_back(values[i]);
            EXPECT_EQ(exrChannel(at("a.exr"), channels.substr(channel, 1)), expected);
        }
    }
}

TEST_F(Tool, OpenExrHasTheBitsOfTheSourceOrThoseAskedFor) {
    struct Case {
        uint32_t code;
        const char* options;
        Imf::PixelType type;
    };
    const Case cases[] = {{111, "", Imf::HALF},
                          {111, "--exr source", Imf::HALF},
                          {111, "--exr float", Imf::FLOAT},
                          {114, "", Imf::FLOAT},
                          {114, "--exr half", Imf::HALF}};
    for (const Case& each : cases) {
        file("a.dds", dds(1, 1, named(each.code), each.code == 111 ? Bytes("\x00\x3E", 2) : floats({1.5F})));
        EXPECT_RUN(run(std::string("convert a.dds a.exr ") + each.options), 0, "");
        Imf::InputFile exr(at("a.exr").c_str());
        EXPECT_EQ(exr.header().channels().findChannel("Y")->type, each.type) << each.code << each.options;
        EXPECT_EQ(exrChannel(at("a.exr"), "Y"), std::vector<float>{1.5F});
    }
}

TEST_F(Tool, PngFilesOfSrgbFormatsSaySo) {
    for (const auto& [dxgi, isSrgb] : {std::pair{28U, false}, {29U, true}, {91U, true}}) {
        file("a.dds", dx10Pixel(dxgi, "abcd"));
        EXPECT_RUN(run("convert a.dds a.png"), 0, "");
        EXPECT_EQ(textOfFile(at("a.png")).find("sRGB") != Bytes::npos, isSrgb) << dxgi;
    }
}

TEST_F(Tool, PngAndDdsGoRoundWithColumnsOfPadding) {
    const Png image{5, 2, PNG_COLOR_TYPE_RGBA, 8, noise(40)};
    writePng(at("a.png"), image);
    EXPECT_RUN(run("convert a.png a.dds"), 0, "kpximage: a.dds: note: the width 5 is stored as 8\n");
    const Bytes stored = textOfFile(at("a.dds"));
    ASSERT_EQ(stored.size(), 128U + 2 * 8 * 4);
    EXPECT_EQ(stored.substr(128, 4),
              Bytes({image.rows[2], image.rows[1], image.rows[0], image.rows[3]}));  // BGRA of the top left pixel
    EXPECT_RUN(run("convert a.dds b.png"), 0, "");
    const Png back = readPng(at("b.png"));
    ASSERT_EQ(back.width, 8);
    EXPECT_EQ(back.rows.substr(0, 20), image.rows.substr(0, 20));
    EXPECT_EQ(back.rows.substr(32, 20), image.rows.substr(20, 20));
}

TEST_F(Tool, PngOfAnyKindIsExpanded) {
    const Bytes bytes = noise(64);
    struct Case {
        const char* name;
        Png image;
        const char* options;
        Png expected;
    };
    const Case cases[] = {
        {"rgb",
         {4, 2, PNG_COLOR_TYPE_RGB, 8, bytes.substr(0, 24)},
         "",
         {4, 2, PNG_COLOR_TYPE_RGB, 8, bytes.substr(0, 24)}},
        {"interlaced",
         {4, 2, PNG_COLOR_TYPE_RGB, 8, bytes.substr(0, 24), true},
         "",
         {4, 2, PNG_COLOR_TYPE_RGB, 8, bytes.substr(0, 24)}},
        {"grey", {4, 1, PNG_COLOR_TYPE_GRAY, 8, "abcd"}, "", {4, 1, PNG_COLOR_TYPE_RGB, 8, "aaabbbcccddd"}},
        {"2-bit grey",
         {4, 1, PNG_COLOR_TYPE_GRAY, 2, "\x1B"},
         "",
         {4, 1, PNG_COLOR_TYPE_RGB, 8, Bytes("\0\0\0UUU\xAA\xAA\xAA\xFF\xFF\xFF", 12)}},
        {"palette",
         {4, 1, PNG_COLOR_TYPE_PALETTE, 1, "\xA0"},
         "",
         {4, 1, PNG_COLOR_TYPE_RGBA, 8, "\x04\x05\x06\xFF\x01\x02\x03\x07\x04\x05\x06\xFF\x01\x02\x03\x07"}},
        {"16-bit",
         {4, 1, PNG_COLOR_TYPE_GRAY, 16, "a-b-c-d-"},
         "--depth 8",
         {4, 1, PNG_COLOR_TYPE_RGB, 8, "aaabbbcccddd"}},
    };
    for (const Case& each : cases) {
        writePng(at("a.png"), each.image);
        EXPECT_RUN(run(std::string("convert a.png a.dds ") + each.options), 0, "");
        EXPECT_RUN(run("convert a.dds b.png"), 0, "");
        EXPECT_EQ(readPng(at("b.png")), each.expected) << each.name;
    }
}

TEST_F(Tool, OptionsGoByThePluginsNamesInAnyCase) {
    writePng(at("a.png"), {4, 1, PNG_COLOR_TYPE_RGBA, 8, noise(16)});
    EXPECT_RUN(run("convert a.png with.dds --alpha 'OUTPUT ALPHA'"), 0, "");
    EXPECT_RUN(run("convert a.png without.dds --alpha 'do not output alpha'"), 0, "");
    EXPECT_EQ(textOfFile(at("with.dds")).at(88), 32);
    EXPECT_EQ(textOfFile(at("without.dds")).at(88), 24);
    EXPECT_RUN(run("convert a.png packed.dds --compression dxt3"), 0,
               "kpximage: note: the compression \"DXT3\" does not change the file, which is never compressed\n");
    EXPECT_EQ(textOfFile(at("packed.dds")), textOfFile(at("with.dds")));
    EXPECT_RUN(run("convert a.png off.dds --compression off"), 0, "");
}

TEST_F(Tool, DdsOfOtherChannelsIsWrittenAsRgb) {
    file("grey.dds", dds(4, 1, greyAlpha16, "aAbBcCdD"));
    file("alpha.dds", dds(4, 1, alpha8, "abcd"));
    EXPECT_RUN(run("convert grey.dds a.dds"), 0, "");
    EXPECT_RUN(run("convert alpha.dds b.dds"), 0, "");
    EXPECT_EQ(textOfFile(at("a.dds")).substr(128), "aaaAbbbBcccCdddD");
    EXPECT_EQ(textOfFile(at("b.dds")).substr(128), Bytes("\0\0\0a\0\0\0b\0\0\0c\0\0\0d", 16));
}

TEST_F(Tool, AFolderTakesEveryImageInTheFormatThatFitsIt) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    file("f.dds", dds(1, 1, named(114), floats({1})));
    file("bad.dds", "DDS ");
    writePng(at("p.png"), {4, 1, PNG_COLOR_TYPE_GRAY, 8, "abcd"});
    fs::create_directory(at("out"));
    EXPECT_RUN(run("convert a.dds bad.dds f.dds p.png out --quiet"), 1,
               "kpximage: bad.dds: is too short: it has 4 bytes, its header alone takes 128\n");
    for (const char* name : {"out/a.png", "out/f.exr", "out/p.dds"}) EXPECT_TRUE(fs::exists(at(name))) << name;
    EXPECT_RUN(run("convert a.dds out --format dds"), 0, "kpximage: out/a.dds: note: the width 2 is stored as 4\n");
    EXPECT_RUN(run("convert f.dds out --exposure 1"), 0, "");
    EXPECT_TRUE(fs::exists(at("out/f.png")));
}

TEST_F(Tool, NoInputOrOtherOutputIsOverwritten) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    file("A.DDS", dds(2, 2, rgb24, twoRows));
    fs::create_directories(at("in"));
    file("in/a.dds", dds(2, 2, rgb24, "GHIJKLghijkl"));
    fs::create_directory(at("out"));
    EXPECT_RUN(run("convert a.dds in/a.dds out --quiet"), 1,
               "kpximage: in/a.dds: would overwrite out/a.png, just made of another input of the same name\n");
    EXPECT_EQ(readPng(at("out/a.png")).rows, "cbafedCBAFED");
}

// A limit on the size of files stands for a full disk.
TEST_F(Tool, AFullDiskLeavesNoOutputInAnyFormat) {
    const Bytes pixels = noise(64 * 64 * 16);
    file("a.dds", dds(64, 64, rgb24, pixels));
    file("f.dds", dds(64, 64, named(116), pixels));
    const std::string full = "ulimit -f 1;";
    EXPECT_RUN(run("convert a.dds x.png", full), 1, "kpximage: x.png: cannot be written: File too large\n");
    EXPECT_RUN(run("convert f.dds x.exr", full), 1, "kpximage: x.exr: cannot be written: File too large\n");
    const RunResult result = run("convert a.dds x.dds", full);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("of 12416 bytes arrived on the disk; is it full?"), std::string::npos) << result.err;
    EXPECT_EQ(names(), "a.dds f.dds");
}

TEST_F(Tool, AnEarlierOutputKeepsItsLinkAndItsPermissions) {
    file("a.dds", dds(2, 2, rgb24, twoRows));
    file("real.png", "earlier");
    fs::permissions(at("real.png"), fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("real.png", at("link.png"));
    EXPECT_RUN(run("convert a.dds link.png"), 0, "");
    EXPECT_TRUE(fs::is_symlink(at("link.png")));
    EXPECT_EQ(readPng(at("real.png")).width, 2);
    EXPECT_EQ(fs::status(at("real.png")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_RUN(run("convert a.dds new.png", "umask 026;"), 0, "");
    EXPECT_EQ(static_cast<int>(fs::status(at("new.png")).permissions()), 0640);
}

TEST_F(Tool, WhatCannotBeConvertedIsSaidAndEverythingStaysAsItWas) {
    file("rgb.dds", dds(2, 2, rgb24, twoRows));
    file("float.dds", dds(1, 1, named(114), floats({1})));
    file("alpha.dds", dds(1, 1, alpha8, "a"));
    file("grey.dds", dds(1, 1, grey8, "a"));
    file("empty.dds", dds(0, 5, rgb24, ""));
    file("a.txt", Bytes(300, 'a'));
    writePng(at("deep.png"), {1, 1, PNG_COLOR_TYPE_GRAY, 16, "ab"});
    writePng(at("a.png"), {64, 64, PNG_COLOR_TYPE_RGB, 8, noise(64 * 64 * 3)});
    const Bytes whole = textOfFile(at("a.png"));
    file("cut.png", whole.substr(0, whole.size() / 2));
    file("endless.png", whole.substr(0, whole.size() - 12));  // all pixels, but no end
    file("x.dds", "earlier");
    fs::create_symlink("/dev/full", at("full.png"));
    const std::string before = names();
    const char* cases[][2] = {
        {"float.dds y.png",
         "float.dds: has floating-point channels: write .exr, or choose the brightness of a PNG with --exposure"},
        {"float.dds x.dds", "float.dds: has floating-point channels, which cannot be written as DDS: write .exr"},
        {"rgb.dds y.exr", "rgb.dds: has 8-bit channels, which OpenEXR cannot hold as they are: write .png"},
        {"alpha.dds y.png --opaque=all", "alpha.dds: is nothing but alpha, of which --opaque=all leaves nothing"},
        {"rgb.dds y.png --normal-z",
         "rgb.dds: has 3 colour channels, blue among them; --normal-z takes a normal map of two"},
        {"grey.dds y.png --normal-z", "grey.dds: has 1 colour channels; --normal-z takes a normal map of two"},
        {"deep.png x.dds", "deep.png: has 16 bits a channel; --depth 8 reduces it"},
        {"cut.png x.dds", "cut.png: is a broken PNG file: Read Error"},
        {"endless.png x.dds", "endless.png: is a broken PNG file: Read Error"},
        {"rgb.dds rgb.dds", "rgb.dds: would be overwritten by its own conversion"},
        {"rgb.dds full.png", "full.png: exists and is not a regular file"},
        {"rgb.dds no/y.png", "no/y.png: cannot be created: No such file or directory"},
        {"empty.dds y.png", "empty.dds: has no pixels: it is 0 x 5"},
        {"a.txt y.png", "a.txt: is neither a DDS nor a PNG file"},
        {"-- -b.dds y.png", "-b.dds: cannot open the file: No such file or directory"},
    };
    for (const auto& [arguments, message] : cases) {
        EXPECT_RUN(run(std::string("convert ") + arguments), 1, std::string("kpximage: ") + message + "\n");
    }
    EXPECT_EQ(textOfFile(at("x.dds")), "earlier");
    EXPECT_EQ(names(), before);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    const RunResult result = run("convert rgb.dds /proc/x.png");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("kpximage: /proc/x.png: cannot be created: ")) << result.err;
    EXPECT_RUN(run("info empty.dds"), 0, "");
}

}  // namespace
