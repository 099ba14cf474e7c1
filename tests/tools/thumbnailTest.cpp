// Tests kpximage thumbnail as a file manager runs it, and the pixels of its pictures.
#include <regex>

#include "tests/support/Tool.h"
#include "tests/support/describedFile.h"
#include "tests/support/png.h"

namespace {

namespace fs = std::filesystem;
using namespace testing_support;

class Thumbnail : public Tool {
protected:
    [[nodiscard]] Png thumbnail(const std::string& arguments) const {
        fs::remove(at("out.png"));
        const RunResult result = run("thumbnail " + arguments + " -o out.png");
        EXPECT_EQ(result.status, 0) << arguments << ": " << result.err;
        EXPECT_EQ(result.out + result.err, "");
        const Png png = readPng(at("out.png"));
        EXPECT_EQ(png.type, PNG_COLOR_TYPE_RGBA);
        EXPECT_EQ(png.depth, 8);
        return png;
    }
};

TEST_F(Thumbnail, FitsTheSquareAndIsNeverEnlarged) {
    const struct {
        int width, height, size, smallWidth, smallHeight;
    } cases[] = {{8, 8, 4, 4, 4},           {8, 4, 4, 4, 2},  {5, 3, 4, 4, 2},   {3, 7, 4, 2, 4},
                 {1000, 1, 16, 16, 1},      {1, 50, 7, 1, 7}, {5, 3, 128, 5, 3}, {128, 128, 128, 128, 128},
                 {129, 128, 128, 128, 127}, {2, 2, 1, 1, 1}};
    for (const auto& c : cases) {
        const auto width = static_cast<std::uint32_t>(c.width), height = static_cast<std::uint32_t>(c.height);
        file("a.dds", dx10File(61, width, height, Bytes(width * height)));
        const Png png = thumbnail("a.dds -s " + std::to_string(c.size));
        EXPECT_EQ(png.width, c.smallWidth) << c.width << " x " << c.height << " into " << c.size;
        EXPECT_EQ(png.height, c.smallHeight) << c.width << " x " << c.height << " into " << c.size;
    }
}

// A reduced pixel is the mean of linear light, weighted by alpha: 188 (BC) has half the light of 255.
TEST_F(Thumbnail, HasTheMeanColoursOfThePicture) {
    const std::string grey = "pf=0x20000 bits=8 masks=FF,0,0,0";
    const struct {
        std::string file;
        int size;
        const char* pixels;
    } cases[] = {
        {"size=1x1 pf=0x2 bits=8 masks=0,0,0,FF data=0A", 8, "0A0A0AFF"},
        {"size=1x1 data=0A " + grey, 8, "0A0A0AFF"},
        {"size=1x1 pf=0x20001 bits=16 masks=FF,0,0,FF00 data=0A14", 8, "0A0A0A14"},
        {"size=1x1 dxgi=49 data=0A14", 8, "0A1400FF"},
        {"size=1x1 pf=0x40 bits=24 masks=FF,FF00,FF0000,0 data=0A141E", 8, "0A141EFF"},
        {"size=1x1 dxgi=28 data=0A141E28", 8, "0A141E28"},
        // Unused alpha.
        {"size=1x1 dxgi=88 data=1E140A00", 8, "0A141EFF"},
        {"size=2x1 data=00FF " + grey, 1, "BCBCBCFF"},
        {"size=1x2 data=FF00 " + grey, 1, "BCBCBCFF"},
        // Transparent pixels have no colour.
        {"size=2x1 dxgi=28 data=C86432FF00FF0000", 1, "C8643280"},
        {"size=2x1 dxgi=28 data=C864320009090900", 1, "00000000"},
        // A third of the light is 156 (0.3333), and the middle pixel belongs to both halves.
        {"size=3x1 data=FF0000 " + grey, 1, "9C9C9CFF"},
        {"size=3x1 data=00FF00 " + grey, 2, "9C9C9CFF9C9C9CFF"},
        // Floats up to 1 are only encoded: 0, 0.5, 1, -1.
        {"size=4x1 code=114 data=000000000000003F0000803F000080BF", 4, "000000FFBCBCBCFFFFFFFFFF000000FF"},
        // The brightest, 4, becomes 1: two stops darker.
        {"size=4x1 code=114 data=000000000000803E0000803F00008040", 4, "000000FF474747FF898989FFFFFFFFFF"},
        // Not a number and infinity, then 0 and 1.
        {"size=4x1 code=114 data=0000C07F0000807F000000000000803F", 4, "000000FFFFFFFFFF000000FF000000FF"},
    };
    for (const auto& each : cases) {
        file("a.dds", describedFile(each.file));
        EXPECT_EQ(thumbnail("a.dds -s " + std::to_string(each.size)).rows, textOf(describedBytes(each.pixels)))
            << each.file;
    }
}

TEST_F(Thumbnail, EqualsASmallerPicture) {
    Bytes all;
    for (unsigned value = 0; value < 256; ++value) {
        for (const unsigned byte : {value, 255 - value, value ^ 90, 255U})
            all.push_back(static_cast<unsigned char>(byte));
    }
    file("a.dds", dx10File(28, 256, 1, all));
    EXPECT_EQ(thumbnail("a.dds -s 256").rows, textOf(all));
}

TEST_F(Thumbnail, NamesItsPictureAndTime) {
    file("a ü;%#.dds", dx10File(28, 40, 20, Bytes(3200, 255)));
    ASSERT_EQ(shell("touch -d @1234567890 'a ü;%#.dds'").status, 0);
    const std::string folder = std::regex_replace(at(""), std::regex(" "), "%20");
    const std::string escaped = "file://" + folder + "a%20%C3%BC%3B%25%23.dds";
    const std::map<std::string, std::string> texts = {
        {"Thumb::URI", escaped},       {"Thumb::MTime", "1234567890"}, {"Thumb::Mimetype", "image/x-dds"},
        {"Thumb::Image::Width", "40"}, {"Thumb::Image::Height", "20"}, {"Software", "kpximage"}};
    for (const std::string& input : {std::string("a ü;%#.dds"), at("a ü;%#.dds"), escaped})
        EXPECT_EQ(thumbnail("-s 16 '" + input + "'").texts, texts) << input;
}

TEST_F(Thumbnail, IsMadeByTheCommandOfTheThumbnailer) {
    file("a b.dds", dx10File(28, 300, 100, Bytes(120000, 255)));
    const std::string entry = textOfFile(KPX_SOURCE_DIR "/tools/commands/kpximage.thumbnailer");
    EXPECT_NE(entry.find("\nMimeType=image/x-dds;\n"), std::string::npos);
    const size_t start = entry.find("\nExec=") + 6;
    std::string line = entry.substr(start, entry.find('\n', start) - start);
    for (const auto& [code, value] : {std::pair{"%s", std::string("256")}, {"%i", "'a b.dds'"}, {"%o", "out.png"}}) {
        ASSERT_NE(line.find(code), std::string::npos) << line;
        line.replace(line.find(code), 2, value);
    }
    const std::string programs = fs::path(KPX_TOOL_PATH).parent_path();
    const RunResult result = shell("PATH='" + programs + "':$PATH KPX_PLUGIN='" KPX_PLUGIN_PATH "' " + line);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readPng(at("out.png")).width, 256);
    EXPECT_EQ(readPng(at("out.png")).height, 85);
}

}  // namespace
