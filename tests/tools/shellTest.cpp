// kpximage in a shell as a user runs it: the commands of shell.txt, and all that they print.
#include "tests/support/Tool.h"
#include "tests/support/agreedText.h"
#include "tests/support/describedFile.h"

using namespace testing_support;

namespace {

// Lines with a mark before each; what names the test's own folder is no part of it.
std::string marked(std::string text, const char* mark, const std::string& folder) {
    for (std::size_t i = 0; (i = text.find(folder, i)) != text.npos;) text.replace(i, folder.size(), "/folder/");
    std::istringstream stream(text);
    std::string lines;
    for (std::string line; std::getline(stream, line);) lines += mark + line + "\n";
    return lines;
}

}  // namespace

// "file NAME DESCRIPTION" makes a file, "$ COMMAND" is run; after a heading all begins anew in an empty folder. Lines
// of standard error are marked by "!".
TEST_F(Tool, RunsInAShellGoAsAgreed) {
    const std::string path = KPX_SOURCE_DIR "/tests/tools/shell.txt";
    const std::string shell =
        "export LC_ALL=C.UTF-8 KPX_PLUGIN='" KPX_PLUGIN_PATH "'; kpximage() { '" KPX_TOOL_PATH "' \"$@\"; }; ";
    std::vector<AgreedEntry> entries = readAgreed(path);
    for (AgreedEntry& each : entries) {
        if (each.heading.find('#') != std::string::npos) {
            std::filesystem::remove_all(at(""));
            std::filesystem::create_directory(at(""));
        }
        if (each.question.starts_with("file ")) {
            const std::size_t space = each.question.find(' ', 5);
            file(each.question.substr(5, space - 5), describedFile(each.question.substr(space + 1)));
            continue;
        }
        ASSERT_TRUE(each.question.starts_with("$ ")) << each.question;
        const RunResult result = this->shell(shell + each.question.substr(2));
        each.answer = marked(result.out, "    ", at("")) + marked(result.err, "  ! ", at(""));
        if (result.status != 0) each.answer += "    exit " + std::to_string(result.status) + "\n";
    }
    expectAgreed(path, entries);
}
