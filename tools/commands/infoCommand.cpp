// kpximage info: what images are, a line each.
#include <algorithm>

#include "explain/Explanation.h"
#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/commands/Batch.h"
#include "tools/commands/choices.h"
#include "tools/commands/commands.h"
#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/DdsSource.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

struct Arguments {
    bool json = false, isOpening = false, isStrict = false;
    Grade only = Grade::right;  // this grade or a worse one
    BatchOptions batch;
};

// "12 bytes", "4.2 kB".
std::string sizeText(std::uint64_t bytes) {
    constexpr const char* units[] = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000) return bytesText(bytes);
    double size = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; size >= 999.95 && unit + 1 < std::size(units); ++unit) size /= 1000;
    std::ostringstream text;
    text.precision(size < 100 ? 1 : 0);
    text << std::fixed << size << " " << units[unit];
    return text.str();
}

// Whether the format stores alpha; the host gets one for blocks that have none, too.
bool hasAlpha(const Verdict& verdict) {
    if (verdict.result != Result::decoded || !verdict.hasAlpha || verdict.format->has(ignoresAlpha)) return false;
    constexpr BlockKernel withAlpha[] = {BlockKernel::none, BlockKernel::bc1, BlockKernel::bc2, BlockKernel::bc3,
                                         BlockKernel::bc7};
    return std::find(std::begin(withAlpha), std::end(withAlpha), verdict.format->kernel) != std::end(withAlpha);
}

std::string lineOf(const Explanation& file) {
    const DDS_HEADER& header = file.facts.header.header;
    const std::string more = contentsText(file.contents);
    std::string line =
        textOf(header.dwWidth, " x ", header.dwHeight, ", ", formatLabel(file), hasAlpha(file.verdict) ? ", alpha" : "",
               more.empty() ? "" : ", ", more, ", ", sizeText(file.facts.fileBytes));
    if (file.grade != Grade::right) line += textOf(" - ", gradeName(file.grade));
    return line;
}

// Throws FileError if the plug-in's picture is not the one that the headers lead to.
void checkIsAsForetold(const OpenedImage& image) {
    const host::ImageReader& reader = *image.reader;
    const Verdict& verdict = image.verdict;
    const auto opened = textOf(reader.width(), " x ", reader.height(), ", ", reader.colourChannels(), " colour and ",
                               reader.matteChannels(), " alpha channels of ", reader.descriptor().channelBits, " bits");
    const auto foretold = textOf(verdict.width, " x ", verdict.height, ", ", verdict.colourChannels(), " colour and ",
                                 verdict.hasAlpha ? 1 : 0, " alpha channels of ", verdict.bits, " bits");
    if (opened == foretold && image.isBlack == (verdict.result == Result::black)) return;
    throw FileError("is " + opened + " through the plug-in, but " + foretold + " by its headers");
}

Outcome show(const Arguments& arguments, const host::Plugin* plugin, Report& report) {
    return withFailureAsJson(report, arguments.json, [&] {
        const OpenFile opened(report.file());
        const Explanation file = explain(opened.facts());
        if (plugin != nullptr && file.grade != Grade::unreadable) checkIsAsForetold(openThroughHost(*plugin, opened));
        report.countAs(gradeName(file.grade));
        if (file.grade < arguments.only) return Outcome::done;
        if (arguments.json)
            report.print(jsonText(fileAsJson(report.file(), file)) + "\n");
        else if (file.grade != Grade::unreadable)
            report.print(printable(report.file()) + ": " + lineOf(file) + "\n");
        // `explain` says why.
        if (file.grade == Grade::unreadable) warnOfGrade(file, report);
        return outcomeOf(file.grade, arguments.isStrict);
    });
}

}  // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("info", "Show size, format and grade of DDS files, a line each");
    auto arguments = std::make_shared<Arguments>();
    arguments->batch.addTo(*command, "DDS files, or folders of them");
    command->add_flag("--json", arguments->json, "Print one JSON object per line");
    addOnly(*command, arguments->only);
    command->add_flag("--strict", arguments->isStrict, "Count suspect files as bad");
    command->add_flag("--open", arguments->isOpening,
                      "Decode the whole image and report an error if it does not match its header");
    arguments->batch.isPrinting = true;
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] {
            const auto plugin =
                arguments->isOpening || !invocation.pluginPath.empty() ? loadPlugin(invocation.pluginPath) : nullptr;
            return runBatch(inputsOf(arguments->batch), arguments->batch, [&](const InputFile&, Report& report) {
                return show(*arguments, arguments->isOpening ? plugin.get() : nullptr, report);
            });
        };
    });
}

}  // namespace kpx::tool
