// kpximage gallery as a user runs it, and its page as a text; scripts/test-gallery.sh looks at it in a browser.
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"

using namespace kpx;
using namespace testing_support;

namespace {

// One pixel of a code, with the data of floats.
std::string floatFile(std::uint32_t code, const std::vector<float>& values) {
    Bytes file = fileOf(codeHeader(code, 1, 1));
    for (const float value : values) append(file, value);
    return textOf(file);
}

const std::string decoded = floatFile(116, {0.5F, 0.25F, 0.0F, 1.0F});
const std::string undecodable = textOf(fileOf(codeHeader(fourCC("????"), 8, 4)));

struct Page {
    explicit Page(std::string content) : text(std::move(content)) {
        const std::regex block("<script type=\"application/json\" (class|id)=\"([^\"]*)\">([^<]*)</script>");
        for (std::sregex_iterator i(text.begin(), text.end(), block); i != std::sregex_iterator(); ++i) {
            const auto object = nlohmann::json::parse((*i)[3].str());
            if ((*i)[2] == "file")
                files.push_back(object);
            else
                blocks[(*i)[2]] = object;
        }
    }

    std::string text;
    std::vector<nlohmann::json> files;
    std::map<std::string, nlohmann::json> blocks;  // by id
};

class Gallery : public Tool {
protected:
    // The page of files and options.
    [[nodiscard]] Page gallery(const std::string& arguments, int status = 0) const {
        const RunResult result = run("gallery -o out.html " + arguments);
        EXPECT_EQ(result.status, status) << arguments << ": " << result.err;
        return Page(textOfFile(at("out.html")));
    }
};

TEST_F(Gallery, StatusIsThatOfTheWorstFileAndThePageIsWrittenAllTheSame) {
    std::filesystem::create_directories(at("in/below"));
    for (const char* name : {"fine.dds", "in/a.dds", "in/below/b.dds"}) file(name, decoded);
    file("black.dds", undecodable);
    file("empty.dds", textOf(fileOf(codeHeader(116, 0, 4))));
    file("cut.dds", decoded.substr(0, 100));
    file("text.dds", std::string(200, 'x'));
    struct Case {
        const char* files;
        int status;
        std::vector<std::pair<std::string, std::string>> told;  // the state and the first remark of each
    };
    const std::string undecodedCode = "The code \"????\" is not known.";
    const Case cases[] = {{"fine.dds", 0, {{"fine", ""}}},
                          {"in", 0, {{"fine", ""}}},
                          {"-r in", 0, {{"fine", ""}, {"fine", ""}}},
                          {"black.dds fine.dds", 3, {{"black", undecodedCode}, {"fine", ""}}},
                          {"cut.dds black.dds missing.dds text.dds empty.dds fine.dds",
                           1,
                           {{"failed", "The file has 100 bytes; the header alone takes 128."},
                            {"black", undecodedCode},
                            {"failed", "cannot open the file: No such file or directory"},
                            {"failed", "is not recognised"},
                            {"failed", "has no pixels: it is 0 x 4"},
                            {"fine", ""}}},
                          {"/dev/null", 1, {{"failed", "is not a regular file"}}}};
    for (const Case& each : cases) {
        const Page page = gallery(each.files, each.status);
        std::vector<std::pair<std::string, std::string>> told;
        for (const auto& one : page.files) {
            const auto& remarks = one["remarks"];
            told.emplace_back(one["state"], remarks.empty() ? "" : remarks[0]["text"]);
            EXPECT_EQ(one.contains("thumbnail"), one["state"] != "failed") << one;
        }
        EXPECT_EQ(told, each.told) << each.files;
        std::filesystem::remove(at("out.html"));
    }
}

TEST_F(Gallery, PageHasNothingOfAFileInItsMarkup) {
    const std::string hostile[] = {"<img src=x onerror=alert(1)>.dds", "\"' onload=\"x\" & &lt;.dds",
                                   "-->]]><!--<script>.dds"};
    for (const std::string& name : hostile) file(name, decoded);
    file("\xFF\xE2\x80.dds", decoded);
    const Page page = gallery(". --quiet");
    std::vector<std::string> found;
    for (const auto& told : page.files) found.push_back(told["name"]);
    for (const std::string& name : hostile) EXPECT_EQ(std::count(found.begin(), found.end(), "./" + name), 1) << name;
    EXPECT_EQ(found.back(), "./\uFFFD\uFFFD.dds");

    // Without the blocks of JSON nothing is left but the page itself.
    const std::regex blocks("<script type=\"application/json\"[^<]*</script>\n");
    const std::string bare = std::regex_replace(gallery("nothing --quiet", 1).text, blocks, "");
    EXPECT_EQ(std::regex_replace(page.text, blocks, ""), bare);
}

TEST_F(Gallery, PageAsksForNothingOutsideItself) {
    file("a.dds", decoded);
    const std::string text = gallery("a.dds").text;
    for (const char* reference : {"://", "@import", "<link", "<iframe", "fetch(", "XMLHttpRequest", "{{"}) {
        EXPECT_EQ(text.find(reference), std::string::npos) << reference;
    }
    const std::regex policy(
        "content=\"default-src 'none'; img-src data:; script-src 'sha256-[A-Za-z0-9+/]{43}='; "
        "style-src 'sha256-[A-Za-z0-9+/]{43}='; base-uri 'none'; form-action 'none'\"");
    EXPECT_TRUE(std::regex_search(text, policy));
}

TEST_F(Gallery, ShowsFloatsAtAnExposureThatItStates) {
    struct Case {
        const char* options;
        std::vector<float> values;
        double exposure;
        bool isChosen;
    };
    const float infinity = std::numeric_limits<float>::infinity(), notANumber = std::numeric_limits<float>::quiet_NaN();
    const Case cases[] = {{"", {1.0F, 0.5F, 0.0F, 9.0F}, 0.0, true},
                          {"", {0.25F, 0.1F, 0.0F, 1.0F}, 0.0, true},
                          {"", {8.0F, 1.0F, 0.0F, 1.0F}, -3.0, true},
                          {"", {0.0F, 0.0F, 0.03125F, 1.0F}, 5.0, true},
                          {"", {0.0F, -3.0F, notANumber, 1.0F}, 0.0, true},
                          {"", {infinity, 0.0F, 0.0F, 1.0F}, -24.0, true},
                          {"--exposure 1.25", {8.0F, 1.0F, 0.0F, 1.0F}, 1.25, false}};
    for (const Case& each : cases) {
        file("a.dds", floatFile(116, each.values));
        const auto told = gallery(std::string("a.dds ") + each.options).files.at(0);
        EXPECT_EQ(told["exposure"], each.exposure);
        EXPECT_EQ(told["exposureIsChosen"], each.isChosen);
    }
}

// Alpha is a picture of its own where it is not 255 throughout; where there is none, colour is all.
TEST_F(Gallery, HoldsAlphaApartOnlyWhereThereIsAny) {
    for (const auto& [alpha, isApart] : {std::pair(1.0F, false), std::pair(0.5F, true), std::pair(0.0F, true)}) {
        file("a.dds", floatFile(116, {1.0F, 0.5F, 0.0F, alpha}));
        EXPECT_EQ(gallery("a.dds").blocks.at("pictures-0").contains("alpha"), isApart) << alpha;
    }
}

TEST_F(Gallery, ReducesLargePicturesWhenAsked) {
    DdsFileHeader header = headerOf(800, 400);
    header.header.ddspf = {32, DDPF_ALPHA, 0, 8, 0, 0, 0, 0xFF};
    file("a.dds", fileOf(header, Bytes(800 * 400, 9)));
    const Page full = gallery("a.dds"), page = gallery("a.dds --max-side 400");
    EXPECT_FALSE(full.files.at(0).contains("shown"));
    EXPECT_EQ(page.files.at(0)["width"], 800);
    EXPECT_EQ(page.files.at(0)["shown"], "400 × 200");
    for (const char* picture : {"colour", "alpha"}) {
        // The end of "IHDR", then 400 and 200, as base64.
        const std::string uri = page.blocks.at("pictures-0").at(picture);
        EXPECT_EQ(uri.substr(uri.find(',') + 21, 12), "UgAAAZAAAADI") << picture;
        EXPECT_NE(uri.size(), full.blocks.at("pictures-0").at(picture).get<std::string>().size());
    }
}

}  // namespace
