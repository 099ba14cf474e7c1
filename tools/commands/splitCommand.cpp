// kpximage split: every picture in a DDS file as its own file.
#include <filesystem>

#include "explain/Explanation.h"
#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

struct Arguments {
    bool json = false;
    OutputOptions output;
    BatchOptions batch;
};

SurfaceLayout layoutOf(const FileFacts& facts) {
    const Verdict verdict = judge(facts);
    const std::string notDds = notDdsText(facts);
    if (!notDds.empty()) throw FileError(notDds);
    if (verdict.format == nullptr) throw FileError("cannot be split. It " + gradeText(explain(facts)).sentence);
    const DDS_HEADER& header = facts.header.header;
    if (header.dwWidth == 0 || header.dwHeight == 0)
        throw FileError(textOf("has no pixels: it is ", header.dwWidth, " x ", header.dwHeight));
    return surfaceLayout(facts, verdict);
}

// Returns the count in words; UINT64_MAX stands for larger counts.
std::string countText(std::uint64_t count) {
    return count == UINT64_MAX ? "more pictures than can be counted"
                               : textOf(count, count == 1 ? " picture" : " pictures");
}

Outcome split(const InputFile& file, const Arguments& arguments, OutputPlaces& places, Report& report) {
    const OpenFile input(file.path);
    const SurfaceLayout layout = layoutOf(input.facts());
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole == 0) throw FileError("is incomplete: no picture in it is complete");
    const fs::path folder = fs::path(arguments.output.output) / file.folder;
    Json names = Json::array();
    forEachWholeSurface(layout, [&](const Surface& surface) {
        const std::string name = fs::path(file.path).stem().string() + surfaceName(layout, surface) + ".dds";
        const std::string output = (folder / name).string();
        if (places.claim(output, file.path))
            writeCopy(input, output, places.existing(),
                      [&](int descriptor) { writeSurface(input, layout, surface, descriptor); });
        if (arguments.json) names.push_back(output);
        return true;
    });
    if (arguments.json)
        report.print(jsonText({{"file", file.path}, {"pictures", layout.count}, {"outputs", names}}) + "\n");
    else
        report.print(textOf(printable(file.path), ": ", whole, whole == 1 ? " file" : " files", " written to ",
                            printable(folder.string()), "\n"));
    report.countAs("split");
    if (whole == layout.count) return Outcome::done;
    report.warn(textOf("is incomplete: only ", whole, " of ", countText(layout.count), whole == 1 ? " is" : " are",
                       " complete"),
                "incomplete: some pictures are missing");
    return Outcome::bad;
}

Outcome run(const std::string& /*pluginPath*/, const Arguments& arguments) {
    std::string folder = arguments.output.output;
    if (folder.empty()) throw UsageError("--output is required");
    if (!folder.ends_with('/')) folder += '/';
    OutputPlaces places(folder, true, false, arguments.output.replacing);
    const InputFiles inputs = inputsOf(arguments.batch, {".dds"}, folder);
    places.protect(inputs.files);
    return runJsonBatch(inputs, arguments.batch, arguments.json,
                        [&](const InputFile& file, Report& report) { return split(file, arguments, places, report); });
}

}  // namespace

void addSplitCommand(CLI::App& app, Invocation& invocation) {
    const auto command =
        addCommand(app, invocation, "split",
                   "Write every mipmap, cube face, slice and array element of DDS files to its own file", run);
    Arguments& arguments = command.arguments;
    arguments.batch.addTo(command.app, "DDS files, or folders of them");
    arguments.output.addTo(
        command.app,
        "Folder, created if needed. Files are named NAME-array00-face0+x-mip00-slice000.dds; parts that are "
        "the same for all are left out");
    command.app.add_flag("--json", arguments.json, "Print one JSON object per line");
    arguments.batch.isNaming = true;
}

}  // namespace kpx::tool
