// kpximage explain: what a file is, how it is read, and why it looks as it does.
#include <iomanip>
#include <iostream>

#include "explain/Explanation.h"
#include "explain/flagNames.h"
#include "explain/formatNames.h"
#include "explain/otherFile.h"
#include "explain/summary.h"
#include "explain/text.h"
#include "tools/commands/commands.h"
#include "tools/files/OpenFile.h"
#include "tools/terminal/console.h"
#include "tools/terminal/explanationJson.h"
#include "tools/terminal/json.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::vector<std::string> files;
    bool json = false;
};

std::uint64_t bytesNotRead(const Verdict& verdict) {
    return verdict.bytesPresent > verdict.bytesExpected ? verdict.bytesPresent - verdict.bytesExpected : 0;
}

std::string loaders(const Verdict& verdict) {
    const std::string first = loaderName(verdict.loader);
    const bool handsOver = verdict.decoder != verdict.loader && verdict.decoder != Loader::none;
    return handsOver ? first + ", then " + loaderName(verdict.decoder) : first;
}

std::string channels(const Verdict& verdict) {
    return textOf(verdict.colourChannels(), " colour", verdict.hasAlpha ? ", 1 matte, " : ", 0 matte, ", verdict.bits,
                  layoutRow(verdict.layout).isFloat ? "-bit float" : "-bit");
}

void printLine(const char* label, const std::string& text) {
    std::cout << "  " << std::left << std::setw(10) << label << text << "\n";
}

void printWhatItIs(const Explanation& file) {
    const DDS_HEADER& header = file.facts.header.header;
    const std::string same = sameAs(file);
    printLine("format", namedFormat(file) + (same.empty() ? "" : ", the same as " + same));
    printLine("flags", "header " + flagText(headerFlagNames(), header.dwFlags));
    printLine("", "pixel format " + flagText(pixelFormatFlagNames(), header.ddspf.dwFlags));
    const std::string more = contentsText(file.contents);
    printLine("declared", textOf(header.dwWidth, " x ", header.dwHeight, more.empty() ? "" : ", ", more,
                                 file.contents.alphaMode == nullptr ? "" : ", alpha mode ",
                                 file.contents.alphaMode == nullptr ? "" : file.contents.alphaMode));
    if (!more.empty()) printLine("", "only the top level of the first picture is read");
}

void printHowItIsRead(const Explanation& file) {
    const Verdict& verdict = file.verdict;
    // Of a format that nothing decodes.
    const bool isUnknown = verdict.result == Result::black && verdict.bytesExpected == 0;
    const std::string asked = textOf(", ", verdict.bytesExpected, " asked for, ", bytesNotRead(verdict), " not read");
    printLine("data", textOf(verdict.bytesPresent, " bytes in the file", isUnknown ? "" : asked));
    printLine("read by", loaders(verdict));
    printLine("host gets", textOf(verdict.width, " x ", verdict.height, ", ", channels(verdict), ", from ",
                                  layoutRow(verdict.layout).name));
}

void printText(const std::string& name, const Explanation& file) {
    std::cout << printable(name) << ": " << summaryOf(file) << "\n";
    for (const Finding& finding : file.findings)
        printLine(finding.severity >= Grade::black ? "why" : "note", finding.sentence);
    if (!file.mends.empty()) printLine("repair", "\"kpximage repair\" makes a copy with these changes:");
    for (const Remark& mend : file.mends) printLine("", mend.sentence);
    if (!file.conversions.empty())
        printLine("convert", "\"kpximage repair --convert\" makes a copy with these changes:");
    for (const Remark& conversion : file.conversions) printLine("", conversion.sentence);
    // Of another format, the fields of a header are none.
    if (file.verdict.result == Result::refused || !otherFileText(file.facts).empty()) return;
    printWhatItIs(file);
    printHowItIsRead(file);
}

Outcome show(const std::string& name, bool json) {
    constexpr Outcome outcomes[] = {Outcome::done, Outcome::fallback, Outcome::failed};
    const auto work = [&] { return explain(OpenFile(name).facts()); };
    const Explanation file = json ? withFailureAsJson(name, work) : work();
    if (json) {
        printJson(explanationAsJson(name, file));
    } else {
        printText(name, file);
    }
    return outcomes[static_cast<int>(file.verdict.result)];
}

}  // namespace

void addExplainCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command =
        app.add_subcommand("explain", "Tell what DDS files are, how they are read and why they look so");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("FILE", arguments->files, "Files to explain")->required();
    command->add_flag("--json", arguments->json, "Print one JSON object a line");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments] {
            return forEachFile(arguments->files, [&](const std::string& file) { return show(file, arguments->json); });
        };
    });
}

}  // namespace kpx::tool
