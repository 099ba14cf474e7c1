// kpximage explain and repair as a user runs them, over the files that explained.txt describes.
#include <nlohmann/json.hpp>

#include "host/ImageReader.h"
#include "tests/support/Tool.h"
#include "tests/support/agreedText.h"
#include "tests/support/describedFile.h"
#include "tests/support/likeModel.h"

using namespace kpx;
using namespace testing_support;
using nlohmann::json;

namespace fs = std::filesystem;

namespace {

constexpr const char* agreedPath = KPX_SOURCE_DIR "/tests/explain/explained.txt";
constexpr const char* indent = "    ";

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// What is told of each file: its first line without the name, and the indented lines below.
std::vector<std::string> answersIn(const std::string& told) {
    std::vector<std::string> answers;
    for (const std::string& line : linesOf(told)) {
        if (line[0] != ' ') answers.emplace_back();
        answers.back() += indent + (line[0] == ' ' ? line : line.substr(line.find(": ") + 2)) + "\n";
    }
    return answers;
}

// The line of a label, such as "why", or nothing.
std::string lineOf(const std::string& answer, const std::string& label) {
    const std::size_t start = answer.find("  " + label + " ");
    return start == answer.npos ? "" : answer.substr(start + 14, answer.find('\n', start) - start - 14);
}

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
        float value = row[0];
        if (reader.isFloat()) std::memcpy(&value, row, sizeof value);
        text << value;
    }
    return text.str();
}

Bytes dataOf(const Bytes& file) {
    const bool isDx10 = file.size() >= 148 && std::memcmp(&file[84], "DX10", 4) == 0;
    return {file.begin() + (isDx10 ? 148 : 128), file.end()};
}

class Explain : public Tool {
protected:
    // In the order of their names.
    void SetUp() override {
        for (std::size_t i = 0; i < entries.size(); ++i) file(nameOf(i), describedFile(entries[i].question));
    }
    static std::string nameOf(std::size_t i) { return std::to_string(1000 + i) + ".dds"; }

    // Mends a file and gives what has become of it. What is told are the changes that explain has announced. Mended in
    // its place it has the same bytes, and undone its own again.
    [[nodiscard]] std::string mended(const std::string& name, const json& explained) const {
        const Bytes before = readFile(at(name));
        const std::string answer = repaired("repaired", name, explained["repairs"], "repair ");
        EXPECT_EQ(dataOf(readFile(at("mended"))), dataOf(before));
        EXPECT_EQ(run("repair --in-place " + name).status, 0) << name;
        EXPECT_EQ(readFile(at(name)), readFile(at("mended"))) << name;
        EXPECT_EQ(readFile(at(name + ".orig")), before) << name;
        EXPECT_EQ(run("repair --undo " + name).status, 0) << name;
        EXPECT_EQ(readFile(at(name)), before) << name;
        EXPECT_FALSE(fs::exists(at(name + ".orig")));
        return answer;
    }

    [[nodiscard]] std::string repaired(const char* label, const std::string& name, const json& changes,
                                       const std::string& command) const {
        const RunResult result = run(command + name + " -o mended -f");
        EXPECT_EQ(result.status, 0) << result.err;
        std::string announced;
        for (const json& change : changes) announced += name + ": " + change["sentence"].get<std::string>() + "\n";
        EXPECT_EQ(result.out, announced);
        EXPECT_EQ(run("repair mended -o again").err, "kpximage: mended: note: needs no repair\n");
        const std::string answer = answersIn(run("explain --details mended").out).at(0);
        return std::string(indent) + "  " + label + std::string(10 - std::strlen(label), ' ') + pixelOf(at(name)) +
               " becomes " + pixelOf(at("mended")) + "\n" + indent + "            " + lineOf(answer, "header") + "\n";
    }

    // Why there is no mend, but for a file that needs none.
    [[nodiscard]] std::string notMended(const std::string& name) const {
        const RunResult result = run("repair " + name + " -o mended");
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(fs::exists(at("mended")));
        const std::string start = "kpximage: " + name + ": ";
        EXPECT_TRUE(result.err.starts_with(start)) << result.err;
        const std::string line = std::to_string(result.status) + ": " + result.err.substr(start.size());
        return line == "0: note: needs no repair\n" ? "" : indent + ("  no repair " + line);
    }

    std::vector<AgreedEntry> entries = readAgreed(agreedPath);
};

// The JSON and the text have the same facts.
void expectAlike(const json& explained, const std::string& answer) {
    std::string worst = "right";
    const std::string grades = "right noted suspect wrong black unreadable";
    for (const json& finding : explained["findings"]) {
        const std::string severity = finding["severity"], sentence = finding["sentence"];
        EXPECT_NE(answer.find(severity), answer.npos) << answer;
        EXPECT_NE(answer.find(sentence + "\n"), answer.npos) << answer;
        if (grades.find(severity) > grades.find(worst)) worst = severity;
    }
    EXPECT_EQ(explained["grade"], worst) << answer;
    for (const auto& [kind, start] : {std::pair{"repairs", "repair      "}, {"recodings", "recode      "}}) {
        for (const json& remark : explained[kind])
            EXPECT_NE(answer.find(start + remark["sentence"].get<std::string>() + "\n"), answer.npos) << answer;
    }
    EXPECT_TRUE(answer.starts_with(indent + explained["summary"].get<std::string>() + "\n")) << answer;
    const std::string format = lineOf(answer, "header");
    if (format.empty()) return;
    const json &header = explained["header"], &picture = explained["picture"];
    const std::string same = header["sameAs"];
    EXPECT_EQ(format, header["name"].get<std::string>() + (same.empty() ? "" : ", the same as " + same));
    std::ostringstream data, gets;
    data << explained["bytesPresent"] << " bytes in the file";
    EXPECT_TRUE(lineOf(answer, "data").starts_with(data.str())) << data.str();
    gets << picture["width"] << " x " << picture["height"] << ", " << picture["colourChannels"] << " colour, "
         << picture["matteChannels"] << " matte, " << picture["bits"] << (picture["float"] ? "-bit float" : "-bit")
         << ", from " << picture["layout"].get<std::string>();
    EXPECT_EQ(lineOf(answer, "host gets"), gets.str());
    EXPECT_TRUE(lineOf(answer, "read by").starts_with(picture["loader"].get<std::string>())) << answer;
    const bool isWhole = explained["grade"] != "black" && answer.find("rows in full") == answer.npos;
    EXPECT_EQ(isWhole, picture["height"] == picture["wholeRows"]) << answer;
}

}  // namespace

TEST_F(Explain, SaysOfEachFileWhatWasAgreedOn) {
    const std::vector<std::string> answers = answersIn(run("explain --details *.dds").out);
    const std::vector<std::string> objects = linesOf(run("explain --json *.dds").out);
    ASSERT_EQ(answers.size(), entries.size());
    ASSERT_EQ(objects.size(), entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        SCOPED_TRACE(entries[i].question);
        const json explained = json::parse(objects[i]);
        expectAlike(explained, answers[i]);
        const bool hasFacts = !entries[i].heading.empty();
        std::string answer = answers[i].substr(0, hasFacts ? std::string::npos : answers[i].find("      header"));
        EXPECT_TRUE(readsLikeModel(describedFile(entries[i].question)));
        std::string ids;
        for (const char* kind : {"findings", "repairs", "recodings"})
            for (const json& remark : explained[kind]) ids += " " + remark["id"].get<std::string>();
        if (!ids.empty()) answer += std::string(indent) + "  ids      " + ids + "\n";
        answer += explained["repairs"].empty() ? notMended(nameOf(i)) : mended(nameOf(i), explained);
        if (!explained["recodings"].empty())
            answer += repaired("recoded", nameOf(i), explained["recodings"], "recode ");
        fs::remove(at("mended"));
        entries[i].answer = answer;
    }
    EXPECT_FALSE(fs::exists(at("again")));
    expectAgreed(agreedPath, entries);
}

// Whoever looks at a file of another kind names it, with or without the plug-in.
TEST_F(Explain, NamesWhatIsNoDdsFileAsTheOtherCommandsDo) {
    int named = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string why = lineOf(entries[i].answer, "unreadable");
        if (!why.starts_with("The file is ") && !why.starts_with("The file has \"DDS\"")) continue;
        ++named;
        const std::string sentence = why.substr(9, why.size() - 10);
        for (const char* command : {"info ", "info --open ", "convert "}) {
            const bool isConvertible = *command == 'c' && sentence.starts_with("is a PNG");
            if (isConvertible) continue;
            const RunResult result = run(command + nameOf(i) + (*command == 'c' ? " -o out.exr" : ""));
            EXPECT_EQ(result.status, 1) << command << sentence;
            EXPECT_EQ(result.err, "kpximage: " + nameOf(i) + ": " + sentence + "\n");
        }
    }
    EXPECT_GE(named, 15);
}

TEST_F(Explain, JsonFollowsTheSchema) {
    const std::string explained = run("explain --json *.dds nowhere").out;
    const std::string told = run("info --json *.dds nowhere").out;
    const std::string reported = run("recode --json --dry-run nowhere *.dds").out;
    for (const std::string& text : {explained, told, reported}) EXPECT_EQ(linesOf(text).size(), entries.size() + 1);
    file("lines", explained + told + reported);
    // The interpreter that Debian's packages are for.
    const std::string validate =
        "/usr/bin/python3 -W ignore -m jsonschema '" KPX_SOURCE_DIR "/docs/kpximage.schema.json' -i ";
    const RunResult valid = shell("split -a 3 -l 1 lines line- && " + validate + "$(echo line-* | sed 's/ / -i /g')");
    EXPECT_EQ(valid.status, 0) << valid.err;
    // The schema itself can refuse.
    for (const char* change : {R"({"grade": "grey"})", R"({"picture": {"bits": 9}})", R"({"findings": [{"id": 1}]})"}) {
        json wrong = json::parse(explained.substr(0, explained.find('\n')));
        wrong.merge_patch(json::parse(change));
        file("wrong", wrong.dump());
        EXPECT_EQ(shell(validate + "wrong").status, 1) << change;
    }
}

TEST_F(Tool, ExplainGoesOnAfterAFileThatFailsAndEndsWithTheWorst) {
    file("black.dds", describedFile("size=4x4 dxgi=89"));
    file("good.dds", describedFile("size=4x4 dxgi=28 zeros=64"));
    file("short.dds", "DDS ");
    EXPECT_EQ(run("explain good.dds").status, 0);
    EXPECT_EQ(run("explain black.dds good.dds").status, 3);
    EXPECT_EQ(run("explain short.dds").status, 1);
    ASSERT_EQ(shell("mkfifo pipe").status, 0);
    const RunResult result = run("explain missing.dds pipe short.dds black.dds");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(answersIn(result.out).size(), 2U) << result.out;
    EXPECT_EQ(result.err,
              "kpximage: missing.dds: cannot open the file: No such file or directory\n"
              "kpximage: pipe: is not a regular file\n"
              "kpximage: 4 files: 1 black, 2 failed, 1 unreadable\n");
}

TEST_F(Tool, RepairWritesNeitherInADryRunNorOverItsInput) {
    file("a.dds", describedFile("size=1x1 code=25 data=007C"));
    const RunResult dry = run("repair a.dds -o b.dds --dry-run");
    EXPECT_EQ(dry.status, 3);
    EXPECT_EQ(run("repair a.dds --dry-run").out, dry.out);
    EXPECT_EQ(names(), "a.dds");
    EXPECT_EQ(run("repair a.dds -o b.dds").status, 0);
    EXPECT_EQ(run("repair a.dds -o ./a.dds -f").err,
              "kpximage: ./a.dds: is an input of this run and is not replaced\n");
    EXPECT_EQ(pixelOf(at("a.dds")), "black");
    EXPECT_EQ(run("repair a.dds").status, 2);
    // A limit on the size of files stands for a full disk.
    file("large.dds", describedFile("size=256x256 code=25 zeros=131072"));
    EXPECT_EQ(run("repair large.dds -f -o b.dds", "ulimit -f 1;").err,
              "kpximage: b.dds: cannot be written: File too large\n");
    EXPECT_EQ(pixelOf(at("b.dds")), "255 0 0, 0");
}

TEST_F(Tool, RepairMendsBlackSamples) {
    const fs::path samples = KPX_SAMPLES_DIR;
    if (!exists(samples)) GTEST_SKIP() << "there are no sample files in " << samples;
    for (const auto& [name, command] : {std::pair{"ati1-linear-too-big", ""},
                                        {"bc4u-linear-too-big", ""},
                                        {"dx10-b5g6r5", ""},
                                        {"dx10-b5g5r5a1", ""},
                                        {"dx10-b4g4r4a4", ""},
                                        {"fourcc-25-a1r5g5b5", ""},
                                        {"bumpdudv-q8w8v8u8", ""},
                                        {"dx10-xr-bias", "recode "},
                                        {"rxgb", "recode "}}) {
        const std::string path = (samples / name).string() + ".dds";
        EXPECT_EQ(run("info " + path).status, 3) << name;
        EXPECT_EQ(run((*command == 0 ? "repair " : command) + path + " -o " + name + ".dds").status, 0) << name;
        EXPECT_EQ(run(std::string("info ") + name + ".dds").status, 0) << name;
    }
}
