// kpximage gallery as a user runs it, and its page as a text; scripts/test-gallery.sh looks at it in a browser.
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <regex>

#include "tests/support/Tool.h"
#include "tests/support/describedFile.h"

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
            EXPECT_EQ(one.contains("original"), one["state"] != "failed") << one;
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
    const std::string policy =
        "content=\"default-src 'none'; img-src PICTURES; script-src 'sha256-[A-Za-z0-9+/]{43}='; "
        "style-src 'sha256-[A-Za-z0-9+/]{43}='; base-uri 'none'; form-action 'none'\"";
    const auto allows = [&](const std::string& page, const std::string& pictures) {
        return std::regex_search(page, std::regex(std::regex_replace(policy, std::regex("PICTURES"), pictures)));
    };
    EXPECT_TRUE(allows(text, "data:"));
    EXPECT_TRUE(allows(gallery("a.dds --assets").text, "'self'"));
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
        const auto told = gallery(std::string("a.dds ") + each.options).files.at(0)["original"];
        EXPECT_EQ(told["exposure"], each.exposure);
        EXPECT_EQ(told["exposureIsChosen"], each.isChosen);
    }
}

// Alpha is a picture of its own where it is not 255 throughout; where there is none, colour is all.
TEST_F(Gallery, HoldsAlphaApartOnlyWhereThereIsAny) {
    for (const auto& [alpha, isApart] : {std::pair(1.0F, false), std::pair(0.5F, true), std::pair(0.0F, true)}) {
        file("a.dds", floatFile(116, {1.0F, 0.5F, 0.0F, alpha}));
        EXPECT_EQ(gallery("a.dds").blocks.at("pictures-0")["original"].contains("alpha"), isApart) << alpha;
    }
}

TEST_F(Gallery, ReducesLargePicturesWhenAsked) {
    DdsFileHeader header = headerOf(800, 400);
    header.header.ddspf = {32, DDPF_ALPHA, 0, 8, 0, 0, 0, 0xFF};
    file("a.dds", fileOf(header, Bytes(800 * 400, 9)));
    const Page full = gallery("a.dds"), page = gallery("a.dds --max-side 400");
    EXPECT_FALSE(full.files.at(0)["original"].contains("shown"));
    EXPECT_EQ(page.files.at(0)["original"]["width"], 800);
    EXPECT_EQ(page.files.at(0)["original"]["shown"], "400 × 200");
    for (const char* picture : {"colour", "alpha"}) {
        // The end of "IHDR", then 400 and 200, as base64.
        const std::string uri = page.blocks.at("pictures-0")["original"].at(picture);
        EXPECT_EQ(uri.substr(uri.find(',') + 21, 12), "UgAAAZAAAADI") << picture;
        EXPECT_NE(uri.size(), full.blocks.at("pictures-0")["original"].at(picture).get<std::string>().size());
    }
}

// The size that a black picture happens to have is no news.
TEST_F(Gallery, SaysWhatABlackFileDeclares) {
    for (const auto& [side, declared] : {std::pair(64U, ""), std::pair(63U, "63 × 63")}) {
        file("a.dds", fileOf(codeHeader(fourCC("????"), side, side)));
        EXPECT_EQ(gallery("a.dds", 3).files.at(0).value("declared", ""), declared);
    }
}

// The command stands in the page as a shell takes it, whatever the name; what it makes is what the page has shown.
TEST_F(Gallery, ShowsTheMendedPictureAndTheCommandThatMakesIt) {
    struct Case {
        std::string name, description, command;
        bool isBlack = true;
    };
    const std::string mendable = "size=2x1 dxgi=85 data=00F8E007";
    const Case cases[] = {
        {"a.dds", mendable, "kpximage repair a.dds -o a-mended.dds"},
        {"my file.dds", mendable, "kpximage repair 'my file.dds' -o 'my file-mended.dds'"},
        {"it's $HOME`ls`.dds", mendable, "kpximage repair 'it'\\''s $HOME`ls`.dds' -o 'it'\\''s $HOME`ls`-mended.dds'"},
        {"\xC3\xA9\n'\\\xFF.dds", mendable,
         "kpximage repair $'\\303\\251\\012\\047\\134\\377.dds' -o $'\\303\\251\\012\\047\\134\\377-mended.dds'"},
        {"-dash.dds", mendable, "kpximage repair ./-dash.dds -o ./-dash-mended.dds"},
        {"earlier", mendable, "kpximage repair earlier.dds -o earlier-mended-2.dds"},
        {"x.dds", "size=4x4 dxgi=89 zeros=64", "kpximage recode x.dds -o x-mended.dds"},
        {"none.dds", "size=4x4 code=????", ""},
        {"fine.dds", "size=4x4 dxgi=28 zeros=64", "", false}};
    for (Case each : cases) {
        std::filesystem::remove_all(at(""));
        std::filesystem::create_directory(at(""));
        if (each.name == "earlier") file("earlier-mended.dds", "earlier");
        if (each.name == "earlier") each.name += ".dds";
        file(each.name, describedFile(each.description));
        const RunResult result = run("gallery -o out.html --quiet -- *");
        // Whatever is decoded a second time is not told of a second time.
        const auto lines = std::count(result.err.begin(), result.err.end(), '\n');
        EXPECT_EQ(lines, (each.isBlack ? 1 : 0) + (each.command.find("earlier") != std::string::npos ? 1 : 0))
            << result.err;
        const Page page(textOfFile(at("out.html")));
        const auto& told = page.files.back();
        ASSERT_EQ(told.value("command", ""), each.command) << each.name;
        EXPECT_EQ(told.contains("mended"), !each.command.empty());
        if (each.command.empty()) continue;
        file("paste.sh", "kpximage() { '" KPX_TOOL_PATH "' \"$@\"; }\n" + each.command + "\n");
        ASSERT_EQ(shell("bash paste.sh").status, 0) << each.command;
        std::filesystem::remove(at(each.name));
        std::filesystem::remove(at("earlier-mended.dds"));
        const Page mended = gallery("./*-mended*.dds");
        const std::string last = std::to_string(page.files.size() - 1);
        EXPECT_EQ(mended.blocks.at("pictures-0")["original"], page.blocks.at("pictures-" + last)["mended"]);
        EXPECT_EQ(mended.blocks.at("thumbnails-0")["original"], page.blocks.at("thumbnails-" + last)["mended"]);
        EXPECT_EQ(mended.files.at(0)["original"], told["mended"]);
        EXPECT_EQ(mended.files.at(0)["format"], told["mendedFormat"]["format"]);
        EXPECT_NE(page.blocks.at("pictures-" + last)["original"], page.blocks.at("pictures-" + last)["mended"]);
    }
}

// As split makes files of them.
TEST_F(Gallery, ShowsTheOtherPicturesOfAFileAsAStrip) {
    struct Case {
        const char* description;
        std::vector<const char*> notes;
        std::size_t shown;
    };
    const Case cases[] = {
        {"size=8x4 code=DXT1 levels=4 caps2=0xFE00 zeros=240", {}, 24},
        {"size=2x2 dxgi=28 array=3 data=0102030405060708090A0B0C0D0E0F1011121314151617181920212223242526 zeros=8",
         {"The file is too short: of 3 pictures 2 are whole."},
         2},
        {"size=2x2 dxgi=28 dimension=4 depth=60 flags=0x800000 caps2=0x200000 zeros=960",
         {"These are the first 48 of 60; \"kpximage split\" makes files of all."},
         48},
        {"size=2x2 dxgi=85 levels=2 data=00F8E0071F00FFFFF00F", {}, 2},  // of the mended copy
        {"size=2x2 dxgi=28 dimension=4 depth=48 flags=0x800000 caps2=0x200000 zeros=768", {}, 48},
        {"size=2x2 pf=0x20 bits=8 levels=2 zeros=1029", {}, 2},
        {"size=2x2 dxgi=28 zeros=16", {}, 0},
        {"size=2x2 code=???? levels=2 zeros=16", {}, 0}};
    for (const Case& each : cases) {
        file("a.dds", describedFile(each.description));
        (void)run("gallery -o out.html a.dds");
        const Page page(textOfFile(at("out.html")));
        const auto& pictures = page.blocks.at("pictures-0");
        EXPECT_EQ(pictures.contains("strip"), each.shown > 0) << each.description;
        if (each.shown == 0) continue;
        EXPECT_EQ(pictures["strip"]["notes"], nlohmann::json(each.notes));
        const auto& surfaces = pictures["strip"]["surfaces"];
        ASSERT_EQ(surfaces.size(), each.shown) << each.description;
        (void)run("repair --in-place a.dds");
        std::filesystem::remove_all(at("parts"));
        (void)run("split a.dds -o parts");
        const Page parts = gallery("parts");
        for (std::size_t i = 0; i < each.shown; ++i) {
            const auto& part = parts.files.at(i);
            EXPECT_EQ(part["name"], "parts/a" + surfaces[i]["name"].get<std::string>() + ".dds");
            EXPECT_EQ(part["original"]["width"], surfaces[i]["width"]);
            EXPECT_EQ(part["original"]["height"], surfaces[i]["height"]);
            EXPECT_EQ(parts.blocks.at("thumbnails-" + std::to_string(i))["original"], surfaces[i]["picture"]);
        }
    }
}

// Every file below a folder with its content.
std::map<std::string, std::string> contentsOf(const std::string& folder) {
    std::map<std::string, std::string> found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) found[entry.path()] = textOfFile(entry.path());
    return found;
}

TEST_F(Gallery, KeepsPicturesBesideThePageWhereThatIsAsked) {
    // Noise, which no PNG makes small.
    Bytes noise(64 * 1024);
    std::generate(noise.begin(), noise.end(), [random = std::minstd_rand()]() mutable { return random() >> 8 & 0xFF; });
    file("a.dds", dx10File(28, 128, 128, noise));
    const auto assets = [this](const std::string& before = "") {
        return run("gallery a.dds -o 'out #1%:.html' --assets --quiet", before);
    };
    ASSERT_EQ(assets().status, 0);
    const std::string page = textOfFile(at("out #1%:.html"));
    EXPECT_EQ(page.find("data:"), std::string::npos);
    const Page told(page);
    const std::string start = "./out%20%231%25:-files/kpximage-1/0-";
    EXPECT_EQ(told.blocks.at("thumbnails-0"), nlohmann::json({{"original", start + "thumbnails-original.png"}}));
    const auto& original = told.blocks.at("pictures-0")["original"];
    EXPECT_EQ(original.size(), 3U) << original;
    for (const char* picture : {"alpha", "both", "colour"}) {
        const std::string name = std::string("pictures-original-").append(picture).append(".png");
        EXPECT_EQ(original[picture], start + name);
        EXPECT_TRUE(textOfFile(at("out #1%:-files/kpximage-1/0-" + name)).starts_with("\x89PNG")) << name;
    }

    // A run that fails, for which a limit on the size of files stands, or finds the folder taken, changes nothing.
    const auto earlier = contentsOf(at(""));
    EXPECT_EQ(assets("ulimit -f 100; trap '' XFSZ;").err,
              "kpximage: out #1%:.html: cannot have its pictures written: File too large\n");
    EXPECT_EQ(contentsOf(at("")), earlier);
    EXPECT_EQ(assets("flock 'out #1%:-files' env").err,
              "kpximage: out #1%:.html: is being written by another run, which has out #1%:-files\n");
    EXPECT_EQ(contentsOf(at("")), earlier);

    // One that is done leaves nothing of any other.
    for (const char* folder : {"3", "8", "18446744073709551615"})
        std::filesystem::create_directory(at("out #1%:-files/kpximage-") + folder);
    file("out #1%:-files/kpximage-3/.kpximage", "");
    file("out #1%:-files/own.txt", "own");
    ASSERT_EQ(assets().status, 0);
    EXPECT_NE(textOfFile(at("out #1%:.html")).find("-files/kpximage-4/"), std::string::npos);
    EXPECT_EQ(shell("ls 'out #1%:-files'").out, "kpximage-18446744073709551615\nkpximage-4\nkpximage-8\nown.txt\n");
}

}  // namespace
