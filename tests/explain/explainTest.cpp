// Compares, for the files that explained.txt describes, the ids and numbers of findings and the results of repair and
// recode. sentences.txt has each sentence once. Other tests run kpximage explain and repair.
#include <cctype>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "explain/Explanation.h"
#include "explain/names.h"
#include "explain/verdict.h"
#include "host/ImageReader.h"
#include "tests/support/Tool.h"
#include "tests/support/agreedText.h"
#include "tests/support/describedFile.h"
#include "tests/support/likeModel.h"
#include "tools/repair/repairFile.h"

using namespace kpx;
using namespace testing_support;
using nlohmann::json;

namespace fs = std::filesystem;

namespace {

const std::string agreedPath = KPX_SOURCE_DIR "/tests/explain/explained.txt";
const std::string sentencesPath = KPX_SOURCE_DIR "/tests/explain/sentences.txt";

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// Returns the first pixel of the bottom row that the plug-in delivers, colours and then alpha: "0 128 255, 64"; or
// "black" for the picture that replaces one that cannot be decoded.
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

// Returns the numbers of a sentence in order, with a space before each.
std::string numbersIn(const std::string& sentence) {
    static const std::regex number("\\b(0x[0-9A-F]+|[0-9]+)\\b");
    std::string text;
    for (std::sregex_iterator i(sentence.begin(), sentence.end(), number); i != std::sregex_iterator(); ++i)
        text += " " + i->str();
    return text;
}

struct Entry {
    std::size_t number;
    AgreedEntry agreed;
};

std::vector<Entry> entries() {
    std::vector<Entry> all;
    for (const AgreedEntry& each : readAgreed(agreedPath)) all.push_back({all.size(), each});
    return all;
}

// Returns a description such as "size=4x4 dxgi=28" as a test name.
std::string nameOf(const testing::TestParamInfo<Entry>& entry) {
    std::string name = std::to_string(entry.param.number) + "_";
    for (const char c : entry.param.agreed.question) name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    return name;
}

class Explained : public testing::TestWithParam<Entry>, public Folder {
protected:
    // Writes the repaired file. Returns the changes, the first pixel before and after, and the new name of the format.
    [[nodiscard]] std::string repair(const tool::OpenFile& file, const tool::RepairPlan& plan, bool isRecoding) const {
        const std::string copy = at("copy.dds");
        tool::writeRepaired(file, plan, copy, tool::Existing::replace);
        const tool::OpenFile made(copy);
        EXPECT_EQ(made.facts().fileBytes, plan.repair.facts.fileBytes);
        if (!isRecoding) {
            EXPECT_EQ(dataOf(readFile(copy)), dataOf(readFile(file.name())));
        }
        const Explanation explained = explain(made.facts());
        EXPECT_EQ(tool::planRepair(made.facts()).result, tool::RepairResult::nothingToRepair);
        std::string text = isRecoding ? "recode    " : "repair    ";
        for (const Remark& change : plan.changes()) text += " " + change.id + numbersIn(change.sentence);
        return text + "\n              " + pixelOf(file.name()) + " becomes " + pixelOf(copy) + ", " +
               namedFormat(explained) + "\n";
    }
};

INSTANTIATE_TEST_SUITE_P(, Explained, testing::ValuesIn(entries()), nameOf);

TEST_P(Explained, MatchesTheFile) {
    AgreedEntry entry = GetParam().agreed;
    const Bytes bytes = describedFile(entry.question);
    EXPECT_TRUE(readsLikeModel(bytes));
    file("a.dds", bytes);
    const tool::OpenFile opened(at("a.dds"));
    const Explanation explanation = explain(opened.facts());
    std::ostringstream answer;
    const auto line = [&answer](const std::string& text) { answer << "    " << text << "\n"; };
    line(std::string(gradeName(explanation.grade)) +
         (explanation.grade == Grade::unreadable ? "" : ", " + namedFormat(explanation)) +
         (sameAs(explanation).empty() ? "" : ", the same as " + sameAs(explanation)));
    Grade worst = Grade::right;
    for (const Finding& finding : explanation.findings) {
        std::string severity = gradeName(finding.severity);
        severity.resize(11, ' ');
        line("  " + severity + finding.id + numbersIn(finding.sentence));
        worst = std::max(worst, finding.severity);
    }
    EXPECT_EQ(explanation.grade, worst);
    const Verdict& v = explanation.verdict;
    if (explanation.grade != Grade::unreadable && !entry.heading.empty()) {
        std::ostringstream facts;
        facts << "  read by    " << loaderName(v.loader) << ", " << loaderName(v.decoder) << ", "
              << layoutRow(v.layout).name << ", " << v.colourChannels() << " + " << (v.hasAlpha ? 1 : 0) << " x "
              << v.bits << " bits, " << v.wholeRows << " rows, " << v.bytesPresent << " of " << v.bytesExpected
              << " bytes";
        line(facts.str());
    }
    const tool::RepairPlan plan = tool::planRepair(opened.facts());
    const tool::RepairPlan recoding = tool::planRepair(opened.facts(), true);
    EXPECT_EQ(plan.helps(), !explanation.repairs.empty());
    EXPECT_EQ(recoding.result == tool::RepairResult::recoded, !explanation.recodings.empty());
    if (plan.helps()) {
        line("  " + repair(opened, plan, false));
    } else if (plan.result != tool::RepairResult::nothingToRepair) {
        line(std::string("  repair     ") + nameOf(plan.result));
    }
    if (recoding.result == tool::RepairResult::recoded) line("  " + repair(opened, recoding, true));
    entry.answer = std::regex_replace(answer.str(), std::regex("\n\n"), "\n");
    expectAgreed(agreedPath, {entry}, GetParam().number);
}

// Each id has the first sentence of any file, so that a reworded sentence is one line of a diff.
TEST(Sentences, MatchTheFile) {
    std::map<std::string, std::string> sentences;
    for (const Entry& entry : entries()) {
        const Bytes bytes = describedFile(entry.agreed.question);
        const FileFacts facts = factsOf(std::span(bytes).first(std::min(bytes.size(), factBytes)), bytes.size());
        const Explanation explanation = explain(facts);
        // Every other file type has its own sentence.
        for (const Finding& finding : explanation.findings)
            sentences.emplace(
                finding.id == "other-file" ? finding.id + " " + otherFileText(facts).substr(0, 20) : finding.id,
                finding.sentence + (*finding.advice == 0 ? "" : " | ") + finding.advice);
        for (const auto* changes : {&explanation.repairs, &explanation.recodings})
            for (const Remark& change : *changes) sentences.emplace(change.id, change.sentence);
    }
    std::vector<AgreedEntry> agreed = readAgreed(sentencesPath);
    const std::string heading = agreed.front().heading;
    agreed.clear();
    for (const auto& [id, sentence] : sentences) agreed.push_back({"", id, "    " + sentence + "\n"});
    agreed.front().heading = heading;
    if (std::getenv("KPX_REWRITE") != nullptr) {
        std::ofstream stream(sentencesPath);
        for (const AgreedEntry& each : agreed) stream << each.heading << each.question << "\n" << each.answer;
    }
    ASSERT_EQ(agreed.size(), readAgreed(sentencesPath).size());
    expectAgreed(sentencesPath, agreed);
}

class Explain : public Tool {
protected:
    // Sorted by name.
    void SetUp() override {
        for (const Entry& entry : entries()) file(nameOf(entry.number), describedFile(entry.agreed.question));
    }
    static std::string nameOf(std::size_t i) { return std::to_string(1000 + i) + ".dds"; }
};

// Every command names the type of a file that is not DDS, with or without the plug-in.
TEST_F(Explain, NamesOtherFileTypesLikeOtherCommands) {
    int named = 0;
    for (const Entry& entry : entries()) {
        const Bytes bytes = describedFile(entry.agreed.question);
        const std::string sentence =
            otherFileText(factsOf(std::span(bytes).first(std::min(bytes.size(), factBytes)), bytes.size()));
        if (sentence.empty() || bytes.empty()) continue;
        ++named;
        for (const char* command : {"info ", "info --open ", "convert "}) {
            const bool isConvertible = *command == 'c' && sentence.starts_with("is a PNG");
            if (isConvertible) continue;
            const RunResult result = run(command + nameOf(entry.number) + (*command == 'c' ? " -o out.exr" : ""));
            EXPECT_EQ(result.status, 1) << command << sentence;
            EXPECT_EQ(result.err, "kpximage: " + nameOf(entry.number) + ": " + sentence + "\n");
        }
    }
    EXPECT_GE(named, 12);
}

TEST_F(Explain, JsonFollowsTheSchema) {
    const std::string explained = run("explain --json *.dds nowhere").out;
    const std::string info = run("info --json *.dds nowhere").out;
    const std::string repairs = run("recode --json --dry-run nowhere *.dds").out;
    for (const std::string& text : {explained, info, repairs}) EXPECT_EQ(linesOf(text).size(), entries().size() + 1);
    file("lines", explained + info + repairs);
    // Debian's packages are for this interpreter.
    const std::string validate =
        "/usr/bin/python3 -W ignore -m jsonschema '" KPX_SOURCE_DIR "/docs/kpximage.schema.json' -i ";
    const RunResult valid = shell("split -a 3 -l 1 lines line- && " + validate + "$(echo line-* | sed 's/ / -i /g')");
    EXPECT_EQ(valid.status, 0) << valid.err;
    // The schema refuses unknown fields.
    for (const char* change : {R"({"grade": "grey"})", R"({"picture": {"bits": 9}})", R"({"findings": [{"id": 1}]})"}) {
        json wrong = json::parse(explained.substr(0, explained.find('\n')));
        wrong.merge_patch(json::parse(change));
        file("wrong", wrong.dump());
        EXPECT_EQ(shell(validate + "wrong").status, 1) << change;
    }
}

TEST_F(Tool, ExplainContinuesAfterAFailure) {
    file("black.dds", describedFile("size=4x4 dxgi=89"));
    file("good.dds", describedFile("size=4x4 dxgi=28 zeros=64"));
    file("short.dds", "DDS ");
    EXPECT_EQ(run("explain good.dds").status, 0);
    EXPECT_EQ(run("explain black.dds good.dds").status, 3);
    EXPECT_EQ(run("explain short.dds").status, 1);
    ASSERT_EQ(shell("mkfifo pipe").status, 0);
    const RunResult result = run("explain missing.dds pipe short.dds black.dds");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(linesOf(result.out).front().substr(0, 11), "short.dds: ") << result.out;
    EXPECT_EQ(result.err,
              "kpximage: missing.dds: cannot open the file: No such file or directory\n"
              "kpximage: pipe: is not a regular file\n"
              "kpximage: 4 files: 1 black, 3 unreadable\n");
}

TEST_F(Tool, RepairNeverOverwritesItsInput) {
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
    // A limit on the size of files simulates a full disk.
    file("large.dds", describedFile("size=256x256 code=25 zeros=131072"));
    EXPECT_EQ(run("repair large.dds -f -o b.dds", "ulimit -f 1;").err,
              "kpximage: b.dds: cannot be written: File too large\n");
    EXPECT_EQ(pixelOf(at("b.dds")), "255 0 0, 0");
}

TEST_F(Tool, RepairFixesBlackSamples) {
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
        const std::string path = "'" + (samples / name).string() + ".dds'";
        EXPECT_EQ(run("info " + path).status, 3) << name;
        EXPECT_EQ(run((*command == 0 ? "repair " : command) + path + " -o " + name + ".dds").status, 0) << name;
        EXPECT_EQ(run(std::string("info ") + name + ".dds").status, 0) << name;
    }
}

}  // namespace
