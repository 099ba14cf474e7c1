// Runs the commands of shell.txt in a shell, and compares all that they print.
#include "tests/support/Tool.h"
#include "tests/support/agreedText.h"
#include "tests/support/describedFile.h"

using namespace testing_support;

namespace {

// Returns the lines with a mark before each, and the test's own folder replaced.
std::string marked(std::string text, const char* mark, const std::string& folder) {
    for (std::size_t i = 0; (i = text.find(folder, i)) != text.npos;) text.replace(i, folder.size(), "/folder/");
    std::istringstream stream(text);
    std::string lines;
    for (std::string line; std::getline(stream, line);) lines += mark + line + "\n";
    return lines;
}

// The entries of a file below one heading.
struct Run {
    std::size_t first;
    std::vector<AgreedEntry> entries;
};

std::vector<Run> runsOf(const std::string& path) {
    std::vector<Run> runs;
    std::size_t i = 0;
    for (const AgreedEntry& each : readAgreed(path)) {
        if (each.heading.find('#') != std::string::npos || runs.empty()) runs.push_back({i, {}});
        runs.back().entries.push_back(each);
        ++i;
    }
    return runs;
}

// Returns the first clause of the heading as a test name.
std::string nameOf(const testing::TestParamInfo<Run>& run) {
    const std::string& heading = run.param.entries[0].heading;
    // The comments above the first run describe the file.
    const std::size_t paragraph = heading.rfind("\n\n");
    std::string name;
    bool isStart = true;
    for (const char c : heading.substr(paragraph == std::string::npos ? 0 : paragraph)) {
        const bool isLetter = std::isalnum(static_cast<unsigned char>(c)) != 0;
        if (isLetter) name += isStart ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
        isStart = !isLetter;
        if (c == '.' || c == ',' || c == ';' || c == ':') break;
    }
    return name;
}

const std::string path = KPX_SOURCE_DIR "/tests/tools/shell.txt";

class Shell : public Tool, public testing::WithParamInterface<Run> {};

INSTANTIATE_TEST_SUITE_P(, Shell, testing::ValuesIn(runsOf(path)), nameOf);

}  // namespace

// "file NAME DESCRIPTION" makes a file, "$ COMMAND" is run. Lines of standard error are marked by "!".
TEST_P(Shell, MatchesTheFile) {
    const std::string prelude =
        "export LC_ALL=C.UTF-8 KPX_PLUGIN='" KPX_PLUGIN_PATH "'; kpximage() { '" KPX_TOOL_PATH "' \"$@\"; }; ";
    std::vector<AgreedEntry> entries = GetParam().entries;
    for (AgreedEntry& each : entries) {
        if (each.question.starts_with("file ")) {
            const std::size_t space = each.question.find(' ', 5);
            file(each.question.substr(5, space - 5), describedFile(each.question.substr(space + 1)));
            continue;
        }
        ASSERT_TRUE(each.question.starts_with("$ ")) << each.question;
        const RunResult result = shell(prelude + each.question.substr(2));
        each.answer = marked(result.out, "    ", at("")) + marked(result.err, "  ! ", at(""));
        if (result.status != 0) each.answer += "    exit " + std::to_string(result.status) + "\n";
    }
    expectAgreed(path, entries, GetParam().first);
}
