// kpximage repair as a user runs it: a file with a fault, and the pixel that the plug-in reads of the mended copy.
#include <sstream>

#include "host/ImageReader.h"
#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"

using namespace kpx;
using namespace testing_support;

namespace {

constexpr std::uint32_t bumpDuDv = 0x80000;

// The first pixel of the bottom row as the plug-in delivers it, colours and then alpha: "0 128 255, 64". "black" is
// the picture that stands for what is not decoded.
std::string pixelOf(const std::string& path) {
    static const host::Plugin plugin(KPX_PLUGIN_PATH);
    host::ImageReader reader(plugin, path);
    if (reader.width() == 64) return "black";
    const auto rows = reader.scanline(0);
    std::ostringstream text;
    for (int i = 0; i < reader.colourChannels() + reader.matteChannels(); ++i) {
        text << (i == 0 ? "" : i == reader.colourChannels() ? ", " : " ");
        const unsigned char* row = rows[static_cast<std::size_t>(i)];
        if (reader.isFloat()) {
            float value = 0;
            std::memcpy(&value, row, sizeof value);
            text << value;
        } else {
            text << int{row[0]};
        }
    }
    return text.str();
}

Bytes pixelFile(const DdsFileHeader& header, std::uint64_t pixel, std::size_t bytes) {
    Bytes data(bytes);
    std::memcpy(data.data(), &pixel, bytes);
    return fileOf(header, data);
}

Bytes codePixel(std::uint32_t code, std::uint64_t pixel, std::size_t bytes, std::uint32_t headerFlags = 0) {
    return pixelFile(codeHeader(code, 1, 1, headerFlags), pixel, bytes);
}

// One block of 4 x 4 pixels, and bytes of further levels after it.
Bytes blockFile(const char (&code)[5], std::uint32_t flags, std::uint32_t linearSize, Bytes blocks) {
    DdsFileHeader header = codeHeader(fourCC(code), 4, 4, flags);
    header.header.dwPitchOrLinearSize = linearSize;
    return fileOf(header, blocks);
}

Bytes withFlags(Bytes file, std::uint32_t pixelFormatFlags, std::uint32_t bits = 0) {
    std::memcpy(&file[80], &pixelFormatFlags, sizeof pixelFormatFlags);
    std::memcpy(&file[88], &bits, sizeof bits);
    return file;
}

Bytes dx10Pixel(std::uint32_t dxgi, std::uint16_t pixel) {
    const Bytes data = {static_cast<unsigned char>(pixel & 0xFF), static_cast<unsigned char>(pixel >> 8)};
    return dx10File(dxgi, 1, 1, data);
}

const Bytes bc4 = {0x40, 0x40, 0, 0, 0, 0, 0, 0};  // 64 everywhere
const Bytes bc5 = {0x40, 0x40, 0, 0, 0, 0, 0, 0, 0x60, 0x60, 0, 0, 0, 0, 0, 0};
const Bytes bc1 = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0};  // white
const Bytes bc7 = {0xC0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
const Bytes bc6 = {0x03, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

using Repair = Tool;

struct Case {
    const char* fault;
    Bytes file;
    const char* before;  // the pixel of the file as it is
    const char* after;   // and of the mended copy
    const char* phrase;  // of the message
};

std::vector<Case> numericCodes() {
    Bytes premultiplied = dx10Pixel(86, 0x83E0);
    premultiplied[144] = 2;
    return {
        {"R8G8B8", codePixel(20, 0x0A141E, 3), "black", "10 20 30", "0xFF 0x0, 24 bits"},
        {"A8R8G8B8", codePixel(21, 0x280A141E, 4), "black", "10 20 30, 40", "D3DFMT_A8R8G8B8"},
        {"X8R8G8B8", codePixel(22, 0x280A141E, 4), "black", "10 20 30", "0xFF 0x0, 32 bits"},
        {"R5G6B5", codePixel(23, 0xF800, 2), "black", "255 0 0", "D3DFMT_R5G6B5"},
        {"X1R5G5B5", codePixel(24, 0x83E0, 2), "black", "0 255 0", "D3DFMT_X1R5G5B5"},
        {"A1R5G5B5", codePixel(25, 0x801F, 2), "black", "0 0 255, 255", "D3DFMT_A1R5G5B5"},
        {"A1R5G5B5 as blocks", codePixel(25, 0x7C00, 2, DDSD_LINEARSIZE), "black", "255 0 0, 0", "D3DFMT_A1R5G5B5"},
        {"A4R4G4B4", codePixel(26, 0xF0F1, 2), "black", "0 255 17, 255", "D3DFMT_A4R4G4B4"},
        {"A8", codePixel(28, 0x28, 1), "black", "40", "D3DFMT_A8"},
        {"X4R4G4B4", codePixel(30, 0xF0F1, 2), "black", "0 255 17", "D3DFMT_X4R4G4B4"},
        {"A2B10G10R10", codePixel(31, 0xC00003FF, 4), "black", "255 0 0, 255", "D3DFMT_A2B10G10R10"},
        {"A8B8G8R8", codePixel(32, 0x281E140A, 4), "black", "10 20 30, 40", "D3DFMT_A8B8G8R8"},
        {"X8B8G8R8", codePixel(33, 0x281E140A, 4), "black", "10 20 30", "D3DFMT_X8B8G8R8"},
        {"A2R10G10B10", codePixel(35, 0x000003FF, 4), "black", "0 0 255, 0", "D3DFMT_A2R10G10B10"},
        {"L8", codePixel(50, 0x28, 1), "black", "40", "50 D3DFMT_L8, becomes 0x20000 DDPF_LUMINANCE"},
        {"A8L8", codePixel(51, 0x280A, 2), "black", "10, 40", "51 D3DFMT_A8L8"},
        {"L16", codePixel(81, 0x280A, 2), "black", "40", "81 D3DFMT_L16"},
        {"DXGI B5G6R5", dx10Pixel(85, 0xF800), "black", "255 0 0", "DXGI 85 B5G6R5_UNORM, becomes the masks"},
        {"DXGI B5G5R5A1", dx10Pixel(86, 0x83E0), "black", "0 255 0, 255", "DXGI 86 B5G5R5A1_UNORM"},
        {"premultiplied B5G5R5A1", premultiplied, "black", "0 255 0, 255",
         "its alpha is premultiplied is no longer said"},
        {"DXGI B4G4R4A4", dx10Pixel(115, 0xF0F1), "black", "0 255 17, 255", "DXGI 115 B4G4R4A4_UNORM"},
    };
}

// Signed values -127, 0, 127 become 0, 127, 255.
std::vector<Case> signedData() {
    const Masks rgba{0xFF, 0xFF00, 0xFF0000, 0xFF000000};
    return {
        {"V8U8", pixelFile(maskHeader(bumpDuDv, 16, {0xFF, 0xFF00, 0, 0}, 1), 0x817F, 2), "black", "255 0", "DXGI 51"},
        {"Q8W8V8U8", pixelFile(maskHeader(bumpDuDv, 32, rgba, 1), 0x7F81007F, 4), "black", "255 127 0, 255", "DXGI 31"},
        {"V16U16", pixelFile(maskHeader(bumpDuDv, 32, {0xFFFF, 0xFFFF0000, 0, 0}, 1), 0x81007F00, 4), "black", "255 0",
         "DXGI 37"},
        {"code 60", codePixel(60, 0x817F, 2), "black", "255 0", "D3DFMT_V8U8"},
        {"code 63", codePixel(63, 0x7F81007F, 4), "black", "255 127 0, 255", "D3DFMT_Q8W8V8U8"},
        {"code 64", codePixel(64, 0x81007F00, 4), "black", "255 0", "D3DFMT_V16U16"},
        {"code 110", codePixel(110, 0x7F00810000007F00, 8), "127 0 129, 127", "255 127 0, 255", "DXGI 13"},
    };
}

std::vector<Case> blocks() {
    Bytes twoLevels = bc4;
    twoLevels.resize(12);
    return {
        {"linear size", blockFile("BC4U", DDSD_LINEARSIZE, 16, twoLevels), "black", "64 64 64, 255",
         "dwPitchOrLinearSize becomes 8, the size of the top level; it was 16."},
        {"ATI1", blockFile("ATI1", DDSD_LINEARSIZE, 8, bc4), "black", "64 64 64, 255", "becomes \"BC4U\""},
        {"ATI1 and linear size", blockFile("ATI1", DDSD_LINEARSIZE, 16, twoLevels), "black", "64 64 64, 255",
         "dwPitchOrLinearSize becomes 8"},
        {"ATI1 without flags", withFlags(blockFile("ATI1", 0, 0, bc4), 0), "black", "64 64 64, 255",
         "becomes \"BC4U\""},
        {"BC5U", blockFile("BC5U", DDSD_PITCH, 16, bc5), "black", "64 96 0, 255", "gets DDSD_LINEARSIZE"},
        {"BC5S", blockFile("BC5S", 0, 0, bc5), "black", "192 224 0, 255", "becomes 16."},
        {"DXT6", blockFile("DXT6", 0, 0, bc6), "black", "0 0 0, 1", "gets DDSD_LINEARSIZE"},
        {"DXT7", blockFile("DXT7", 0, 0, bc7), "black", "255 255 255, 255", "gets DDSD_LINEARSIZE"},
    };
}

std::vector<Case> flags() {
    const Bytes bgra = {30, 20, 10, 40};
    const Masks bgr{0xFF0000, 0xFF00, 0xFF, 0};
    return {
        {"DX10 and DDPF_RGB", withFlags(dx10File(87, 1, 1, bgra), DDPF_FOURCC | DDPF_RGB, 32), "0 0 0", "10 20 30, 40",
         "its flags become 0x4 DDPF_FOURCC and were 0x44 DDPF_FOURCC DDPF_RGB."},
        {"DX10 and DDPF_RGB over 5-6-5", withFlags(dx10Pixel(85, 0xF800), DDPF_FOURCC | DDPF_RGB, 32), "0 0 0",
         "255 0 0", "becomes the masks"},
        {"DXT1 and DDPF_RGB", withFlags(blockFile("DXT1", 0, 0, bc1), DDPF_FOURCC | DDPF_RGB, 24), "0 0 0",
         "255 255 255, 255", "named by the code \"DXT1\" alone"},
        {"DXT1 and DDPF_LUMINANCE", withFlags(blockFile("DXT1", 0, 0, bc1), DDPF_LUMINANCE, 8), "0", "255 255 255, 255",
         "named by the code \"DXT1\" alone"},
        {"red luminance", pixelFile(maskHeader(DDPF_RGB | DDPF_LUMINANCE, 8, {0xFF, 0, 0, 0}, 1), 40, 1), "40 0 0",
         "40", "become 0x20000 DDPF_LUMINANCE"},
        {"red luminance of 16 bits",
         pixelFile(maskHeader(DDPF_RGB | DDPF_LUMINANCE, 16, {0xFFFF, 0, 0, 0}, 1), 0x2800, 2), "39 0 0", "40",
         "become 0x20000 DDPF_LUMINANCE"},
        {"red luminance and alpha",
         pixelFile(maskHeader(DDPF_RGB | DDPF_LUMINANCE | DDPF_ALPHAPIXELS, 16, {0xFF, 0, 0, 0xFF00}, 1), 0x280A, 2),
         "10 0 0, 40", "10, 40", "DDPF_LUMINANCE"},
        {"no alpha mask", pixelFile(maskHeader(DDPF_RGB | DDPF_ALPHAPIXELS, 32, bgr, 1), 0x280A141E, 4), "10 20 30, 0",
         "10 20 30", "DDPF_ALPHAPIXELS is taken away"},
        {"a pixel code as blocks", codePixel(34, 0x28000A00, 4, DDSD_LINEARSIZE), "black", "10 40",
         "is no block format"},
        {"a pixel code without flags", withFlags(codePixel(36, 0x28001E0014000A00, 8), 0), "black", "10 20 30, 40",
         "is no block format"},
    };
}

TEST_F(Repair, EveryFaultIsMendedAndThePixelDataIsTheSame) {
    for (const auto& table : {numericCodes(), signedData(), blocks(), flags()}) {
        for (const Case& each : table) {
            SCOPED_TRACE(each.fault);
            std::filesystem::remove(at("b.dds"));
            file("a.dds", each.file);
            EXPECT_EQ(pixelOf(at("a.dds")), each.before);
            const RunResult result = run("repair a.dds b.dds");
            EXPECT_EQ(result.err, "");
            ASSERT_EQ(result.status, 0);
            EXPECT_NE(result.out.find(each.phrase), std::string::npos) << result.out;
            EXPECT_EQ(pixelOf(at("b.dds")), each.after);
            // The data is all that follows the headers.
            const bool hadDx10 = std::memcmp(&each.file[84], "DX10", 4) == 0;
            const Bytes mended = readFile(at("b.dds"));
            const bool hasDx10 = std::memcmp(&mended[84], "DX10", 4) == 0;
            EXPECT_EQ(Bytes(each.file.begin() + (hadDx10 ? 148 : 128), each.file.end()),
                      Bytes(mended.begin() + (hasDx10 ? 148 : 128), mended.end()));
            EXPECT_EQ(run("repair b.dds c.dds").err, "kpximage: b.dds: has nothing to mend: it is decoded as it is\n");
        }
    }
}

TEST_F(Repair, WhatCannotBeMendedIsSaidAndNoFileAppears) {
    const Case cases[] = {
        {"sound", codePixel(36, 0, 8), "", "", "a.dds: has nothing to mend"},
        {"XR_BIAS", dx10File(89, 1, 1, Bytes(4)), "", "", "DXGI format 89 R10G10B10_XR_BIAS_A2_UNORM is not decoded"},
        {"YUV", codePixel(fourCC("YUY2"), 0, 4), "", "", "YUV video"},
        {"RXGB", blockFile("RXGB", DDSD_LINEARSIZE, 16, bc5), "", "", "cannot be mended and comes out as a black"},
        {"short", blockFile("BC4U", DDSD_LINEARSIZE, 8, Bytes(7)), "", "", "The data is 1 byte short"},
        {"short under another name", blockFile("ATI1", DDSD_LINEARSIZE, 8, Bytes(7)), "", "", "1 byte short"},
        {"cut", Bytes(100), "", "", "cannot be mended. The file has 100 bytes"},
        {"pixels or cut blocks", withFlags(blockFile("DXT1", 0, 0, Bytes(4)), DDPF_FOURCC | DDPF_RGB, 24), "", "",
         "has nothing to mend: it is decoded as it is"},
        {"blocks or pixels", withFlags(blockFile("DXT1", 0, 0, Bytes(48)), DDPF_FOURCC | DDPF_RGB, 24), "", "",
         "has nothing to mend"},
    };
    for (const Case& each : cases) {
        file("a.dds", each.file);
        const RunResult result = run("repair a.dds b.dds");
        const bool isBlack = std::string(each.phrase).find("nothing") == std::string::npos && each.file.size() > 100;
        EXPECT_EQ(result.status, isBlack ? 3 : 1) << each.fault;
        EXPECT_NE(result.err.find(each.phrase), std::string::npos) << each.fault << ": " << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(names(), "a.dds");
    }
}

TEST_F(Repair, AnArrayACubeAndAVolumeKeepTheirShape) {
    Bytes cube = dx10File(85, 1, 1, Bytes(12));
    cube[136] = 4;
    cube[140] = 2;
    file("a.dds", cube);
    EXPECT_NE(run("repair a.dds b.dds").out.find("an array of 2 is no longer said"), std::string::npos);
    EXPECT_EQ(readFile(at("b.dds"))[113], 0xFE);
    DdsFileHeader volume = codeHeader(60, 1, 1);
    volume.header.dwCaps2 = 0x200000;
    file("a.dds", fileOf(volume, Bytes(2)));
    EXPECT_EQ(run("repair a.dds b.dds").status, 0);
    EXPECT_EQ(readFile(at("b.dds"))[132], 4);
}

TEST_F(Repair, ADryRunAndTheInputItselfAreNotWritten) {
    file("a.dds", codePixel(25, 0x7C00, 2));
    const RunResult dry = run("repair a.dds b.dds --dry-run");
    EXPECT_EQ(dry.status, 0);
    EXPECT_EQ(run("repair a.dds --dry-run").out, dry.out);
    EXPECT_EQ(names(), "a.dds");
    EXPECT_EQ(run("repair a.dds b.dds").out, dry.out);
    EXPECT_EQ(run("repair a.dds ./a.dds").err, "kpximage: ./a.dds: is the input itself\n");
    EXPECT_EQ(pixelOf(at("a.dds")), "black");
    EXPECT_EQ(run("repair a.dds").status, 2);
    // A limit on the size of files stands for a full disk.
    file("large.dds", fileOf(codeHeader(25, 256, 256), Bytes(131072)));
    EXPECT_EQ(run("repair large.dds b.dds", "ulimit -f 1;").err,
              "kpximage: b.dds: cannot be written: File too large\n");
    EXPECT_EQ(pixelOf(at("b.dds")), "255 0 0, 0");
}

TEST_F(Repair, ExplainSaysWhenItWouldHelp) {
    file("a.dds", codePixel(25, 0x7C00, 2));
    const std::string out = run("explain a.dds").out;
    EXPECT_NE(
        out.find("  repair    \"kpximage repair\" makes a copy with these changes:\n            The pixel format, "),
        std::string::npos)
        << out;
    file("a.dds", dx10File(89, 1, 1, Bytes(4)));
    EXPECT_EQ(run("explain a.dds").out.find("repair"), std::string::npos);
}

TEST_F(Repair, BlackSamplesAreMended) {
    const std::filesystem::path samples = KPX_SAMPLES_DIR;
    if (!exists(samples)) GTEST_SKIP() << "there are no sample files in " << samples;
    for (const char* name : {"ati1-linear-too-big", "bc4u-linear-too-big", "dx10-b5g6r5", "dx10-b5g5r5a1",
                             "dx10-b4g4r4a4", "fourcc-25-a1r5g5b5", "bumpdudv-q8w8v8u8"}) {
        const std::string path = (samples / name).string() + ".dds";
        EXPECT_EQ(run("info " + path).status, 3) << name;
        EXPECT_EQ(run("repair " + path + " " + name + ".dds").status, 0) << name;
        EXPECT_EQ(run(std::string("info ") + name + ".dds").status, 0) << name;
    }
}

}  // namespace
