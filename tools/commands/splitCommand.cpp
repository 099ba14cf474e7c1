// kpximage split: every picture in a DDS file as a file of its own.
#include <filesystem>

#include "explain/causes.h"
#include "explain/fileFacts.h"
#include "explain/mends.h"
#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/commands/commands.h"
#include "tools/repair/ddsCopy.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

struct Arguments {
    std::string input, folder;
};

SurfaceLayout layoutOf(const FileFacts& facts) {
    const Verdict verdict = judge(facts);
    if (verdict.format == nullptr) {
        throw FileError("cannot be split, as the size of its pictures is not known. " + causeText(facts, verdict) +
                        repairHint(facts));
    }
    const DDS_HEADER& header = facts.header.header;
    if (header.dwWidth == 0 || header.dwHeight == 0) {
        throw FileError(textOf("has no pixels: it is ", header.dwWidth, " x ", header.dwHeight));
    }
    return surfaceLayout(facts, verdict);
}

void makeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder))
        throw FileError("cannot be split: " + folder + " is no folder and cannot be made one");
}

void write(const Arguments& arguments, const OpenFile& input, const SurfaceLayout& layout, const Surface& surface) {
    const std::string name = fs::path(arguments.input).stem().string() + surfaceName(layout, surface) + ".dds";
    const std::string output = (fs::path(arguments.folder) / name).string();
    const ByteRange ranges[] = {{layout.headerBytes, layout.paletteBytes}, {surface.start, surface.bytes}};
    try {
        PendingFile pending(output, permissionsOfCopy(input));
        if (pending.replaces(input.status())) throw OutputError("is the input itself");
        writeParts(input, ranges, headerBytes(factsOfSurface(layout, surface)), pending.descriptor());
        pending.commit();
    } catch (const OutputError& error) {
        throw OutputError("cannot be split: " + output + " " + error.what());
    }
}

Outcome split(const Arguments& arguments) {
    const OpenFile input(arguments.input);
    const SurfaceLayout layout = layoutOf(input.facts());
    // Nothing is made of a file without a whole picture.
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole == 0) throw FileError("is too short: no picture in it is whole");
    makeFolder(arguments.folder);
    forEachWholeSurface(layout, [&](const Surface& surface) {
        write(arguments, input, layout, surface);
        return true;
    });
    if (whole == layout.count) return Outcome::done;
    tell(arguments.input, textOf("is too short: of ", layout.count, " pictures ", whole,
                                 whole == 1 ? " is whole and has been written" : " are whole and have been written"));
    return Outcome::failed;
}

}  // namespace

void addSplitCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand(
        "split", "Write every mipmap, cube face, slice and array element of a DDS file as a file of its own");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->input, "File to split")->required();
    command->add_option("OUTDIR", arguments->folder, "Folder of the new files, made where there is none")->required();
    command->footer("Files are called NAME-array00-face0+x-mip00-slice000.dds, without what does not vary.");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments] { return workOnFile(arguments->input, [&] { return split(*arguments); }); };
    });
}

}  // namespace kpx::tool
