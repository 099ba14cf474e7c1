// kpximage explain: what a file is, how it is read, and why it looks as it does.
#include <algorithm>
#include <iomanip>

#include "explain/Explanation.h"
#include "explain/names.h"
#include "explain/text.h"
#include "tools/commands/Batch.h"
#include "tools/commands/choices.h"
#include "tools/commands/commands.h"
#include "tools/files/OpenFile.h"
#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/console.h"

namespace kpx::tool {
namespace {

struct Arguments {
    bool json = false, hasDetails = false, isStrict = false;
    Grade only = Grade::right;  // this grade or a worse one
    BatchOptions batch;
};

// The lines below the first one.
class Lines {
public:
    void add(const char* label, const std::string& text) {
        m_text << "  " << std::left << std::setw(12) << label << text << "\n";
    }
    [[nodiscard]] std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

std::string loaders(const Verdict& verdict) {
    const std::string first = loaderName(verdict.loader);
    const bool handsOver = verdict.decoder != verdict.loader && verdict.decoder != Loader::none;
    return handsOver ? first + ", then " + loaderName(verdict.decoder) : first;
}

void addDetails(const Explanation& file, Lines& lines) {
    const DDS_HEADER& header = file.facts.header.header;
    const Verdict& verdict = file.verdict;
    const std::string same = sameAs(file);
    lines.add("header", namedFormat(file) + (same.empty() ? "" : ", the same as " + same));
    lines.add("flags", "header " + headerFlagText(header.dwFlags));
    lines.add("", "pixel format " + pixelFlagText(header.ddspf.dwFlags));
    if (file.contents.alphaMode != nullptr) lines.add("alpha", std::string("mode ") + file.contents.alphaMode);
    // For a format that nothing decodes.
    const bool isUnknown = verdict.result == Result::black && verdict.bytesExpected == 0;
    const std::uint64_t rest = verdict.bytesPresent - std::min(verdict.bytesPresent, verdict.bytesExpected);
    const std::string wanted = textOf(", ", verdict.bytesExpected, " needed, ", rest, " not read");
    lines.add("data", textOf(verdict.bytesPresent, " bytes in the file", isUnknown ? "" : wanted));
    lines.add("read by", loaders(verdict));
    lines.add("host gets", textOf(verdict.width, " x ", verdict.height, ", ", verdict.colourChannels(), " colour, ",
                                  verdict.hasAlpha ? 1 : 0, " matte, ", verdict.bits,
                                  layoutRow(verdict.layout).isFloat ? "-bit float" : "-bit", ", from ",
                                  layoutRow(verdict.layout).name));
}

std::string textOfFile(const std::string& name, const Explanation& file, bool hasDetails) {
    Lines lines;
    for (const Finding& finding : file.findings) lines.add(gradeName(finding.severity), finding.sentence);
    for (const Remark& mend : file.repairs) lines.add("repair", mend.sentence);
    for (const Remark& recoding : file.recodings) lines.add("recode", recoding.sentence);
    const bool isRead = file.grade != Grade::unreadable;
    if (isRead && !hasDetails) lines.add("format", formatLabel(file));
    if (isRead && hasDetails) addDetails(file, lines);
    return printable(name) + ": " + summaryOf(file) + "\n" + lines.text();
}

Outcome show(const Arguments& arguments, Report& report) {
    return withFailureAsJson(report, arguments.json, [&] {
        const Explanation file = explain(OpenFile(report.file()).facts());
        report.countAs(gradeName(file.grade));
        if (file.grade < arguments.only) return Outcome::done;
        report.print(arguments.json ? jsonText(fileAsJson(report.file(), file)) + "\n"
                                    : textOfFile(report.file(), file, arguments.hasDetails));
        return outcomeOf(file.grade, arguments.isStrict);
    });
}

}  // namespace

void addExplainCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("explain", "Explain what DDS files are and why they look as they do");
    auto arguments = std::make_shared<Arguments>();
    arguments->batch.addTo(*command, "DDS files, or folders of them");
    command->add_flag("--json", arguments->json, "Print one JSON object per line");
    addOnly(*command, arguments->only);
    command->add_flag("--strict", arguments->isStrict, "Count suspect files as bad");
    command->add_flag("--details", arguments->hasDetails, "Show header flags, data sizes and how the file is read");
    arguments->batch.isPrinting = true;
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] {
            if (!invocation.pluginPath.empty()) loadPlugin(invocation.pluginPath);
            return runBatch(inputsOf(arguments->batch), arguments->batch,
                            [&](const InputFile&, Report& report) { return show(*arguments, report); });
        };
    });
}

}  // namespace kpx::tool
