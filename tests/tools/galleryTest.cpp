// Tests kpximage gallery and the text of its page; scripts/test-gallery.sh tests it in a browser.
#include <cmath>
#include <nlohmann/json.hpp>
#include <regex>

#include "tests/support/Tool.h"
#include "tests/support/describedFile.h"
#include "tools/gallery/GalleryFolder.h"

using namespace kpx;
using namespace testing_support;
using nlohmann::json;

namespace fs = std::filesystem;

namespace {

// Returns a file of one pixel of floats with a format code.
std::string floatFile(std::uint32_t code, const std::vector<float>& values) {
    Bytes file = fileOf(codeHeader(code, 1, 1));
    for (const float value : values) append(file, value);
    return textOf(file);
}

const std::string decoded = floatFile(116, {0.5F, 0.25F, 0.0F, 1.0F});
const std::string undecodable = textOf(fileOf(codeHeader(fourCC("????"), 8, 4)));

// Returns the width and height of a PNG file.
std::pair<int, int> sizeOf(const std::string& png) {
    const auto word = [&](std::size_t place) {
        return static_cast<unsigned char>(png.at(place + 2)) << 8 | static_cast<unsigned char>(png.at(place + 3));
    };
    return {word(16), word(20)};
}

class Gallery : public Tool {
protected:
    // Makes a gallery in the folder out, and returns the records of its files.
    [[nodiscard]] std::vector<json> gallery(const std::string& arguments, int status = 0) const {
        const RunResult result = run("gallery -o out " + arguments);
        EXPECT_EQ(result.status, status) << arguments << ": " << result.err;
        return records();
    }
    [[nodiscard]] std::vector<json> records() const {
        const std::string text = page();
        const std::regex block("<script type=\"application/json\" class=\"file\">([^<]*)</script>");
        std::vector<json> files;
        for (std::sregex_iterator i(text.begin(), text.end(), block); i != std::sregex_iterator(); ++i)
            files.push_back(json::parse((*i)[1].str()));
        return files;
    }
    [[nodiscard]] std::string page() const { return textOfFile(at("out/index.html")); }
    [[nodiscard]] std::string picture(const json& url) const { return textOfFile(at("out/" + url.get<std::string>())); }
};

TEST_F(Gallery, ListsEveryFileWithItsGrade) {
    for (const char* name : {"fine.dds", "in/a.dds", "in/below/b.dds"}) {
        fs::create_directories(fs::path(at(name)).parent_path());
        file(name, decoded);
    }
    file("black.dds", undecodable);
    file("cut.dds", decoded.substr(0, 100));
    file("text.dds", std::string(200, 'x'));
    file("rows.dds", describedFile("size=4x4 pf=0x40 bits=24 masks=FF0000,FF00,FF,0 zeros=20"));
    struct Case {
        const char* files;
        int status;
        std::vector<std::string> grades;
    };
    const Case cases[] = {{"fine.dds", 0, {"right"}},
                          {"in", 0, {"right"}},
                          {"-r in", 0, {"right", "right"}},
                          {"black.dds fine.dds rows.dds", 3, {"black", "right", "wrong"}},
                          {"cut.dds black.dds missing.dds text.dds fine.dds",
                           1,
                           {"unreadable", "black", "unreadable", "unreadable", "right"}}};
    for (const Case& each : cases) {
        std::vector<std::string> grades;
        for (const json& record : gallery(each.files, each.status)) {
            grades.push_back(record["grade"]);
            EXPECT_EQ(record["versions"].contains("original"), grades.back() == "right" || grades.back() == "wrong")
                << record;
            EXPECT_EQ(record["findings"].empty(), grades.back() == "right") << record;
        }
        EXPECT_EQ(grades, each.grades) << each.files;
    }
}

// The folder is replaced as a whole, only if it is a gallery, and only if there is something to show.
TEST_F(Gallery, ReplacesOnlyAnEarlierGallery) {
    file("a.dds", decoded);
    file("b.dds", decoded);
    EXPECT_EQ(gallery("a.dds b.dds").size(), 2U);
    EXPECT_EQ(gallery("a.dds").size(), 1U);
    const std::string before = page();
    fs::create_directory(at("empty"));
    for (const char* inputs : {"missing.dds", "empty", "/dev/null"})
        EXPECT_EQ(run(std::string("gallery -o out -q ") + inputs).status, 1);
    EXPECT_EQ(run("gallery -o out a.dds", "ulimit -f 0; trap '' XFSZ;").status, 1);
    EXPECT_EQ(page(), before);

    const auto refusal = [this](const std::string& name) { return run("gallery a.dds -o " + name).err; };
    file("out/own.txt", "own");
    EXPECT_EQ(refusal("out"), "kpximage: out: contains own.txt, which is not part of a gallery; name another folder\n");
    fs::remove(at("out/own.txt"));
    file("out/pictures/own.png.txt", "own");
    EXPECT_EQ(refusal("out/"),
              "kpximage: out/: contains pictures/own.png.txt, which is not part of a gallery; name another folder\n");
    fs::remove(at("out/pictures/own.png.txt"));
    fs::create_directory_symlink("out", at("link"));
    EXPECT_EQ(refusal("link"), "kpximage: link: is a link; name the folder itself\n");
    EXPECT_EQ(refusal("a.dds"), "kpximage: a.dds: exists and is not a folder\n");
    fs::create_directory(at("site"));
    file("site/index.html", "<!DOCTYPE html>\n<title>Mine</title>\n");
    EXPECT_EQ(refusal("site"),
              "kpximage: site: contains index.html, which is not part of a gallery; name another folder\n");
    EXPECT_EQ(page(), before);
    EXPECT_EQ(shell("ls -A").out.find(".kpximage-"), std::string::npos);
    EXPECT_EQ(run("gallery a.dds -o new/below/out").status, 0);
}

// Others who may write in the parent folder can replace the temporary folder by one with links.
TEST_F(Gallery, WritesOnlyToTheFolderThatItHasCreated) {
    file("own.txt", "own");
    {
        const tool::GalleryFolder folder(at("out"));
        const RunResult trap = shell(
            "t=$(ls -d .kpximage-*) && mv $t moved && mkdir -p $t/pictures && "
            "ln -s ../../own.txt $t/pictures/a.png && ln -s ../own.txt $t/index.html");
        ASSERT_EQ(trap.status, 0) << trap.err;
        EXPECT_EQ(folder.write("a", {1, 1, {1, 2, 3, 4}}), "pictures/a.png");
        folder.writePage({});
    }
    EXPECT_EQ(textOfFile(at("own.txt")), "own");
}

TEST_F(Gallery, EscapesTheDataOfFiles) {
    const std::string hostile[] = {"<img src=x onerror=alert(1)>.dds", "\"' onload=\"x\" & &lt;.dds",
                                   "-->]]><!--<script>.dds"};
    for (const std::string& name : hostile) file(name, decoded);
    file("\xFF\xE2\x80.dds", decoded);
    std::vector<std::string> found;
    for (const json& record : gallery(". -q")) found.push_back(record["name"]);
    for (const std::string& name : hostile) EXPECT_EQ(std::count(found.begin(), found.end(), name), 1) << name;
    EXPECT_EQ(found.back(), "\uFFFD\uFFFD.dds");

    // The page without its blocks of JSON.
    const std::regex blocks("<script type=\"application/json\"[^<]*</script>\n");
    const std::string bare = std::regex_replace(page(), blocks, "");
    file("plain.dds", decoded);
    (void)gallery("plain.dds");
    EXPECT_EQ(std::regex_replace(page(), blocks, ""), bare);
    for (const char* reference : {"://", "@import", "<link", "<iframe", "fetch(", "XMLHttpRequest", "{{"}) {
        EXPECT_EQ(bare.find(reference), std::string::npos) << reference;
    }
    const std::regex policy(
        "content=\"default-src 'none'; img-src 'self'; script-src 'sha256-[A-Za-z0-9+/]{43}='; "
        "style-src 'sha256-[A-Za-z0-9+/]{43}='; base-uri 'none'; form-action 'none'\"");
    EXPECT_TRUE(std::regex_search(bare, policy));
}

TEST_F(Gallery, StatesTheExposureOfFloats) {
    struct Case {
        const char* options;
        std::vector<float> values;
        const char* exposure;
    };
    const float infinity = std::numeric_limits<float>::infinity(), notANumber = std::numeric_limits<float>::quiet_NaN();
    const Case cases[] = {{"", {1.0F, 0.5F, 0.0F, 9.0F}, "0 stops, chosen automatically"},
                          {"", {8.0F, 1.0F, 0.0F, 1.0F}, "-3 stops, chosen automatically"},
                          {"", {0.0F, 0.0F, 0.03125F, 1.0F}, "+5 stops, chosen automatically"},
                          {"", {0.0F, -3.0F, notANumber, 1.0F}, "0 stops, chosen automatically"},
                          {"", {infinity, 0.0F, 0.0F, 1.0F}, "-24 stops, chosen automatically"},
                          {"--exposure 1.25", {8.0F, 1.0F, 0.0F, 1.0F}, "+1.25 stops"}};
    for (const Case& each : cases) {
        file("a.dds", floatFile(116, each.values));
        EXPECT_EQ(gallery(std::string("a.dds ") + each.options).at(0)["versions"]["original"]["exposure"],
                  each.exposure);
    }
}

TEST_F(Gallery, ReducesPicturesAndSeparatesAlpha) {
    DdsFileHeader header = headerOf(800, 400);
    header.header.ddspf = {32, DDPF_RGB | DDPF_ALPHAPIXELS, 0, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
    file("a.dds", fileOf(header, Bytes(4 * 800 * 400, 9)));
    for (const auto& [options, width] : {std::pair("a.dds", 512), {"a.dds --max-side 100", 100}}) {
        const json record = gallery(options).at(0)["versions"]["original"];
        EXPECT_EQ(record["width"], 800);
        EXPECT_EQ(record["shown"], json::array({width, width / 2}));
        for (const char* what : {"all", "colour", "alpha"})
            EXPECT_EQ(sizeOf(picture(record[what])), std::pair(width, width / 2)) << what;
        EXPECT_EQ(sizeOf(picture(record["thumbnail"])), std::pair(256, 128));
    }
    // Opaque pictures have no separate alpha.
    file("a.dds", decoded);
    EXPECT_FALSE(gallery("a.dds").at(0)["versions"]["original"].contains("alpha"));
}

// The command on the page is quoted for a shell, whatever the name, and makes the picture that the page shows.
TEST_F(Gallery, ShowsTheRepairedPictureAndItsCommand) {
    struct Case {
        std::string name, description, command;
    };
    const std::string repairable = "size=2x1 dxgi=85 data=00F8E007";
    const Case cases[] = {{"a.dds", repairable, "kpximage repair a.dds -o a-repaired.dds"},
                          {"my file.dds", repairable, "kpximage repair 'my file.dds' -o 'my file-repaired.dds'"},
                          {"it's $HOME`ls`.dds", repairable,
                           "kpximage repair 'it'\\''s $HOME`ls`.dds' -o 'it'\\''s $HOME`ls`-repaired.dds'"},
                          {"\xC3\xA9\n.dds", repairable, ""},  // a page cannot show this name quoted
                          {"-dash.dds", repairable, "kpximage repair ./-dash.dds -o ./-dash-repaired.dds"},
                          {"earlier.dds", repairable, "kpximage repair earlier.dds -o earlier-repaired-2.dds"},
                          {"x.dds", "size=4x4 dxgi=89 zeros=64", "kpximage recode x.dds -o x-recoded.dds"}};
    for (const Case& each : cases) {
        fs::remove_all(at(""));
        fs::create_directory(at(""));
        file(each.name, describedFile(each.description));
        if (each.name == "earlier.dds") file("earlier-repaired.dds", "earlier");
        EXPECT_NE(run("gallery -o out -q -- ./*").status, 0);
        (void)run("gallery -o out -q -- '" + std::regex_replace(each.name, std::regex("'"), "'\\''") + "'");
        const json record = records().back();
        ASSERT_EQ(record.value("command", ""), each.command) << each.name;
        EXPECT_TRUE(record["versions"].contains("repaired"));
        EXPECT_FALSE(record["changes"].empty());
        if (each.command.empty()) continue;
        const std::string shownPicture = picture(record["versions"]["repaired"]["all"]);
        file("paste.sh", "kpximage() { '" KPX_TOOL_PATH "' \"$@\"; }\n" + each.command + "\n");
        ASSERT_EQ(shell("bash paste.sh").status, 0) << each.command;
        fs::remove(at(each.name));
        fs::remove(at("earlier-repaired.dds"));
        const json made = gallery("./*-re*.dds").at(0);
        EXPECT_EQ(picture(made["versions"]["original"]["all"]), shownPicture);
    }
}

// They are the pictures that split writes.
TEST_F(Gallery, ShowsTheOtherPicturesOfAFileInAStrip) {
    struct Case {
        const char* description;
        std::vector<const char*> notes;
        std::size_t shown;
    };
    const Case cases[] = {
        {"size=8x4 code=DXT1 levels=4 caps2=0xFE00 zeros=240", {}, 24},
        {"size=2x2 dxgi=28 array=3 data=0102030405060708090A0B0C0D0E0F1011121314151617181920212223242526 zeros=8",
         {},
         2},
        {"size=2x2 dxgi=28 dimension=4 depth=60 flags=0x800000 caps2=0x200000 zeros=960",
         {"48 of 60 are shown. `kpximage split` writes all of them."},
         48},
        {"size=2x2 dxgi=85 levels=2 data=00F8E0071F00FFFFF00F", {}, 2},  // the pictures of the repaired copy
        {"size=2x2 pf=0x20 bits=8 levels=2 zeros=1029", {}, 2},
        {"size=2x2 dxgi=28 zeros=16", {}, 0},
        {"size=2x2 code=???? levels=2 zeros=16", {}, 0}};
    for (const Case& each : cases) {
        file("a.dds", describedFile(each.description));
        (void)run("gallery -o out -q a.dds");
        const json record = records().at(0);
        EXPECT_EQ(record.contains("strip"), each.shown > 0) << each.description;
        if (each.shown == 0) continue;
        EXPECT_EQ(record["strip"]["notes"], json(each.notes));
        const json& surfaces = record["strip"]["surfaces"];
        ASSERT_EQ(surfaces.size(), each.shown) << each.description;
        std::vector<std::string> pictures;
        for (const json& surface : surfaces) pictures.push_back(picture(surface["picture"]));
        (void)run("repair --in-place a.dds");
        fs::remove_all(at("parts"));
        (void)run("split a.dds -o parts/");
        fs::remove(at("a.dds.orig"));
        const std::vector<json> parts = gallery("parts -q --max-side 96", run("info parts -q").status);
        for (std::size_t i = 0; i < each.shown; ++i) {
            EXPECT_EQ(parts.at(i)["name"], "a-" + surfaces[i]["name"].get<std::string>() + ".dds");
            EXPECT_EQ(picture(parts[i]["versions"]["original"]["all"]), pictures[i]);
        }
    }
}

}  // namespace
