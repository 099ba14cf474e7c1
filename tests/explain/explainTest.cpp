// kpximage explain as a user runs it: a file, and what must be told of it.
#include <nlohmann/json.hpp>

#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"

using namespace kpx;
using namespace testing_support;

namespace {

constexpr Masks bgr{0xFF0000, 0xFF00, 0xFF, 0};

Bytes maskFile(std::uint32_t flags, std::uint32_t bitCount, const Masks& masks) {
    return withData(fileOf(maskHeader(flags, bitCount, masks, 4)), std::size_t{16} * bitCount / 8);
}

Bytes codeFile(const char (&code)[5], std::uint32_t flags, std::uint32_t linearSize, std::size_t bytes) {
    DdsFileHeader header = codeHeader(fourCC(code), 64, 64, flags);
    header.header.dwPitchOrLinearSize = linearSize;
    return withData(fileOf(header), bytes);
}

Bytes flagFile(std::uint32_t pixelFormatFlags) {
    return fileOf(maskHeader(pixelFormatFlags, 16, {}, 4));
}

template <typename Change>
Bytes changed(DdsFileHeader header, Change change, std::size_t bytes = 100000) {
    change(header.header);
    return withData(fileOf(header), bytes);
}

// A DX10 header of 8 x 8 pixels and data, behind flags that name something else.
Bytes dx10Behind(const DDS_PIXELFORMAT& format, std::uint32_t dxgi, std::size_t bytes) {
    Bytes file = dx10File(dxgi, 8, 8, Bytes(bytes));
    std::memcpy(&file[76], &format, sizeof format);
    return file;
}

constexpr DDS_PIXELFORMAT alphaAndDx10{32, DDPF_ALPHA, fourCC("DX10"), 8, 0, 0, 0, 0xFF};
constexpr DDS_PIXELFORMAT rgbAndDx10{32, DDPF_RGB | DDPF_FOURCC, fourCC("DX10"), 24, 0xFF0000, 0xFF00, 0xFF, 0};
constexpr DDS_PIXELFORMAT luminanceAndDx10{32, DDPF_LUMINANCE, fourCC("DX10"), 8, 0xFF, 0, 0, 0};

Bytes withoutMagic(Bytes file) {
    file[0] = 0;
    return file;
}

struct Case {
    const char* phrase;
    Bytes file;
};

class Explain : public Tool {
protected:
    // The phrase is told, besides the other parts.
    void expectTold(const Case& each, int status, const std::vector<const char*>& parts) const {
        const RunResult result = explain(each.file);
        EXPECT_EQ(result.status, status) << each.phrase;
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find(each.phrase), std::string::npos) << result.out << "lacks: " << each.phrase;
        for (const char* part : parts) EXPECT_NE(result.out.find(part), std::string::npos) << part;
    }

    RunResult explain(const Bytes& content, const char* options = "") const {
        file("a.dds", content);
        return run(std::string("explain a.dds ") + options);
    }
};

}  // namespace

TEST_F(Explain, TellsWhyAPictureIsBlack) {
    const Case cases[] = {
        {"The DXGI format 89 R10G10B10_XR_BIAS_A2_UNORM is not decoded", dx10File(89, 4, 4)},
        {"The DXGI format 85 B5G6R5_UNORM is not decoded: it is 5-6-5 colour; the same pixels are read with DDPF_RGB",
         dx10File(85, 4, 4)},
        {"The DXGI format 86 B5G5R5A1_UNORM is not decoded", dx10File(86, 4, 4)},
        {"The DXGI format 115 B4G4R4A4_UNORM is not decoded", dx10File(115, 4, 4)},
        {"The DXGI format 103 NV12 is not decoded: it is YUV video", dx10File(103, 4, 4)},
        {"The DXGI format 4000 is not known", dx10File(4000, 4, 4)},
        {"The file ends after 140 bytes, before the end of the DX10 header", cutTo(dx10File(98, 4, 4), 140)},
        {"The data is 1328 bytes short: 2720 follow the header and 4048 are asked for, because dwPitchOrLinearSize "
         "asks for 4048 where the top level has 2048.",
         codeFile("BC4U", DDSD_LINEARSIZE, 4048, 2720)},
        {"The data is 1 byte short: 2047 follow the header and 2048 are asked for.",
         codeFile("DXT1", DDSD_LINEARSIZE, 2048, 2047)},
        {"The code \"ATI1\" is not decoded: it is BC4; the same blocks are read as \"BC4U\".",
         codeFile("ATI1", DDSD_LINEARSIZE, 2048, 4096)},
        {"Its data, taken for blocks of 16 bytes, is 2048 bytes short", codeFile("ATI1", DDSD_LINEARSIZE, 2048, 2048)},
        {"The code \"BC5U\" is decoded beside DDPF_FOURCC only when the header has DDSD_LINEARSIZE (0x80000); its "
         "flags are 0x7.",
         codeFile("BC5U", 7, 0, 4096)},
        {"The code \"BC5S\" is decoded beside DDPF_FOURCC only when", codeFile("BC5S", 7, 0, 4096)},
        {"The code \"DXT6\" is decoded beside DDPF_FOURCC only when", codeFile("DXT6", 7, 0, 4096)},
        {"The code \"DXT7\" is decoded beside DDPF_FOURCC only when", codeFile("DXT7", 7, 0, 4096)},
        {"The code \"RGBG\" is decoded only when the pixel format has DDPF_FOURCC and the header lacks DDSD_LINEARSIZE",
         codeFile("RGBG", DDSD_LINEARSIZE, 0, 10000)},
        {"The code \"RXGB\" is not decoded: it is DXT5", codeFile("RXGB", DDSD_LINEARSIZE, 0, 4096)},
        {"The code \"YUY2\" is not decoded: it is YUV video", codeFile("YUY2", 0, 0, 10000)},
        {"The code \"????\" is not known", codeFile("????", 0, 0, 0)},
        {"The code 0x1010101 is not known", codeFile("\x01\x01\x01\x01", 0, 0, 0)},
        {"The code \"DX10\" is followed only when the pixel format has DDPF_FOURCC (0x4); its flags are 0x0.",
         dx10Behind({32, 0, fourCC("DX10"), 0, 0, 0, 0, 0}, 28, 256)},
        {"The pixel format is said to be named by a code, but the code is 0.", fileOf(codeHeader(0, 4, 4))},
        {"The code 25 D3DFMT_A1R5G5B5 is not decoded", fileOf(codeHeader(25, 4, 4))},
        {"The pixel format is named by DDPF_BUMPDUDV (flags 0x80001): signed bump maps", flagFile(0x80001)},
        {"YUV data are not decoded", flagFile(0x200)},
        {"No format is named: the pixel-format flags are 0x0", flagFile(0)},
        {"Palette and indices are 16 bytes short: 1024 follow the header and 1040 are asked for, 1024 for the palette",
         withData(flagFile(DDPF_PALETTEINDEXED8), 1024)},
        {"A picture of 65536 x 65536 takes 12884901888 bytes in memory, more than the 4294967295",
         fileOf(maskHeader(DDPF_RGB, 24, bgr, 65536))},
        {"A picture of 2147483647 x 2147483647 takes 2^64 bytes or more",
         fileOf(maskHeader(DDPF_RGB, 64, bgr, 0x7FFFFFFF))},
        {"A picture of 2147483648 x 2147483648 has a side of more than 2147483647 pixels",
         fileOf(maskHeader(DDPF_RGB, 24, bgr, 0x80000000))},
        {"A row of 1610612736 pixels takes 4831838208 bytes", fileOf(rowOfBytes(0x60000000, 1))},
        {"The data is 4294967296 bytes long, more than the 4294967295 that are read", dx10File(98, 1, 0x3FFFFFFF)},
    };
    for (const Case& each : cases) {
        expectTold(each, 3, {"a.dds: comes out as a 64 x 64 black picture\n  why       "});
    }
}

TEST_F(Explain, TellsWhatMaySurprise) {
    const Case cases[] = {
        {"The file supplies 2 of 4 rows in full; what it lacks of the other 2 is zero.",
         withData(fileOf(maskHeader(DDPF_RGB, 24, bgr, 4)), 30)},
        {"The header states a pitch of 16 bytes, but rows are read without padding, 12 bytes each: if",
         changed(maskHeader(DDPF_RGB, 24, bgr, 4),
                 [](DDS_HEADER& header) {
                     header.dwFlags = DDSD_PITCH;
                     header.dwPitchOrLinearSize = 16;
                 })},
        {"The fourth byte of a pixel is delivered as alpha", withData(dx10File(88, 4, 4), 64)},
        {"Alpha is 0 everywhere", maskFile(DDPF_RGB | DDPF_ALPHAPIXELS, 32, bgr)},
        {"Luminance comes out red", maskFile(DDPF_RGB | DDPF_LUMINANCE, 8, {0xFF, 0, 0, 0})},
        {"Colour is 0 where its mask selects no bit of the pixel: red 0xFF0000, blue 0x0.",
         maskFile(DDPF_RGB, 16, {0xFF0000, 0xFF00, 0, 0})},
        {"0x44 name bit-mask data, which comes first: the 20 bytes of the DX10 header are read as the first pixels.",
         dx10Behind(rgbAndDx10, 87, 256)},
        {"the 20 bytes of the DX10 header are read as the first pixels", dx10Behind(rgbAndDx10, 71, 32)},
        {"the 20 bytes of the DX10 header are read as the first pixels", dx10Behind(rgbAndDx10, 85, 128)},
        {"0x20000 name luminance, which comes first", dx10Behind(luminanceAndDx10, 71, 32)},
        {"they are divided by alpha on reading", codeFile("DXT4", DDSD_LINEARSIZE, 0, 4096)},
        {"they are divided by alpha on reading", dx10File(77, 4, 4, Bytes(16), 2)},
        {"premultiplied; they are delivered as they are stored", dx10File(98, 4, 4, Bytes(16), 2)},
        {"an old writer is known to reverse them",
         maskFile(DDPF_RGB | DDPF_ALPHAPIXELS, 32, {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000})},
        {"The colours are sRGB; they are delivered as they are stored", dx10File(99, 4, 4, Bytes(16))},
        {"Only red and green are stored, as of a normal map; blue is 0.", dx10File(83, 4, 4, Bytes(16))},
        {"A file of 128 bytes declares a picture that takes 50331648 bytes in memory.",
         fileOf(maskHeader(DDPF_RGB, 24, bgr, 4096))},
        {"they are shifted to bytes of 0 to 255", dx10File(31, 4, 4, Bytes(64))},
        {"they are shifted to bytes of 0 to 255", dx10File(81, 4, 4, Bytes(16))},
        {"The values are signed, but are read as unsigned ones", withData(fileOf(codeHeader(110, 4, 4)), 128)},
        {"The integers of R8G8B8A8_SINT are read as unsigned normalised values.", dx10File(32, 4, 4, Bytes(64))},
        {"BC3_TYPELESS does not state the type of its values", dx10File(76, 4, 4, Bytes(16))},
        {"Of each 16-bit value the high byte is kept.", dx10File(11, 4, 4, Bytes(128))},
        {"dwRGBBitCount is 4: a pixel is taken to have a byte for each channel, 3 in all.",
         withData(fileOf(maskHeader(DDPF_RGB, 4, bgr, 4)), 48)},
        {"The picture has no pixels: it is 0 x 0.", fileOf(maskHeader(DDPF_RGB, 24, bgr, 0))},
        {"The file is marked as a normal map",
         changed(codeHeader(fourCC("DXT5"), 4, 4), [](DDS_HEADER& header) { header.ddspf.dwFlags |= 0x80000000; })},
        {"The file does not start with \"DDS\"",
         changed(maskHeader(DDPF_RGB, 24, bgr, 4), [](DDS_HEADER& header) { (&header.dwSize)[-1] = 0; })},
    };
    for (const Case& each : cases) expectTold(each, 0, {"a.dds: is decoded\n", "  note      "});
}

// What is nearly so.
TEST_F(Explain, SaysNothingThatIsNotSo) {
    const Masks tenBits{0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000};
    const auto pitchOf16 = [](DDS_HEADER& header) {
        header.dwFlags = DDSD_PITCH;
        header.dwPitchOrLinearSize = 16;
    };
    const Case cases[] = {
        // Alpha only, with a code that somebody forgot: the picture takes all the data, or more than a header leaves.
        {"DX10 header", dx10Behind(alphaAndDx10, 65, 44)},
        {"DX10 header", dx10Behind(alphaAndDx10, 71, 44)},
        {"DX10 header", dx10Behind(alphaAndDx10, 28, 255)},
        {"DX10 header", dx10Behind(alphaAndDx10, 4000, 256)},
        {"DX10 header", dx10Behind(luminanceAndDx10, 0, 256)},
        {"comes out red", maskFile(DDPF_RGB | DDPF_LUMINANCE | DDPF_ALPHA, 8, {0xFF, 0, 0, 0xFF})},
        {"comes out red", maskFile(DDPF_RGB | DDPF_LUMINANCE, 8, {0xFF00, 0, 0, 0})},
        {"old writer", maskFile(DDPF_RGB | DDPF_ALPHAPIXELS, 16, tenBits)},
        {"old writer", maskFile(DDPF_ALPHA, 32, tenBits)},
        {"pitch of", changed(maskHeader(DDPF_RGB, 24, bgr, 4), pitchOf16, 3 * 16 + 11)},
        {"the same as", dx10File(96, 4, 4, Bytes(16))},
        {"the same as", dx10File(37, 4, 4, Bytes(64))},
        {"the same as", dx10File(36, 4, 4, Bytes(64))},
        {"the same as", withData(flagFile(DDPF_PALETTEINDEXED8), 1040)},
        {"kpximage repair", withoutMagic(fileOf(codeHeader(25, 4, 4)))},
    };
    for (const Case& each : cases) {
        const std::string out = explain(each.file).out;
        EXPECT_EQ(out.find(each.phrase), std::string::npos) << &each - cases << ": " << out;
        EXPECT_NE(out, "");
    }
}

// Long enough for a header or not: whoever looks at the file names it.
TEST_F(Explain, NamesWhatIsNoDdsFile) {
    using namespace std::string_view_literals;
    const struct {
        std::string_view start;
        const char* sentence;
    } cases[] = {
        {""sv, "is empty"},
        {"\x89PNG\r\n\x1A\n"sv, "is a PNG picture: \"kpximage convert\" makes a DDS file of it"},
        {"\xFF\xD8\xFF\xE0"sv, "is a JPEG picture: save it as PNG, of which \"kpximage convert\" makes a DDS file"},
        {"\xABKTX 11\xBB\r\n\x1A\n"sv, "is a KTX texture: export it as DDS from where it was made"},
        {"\xABKTX 20\xBB\r\n\x1A\n"sv, "is a KTX2 texture: export it as DDS from where it was made"},
        {"PVR\3"sv, "is a PVR texture: export it as DDS from where it was made"},
        {"Photo DDS 2003"sv, "has \"DDS\" at byte 6 instead of at its start"},
        {"\xEF\xBB\xBF"
         "DDS \x7C\0\0\0"sv,
         "has \"DDS\" at byte 3 instead of at its start: what stands before it has to go"},
    };
    for (const auto& each : cases) {
        for (const std::size_t bytes : {std::size_t{40}, std::size_t{200}}) {
            std::string content(each.start);
            if (!content.empty()) content.resize(bytes);
            const bool isShort = content.size() < 128;
            file("a.dds", content);
            const RunResult explained = run("explain a.dds");
            EXPECT_EQ(explained.status, isShort ? 1 : 3) << each.sentence;
            EXPECT_NE(explained.out.find(std::string("  why       The file ") + each.sentence + ".\n"),
                      std::string::npos)
                << explained.out;
            EXPECT_EQ(explained.out.find("declared"), std::string::npos) << explained.out;
            EXPECT_NE(run("repair a.dds b.dds").err.find(each.sentence), std::string::npos);
            for (const char* command : {"info a.dds", "info --open a.dds", "convert a.dds b.exr"}) {
                const bool isConvertible = command[0] == 'c' && each.start.starts_with("\x89PNG");
                if (isConvertible) continue;
                const RunResult result = run(command);
                EXPECT_EQ(result.status, 1) << command;
                EXPECT_EQ(result.err, std::string("kpximage: a.dds: ") + each.sentence + "\n");
            }
        }
    }
}

// A sentence that stands under every file says nothing.
TEST_F(Explain, HasNothingToRemarkOnAPlainFile) {
    for (const Bytes& file : {maskFile(DDPF_RGB, 24, bgr), codeFile("DXT5", DDSD_LINEARSIZE, 4096, 4096),
                              dx10File(28, 4, 4, Bytes(64)), dx10File(96, 4, 4, Bytes(16))}) {
        const RunResult result = explain(file);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out.find("note"), std::string::npos) << result.out;
        EXPECT_EQ(result.out.find("why"), std::string::npos) << result.out;
    }
}

TEST_F(Explain, TellsWhatTheFileIsAndHowItIsRead) {
    Bytes cube = dx10File(71, 8, 8, Bytes(5000), 1);
    const std::uint32_t levels = 4;
    const std::uint32_t isCube = 4;
    std::memcpy(&cube[28], &levels, 4);
    std::memcpy(&cube[136], &isCube, 4);
    EXPECT_EQ(explain(cube).out,
              "a.dds: is decoded\n"
              "  format    DXGI 71 BC1_UNORM, the same as code \"DXT1\"\n"
              "  flags     header 0x0\n"
              "            pixel format 0x4 DDPF_FOURCC\n"
              "  declared  8 x 8, 6 cube faces, 4 mipmap levels, alpha mode straight\n"
              "            only the top level of the first picture is read\n"
              "  data      5000 bytes in the file, 32 asked for, 4968 not read\n"
              "  read by   loadDX10Image, then loadCompressedImage\n"
              "  host gets 8 x 8, 3 colour, 1 matte, 8-bit, from BytesARGB\n");
    const Case cases[] = {
        {"format    masks D3DFMT_R5G6B5 (0xF800 0x7E0 0x1F 0x0, 16 bits), the same as DXGI 85 B5G6R5_UNORM\n",
         maskFile(DDPF_RGB, 16, {0xF800, 0x7E0, 0x1F, 0})},
        {"format    luminance of 8 bits, read as CODE_SINGLE8\n", maskFile(DDPF_LUMINANCE, 8, {0xFF, 0, 0, 0})},
        {"format    code 113 D3DFMT_A16B16G16R16F, the same as DXGI 10 R16G16B16A16_FLOAT\n",
         withData(fileOf(codeHeader(113, 4, 4)), 128)},
        {"format    code \"DXT2\", the same as DXGI 74 BC2_UNORM\n", codeFile("DXT2", DDSD_LINEARSIZE, 0, 4096)},
        {"host gets 4 x 4, 3 colour, 1 matte, 32-bit float, from HalfRGBA\n",
         withData(fileOf(codeHeader(113, 4, 4)), 128)},
        {"declared  4 x 4, 7 slices\n", changed(maskHeader(DDPF_RGB, 24, bgr, 4),
                                                [](DDS_HEADER& header) {
                                                    header.dwCaps2 = 0x200000;
                                                    header.dwDepth = 7;
                                                })},
    };
    for (const Case& each : cases) expectTold(each, 0, {});
}

TEST_F(Explain, RefusesWhatHasNoHeaderAndGoesOn) {
    file("short.dds", "DDS ");
    const RunResult result = run("explain missing.dds . short.dds");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "short.dds: is refused\n  why       The file has 4 bytes; the header alone takes 128.\n");
    EXPECT_EQ(result.err,
              "kpximage: missing.dds: cannot open the file: No such file or directory\n"
              "kpximage: .: is not a regular file\n");
}

TEST_F(Explain, AsJsonGivesTheSameFacts) {
    const auto json = nlohmann::json::parse(explain(dx10File(89, 5, 4, Bytes(7)), "--json").out);
    EXPECT_EQ(json["verdict"], "black");
    EXPECT_EQ(json["causes"][0]["id"], "dxgi-not-decoded");
    EXPECT_EQ(json["header"]["format"], "DXGI 89 R10G10B10_XR_BIAS_A2_UNORM");
    EXPECT_EQ(json["header"]["width"], 5);
    EXPECT_EQ(json["picture"]["width"], 64);
    EXPECT_EQ(json["bytesPresent"], 7);

    const auto padded = nlohmann::json::parse(explain(maskFile(DDPF_RGB, 24, bgr), "--json").out);
    EXPECT_EQ(padded["verdict"], "decoded");
    EXPECT_EQ(padded["causes"].size(), 0U);
    EXPECT_EQ(padded["picture"]["decoder"], "loadUncompressedImage");
    EXPECT_EQ(padded["picture"]["wholeRows"], 4);
    EXPECT_EQ(nlohmann::json::parse(explain(Bytes(5), "--json").out)["causes"][0]["id"], "header-cut");
}
