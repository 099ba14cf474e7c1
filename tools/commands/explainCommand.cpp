// kpximage explain: what files are, how they are read, and why they look as they do.
#include <algorithm>
#include <iomanip>

#include "explain/Explanation.h"
#include "explain/names.h"
#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/files/OpenFile.h"
#include "tools/json/fileJson.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/console.h"

namespace kpx::tool {
namespace {

struct Arguments : ListOptions {
    bool hasDetails = false;
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
    // The format is not decoded, so its size is not known.
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
    for (const Remark& change : file.repairs) lines.add("repair", change.sentence);
    for (const Remark& recoding : file.recodings) lines.add("recode", recoding.sentence);
    const bool isRead = file.grade != Grade::unreadable;
    if (isRead && !hasDetails) lines.add("format", formatLabel(file));
    if (isRead && hasDetails) addDetails(file, lines);
    return printable(name) + ": " + summaryOf(file) + "\n" + lines.text();
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    if (!pluginPath.empty()) loadPlugin(pluginPath);
    return runBatch(inputsOf(arguments.batch), arguments.batch, [&](const InputFile& input, Report& report) {
        return withFailureAsJson(report, arguments.json, [&] {
            const Explanation file = explain(OpenFile(input.path).facts());
            return list(arguments, file, textOfFile(input.path, file, arguments.hasDetails), report);
        });
    });
}

}  // namespace

void addExplainCommand(CLI::App& app, Invocation& invocation) {
    const auto command =
        addCommand(app, invocation, "explain", "Explain what DDS files are and why they look as they do", run);
    command.arguments.addTo(command.app);
    command.app.add_flag("--details", command.arguments.hasDetails,
                         "Show header flags, data sizes and how the file is read");
}

}  // namespace kpx::tool
