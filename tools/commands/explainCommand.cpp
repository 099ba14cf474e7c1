// kpximage explain: what files are, how they are read, and why they look as they do.
#include <algorithm>

#include "explain/Explanation.h"
#include "explain/names.h"
#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/files/OpenFile.h"
#include "tools/json/fileJson.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

struct Arguments : ListOptions {
    bool hasDetails = false;
};

// Returns a line below the first one.
std::string line(const std::string& label, const std::string& text) {
    constexpr std::size_t width = 12;
    return "  " + label + std::string(width - label.size(), ' ') + text + "\n";
}

std::string loaders(const Verdict& verdict) {
    const std::string first = loaderName(verdict.loader);
    const bool handsOver = verdict.decoder != verdict.loader && verdict.decoder != Loader::none;
    return handsOver ? first + ", then " + loaderName(verdict.decoder) : first;
}

std::string detailsOf(const Explanation& file) {
    const DDS_HEADER& header = file.facts.header.header;
    const Verdict& verdict = file.verdict;
    const std::string same = sameAs(file);
    std::string lines = line("header", namedFormat(file) + (same.empty() ? "" : ", the same as " + same));
    lines += line("flags", "header " + headerFlagText(header.dwFlags));
    lines += line("", "pixel format " + pixelFlagText(header.ddspf.dwFlags));
    if (file.contents.alphaMode != nullptr) lines += line("alpha", std::string("mode ") + file.contents.alphaMode);
    // The format is not decoded, so its size is not known.
    const bool isUnknown = verdict.result == Result::black && verdict.bytesExpected == 0;
    const std::uint64_t rest = verdict.bytesPresent - std::min(verdict.bytesPresent, verdict.bytesExpected);
    const std::string wanted = textOf(", ", verdict.bytesExpected, " needed, ", rest, " not read");
    lines += line("data", textOf(verdict.bytesPresent, " bytes in the file", isUnknown ? "" : wanted));
    lines += line("read by", loaders(verdict));
    lines += line("host gets", textOf(verdict.width, " x ", verdict.height, ", ", verdict.colourChannels(), " colour, ",
                                      verdict.hasAlpha ? 1 : 0, " matte, ", verdict.bits,
                                      layoutRow(verdict.layout).isFloat ? "-bit float" : "-bit", ", from ",
                                      layoutRow(verdict.layout).name));
    return lines;
}

std::string textOfFile(const std::string& name, const Explanation& file, bool hasDetails) {
    std::string lines;
    for (const Finding& finding : file.findings) lines += line(gradeName(finding.severity), finding.sentence);
    for (const Remark& change : file.repairs) lines += line("repair", change.sentence);
    for (const Remark& recoding : file.recodings) lines += line("recode", recoding.sentence);
    const bool isRead = file.grade != Grade::unreadable;
    if (isRead && !hasDetails) lines += line("format", formatLabel(file));
    if (isRead && hasDetails) lines += detailsOf(file);
    return printable(name) + ": " + summaryOf(file) + "\n" + lines;
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    if (!pluginPath.empty()) loadPlugin(pluginPath);
    const auto show = [&](const InputFile& input, Report& report) {
        report.countAs(gradeName(Grade::unreadable));  // if it cannot be opened
        const Explanation file = explain(OpenFile(input.path).facts());
        return list(arguments, file, textOfFile(input.path, file, arguments.hasDetails), report);
    };
    return runJsonBatch(inputsOf(arguments.batch), arguments.batch, arguments.json, show);
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
