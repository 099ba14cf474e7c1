// kpximage thumbnail as a file manager runs it.
#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/png.h"

namespace {

namespace fs = std::filesystem;
using testing_support::Bytes;
using testing_support::RunResult;
using testing_support::textOfFile;
using testing_support::Tool;

class ThumbnailCommand : public Tool {
protected:
    // An opaque file of 8-bit RGBA.
    void image(const std::string& name, std::uint32_t width, std::uint32_t height) const {
        file(name, testing_support::dx10File(28, width, height, Bytes(width * height * 4, 255)));
    }
    [[nodiscard]] std::string uri(const std::string& escapedName) const { return "file://" + at(escapedName); }
};

TEST_F(ThumbnailCommand, SaysWhatItIsOf) {
    image("a ü;%#.dds", 40, 20);
    ASSERT_EQ(shell("touch -d @1234567890 'a ü;%#.dds'").status, 0);
    const std::string escaped = uri("a%20%C3%BC%3B%25%23.dds");
    for (const std::string& input : {std::string("a ü;%#.dds"), at("a ü;%#.dds"), escaped}) {
        const RunResult result = run("thumbnail -s 16 '" + input + "' out.png");
        ASSERT_EQ(result.status, 0) << result.err;
        const testing_support::Png thumbnail = testing_support::readPng(at("out.png"));
        EXPECT_EQ(thumbnail.width, 16);
        EXPECT_EQ(thumbnail.height, 8);
        EXPECT_EQ(thumbnail.type, PNG_COLOR_TYPE_RGBA);
        const std::map<std::string, std::string> texts = {
            {"Thumb::URI", escaped},       {"Thumb::MTime", "1234567890"}, {"Thumb::Mimetype", "image/x-dds"},
            {"Thumb::Image::Width", "40"}, {"Thumb::Image::Height", "20"}, {"Software", "kpximage"}};
        EXPECT_EQ(thumbnail.texts, texts) << input;
        fs::remove(at("out.png"));
    }
}

TEST_F(ThumbnailCommand, IsMadeByTheLineOfItsThumbnailer) {
    image("a b.dds", 300, 100);
    const std::string entry = textOfFile(KPX_SOURCE_DIR "/tools/commands/kpximage.thumbnailer");
    EXPECT_NE(entry.find("\nMimeType=image/x-dds;\n"), std::string::npos);
    const size_t start = entry.find("\nExec=") + 6;
    std::string line = entry.substr(start, entry.find('\n', start) - start);
    const auto replace = [&](const std::string& code, const std::string& value) {
        ASSERT_NE(line.find(code), std::string::npos);
        line.replace(line.find(code), code.size(), value);
    };
    replace("%s", "256");
    replace("%i", "'" + at("a b.dds") + "'");
    replace("%o", "'" + at("out.png") + "'");
    const std::string programs = fs::path(KPX_TOOL_PATH).parent_path();
    const RunResult result = shell("PATH='" + programs + "':$PATH KPX_PLUGIN='" KPX_PLUGIN_PATH "' " + line);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(testing_support::readPng(at("out.png")).width, 256);
    EXPECT_EQ(testing_support::readPng(at("out.png")).height, 85);
}

}  // namespace
