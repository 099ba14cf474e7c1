// kpximage info: size, format and grade of images, one line each.
#include <algorithm>

#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/DdsSource.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

struct Arguments : ListOptions {
    bool isOpening = false;
};

// Returns a size such as "12 bytes" or "4.2 kB".
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

// Whether the format stores alpha. The host gets alpha for all block formats.
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

// Throws FileError if the plug-in's picture is not what the headers promise.
void checkMatchesHeaders(const OpenedImage& image) {
    const host::ImageReader& reader = *image.reader;
    const Verdict& verdict = image.verdict;
    const auto opened = textOf(reader.width(), " x ", reader.height(), ", ", reader.colourChannels(), " colour and ",
                               reader.matteChannels(), " alpha channels of ", reader.descriptor().channelBits, " bits");
    const auto expected = textOf(verdict.width, " x ", verdict.height, ", ", verdict.colourChannels(), " colour and ",
                                 verdict.hasAlpha ? 1 : 0, " alpha channels of ", verdict.bits, " bits");
    if (opened == expected && image.isBlack == (verdict.result == Result::black)) return;
    throw FileError("is " + opened + " through the plug-in, but " + expected + " by its headers");
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    const auto plugin = arguments.isOpening || !pluginPath.empty() ? loadPlugin(pluginPath) : nullptr;
    const auto show = [&](const InputFile& input, Report& report) {
        report.countAs(gradeName(Grade::unreadable));  // if it cannot be opened
        const OpenFile opened(input.path);
        const Explanation file = explain(opened.facts());
        const bool isReadable = file.grade != Grade::unreadable;
        if (arguments.isOpening && isReadable) checkMatchesHeaders(openThroughHost(*plugin, opened));
        // `explain` says why a file is not right.
        if (!isReadable && file.grade >= arguments.only) warnOfGrade(file, report);
        return list(arguments, file, isReadable ? printable(input.path) + ": " + lineOf(file) + "\n" : "", report);
    };
    return runJsonBatch(inputsOf(arguments.batch), arguments.batch, arguments.json, show);
}

}  // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation) {
    const auto command =
        addCommand(app, invocation, "info", "Show size, format and grade of DDS files, one line each", run);
    command.arguments.addTo(command.app);
    command.app.add_flag("--open", command.arguments.isOpening,
                         "Also decode each picture, and check its size and channels");
}

}  // namespace kpx::tool
