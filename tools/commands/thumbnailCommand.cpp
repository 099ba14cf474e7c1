// kpximage thumbnail: a small PNG of an image, with what the thumbnail standard of freedesktop.org has it say.
#include "explain/Explanation.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/files/PendingFile.h"
#include "tools/files/fileUri.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/thumbnailPicture.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr int largestSize = 1024;  // of the standard
constexpr size_t channels = 4;

struct Arguments {
    int size = 128;
    std::string input, output;
};

void write(const SmallPicture& picture, const std::string& path, const PixelSource& source, const Arguments& arguments,
           const std::string& modified) {
    PngFile file(path, {picture.width, picture.height, 3, 1, false}, channels, true);
    const bool isUri = pathOfFile(arguments.input) != arguments.input;
    file.writeText("Thumb::URI", isUri ? arguments.input : uriOfPath(arguments.input));
    file.writeText("Thumb::MTime", modified);
    file.writeText("Thumb::Mimetype", source.kind() == SourceKind::png ? "image/png" : "image/x-dds");
    file.writeText("Thumb::Image::Width", std::to_string(source.layout().width));
    file.writeText("Thumb::Image::Height", std::to_string(source.layout().height));
    file.writeText("Software", "kpximage");
    const auto rowSize = static_cast<size_t>(picture.width) * channels;
    for (size_t y = 0; y < static_cast<size_t>(picture.height); ++y) file.writeRow(&picture.pixels[y * rowSize]);
    file.finish();
}

Outcome makeThumbnail(const host::Plugin& plugin, const Arguments& arguments, Report& report) {
    OpenFile input(pathOfFile(arguments.input), arguments.input);
    if (isSameFile(pathOfFile(arguments.input), arguments.output))
        throw OutputError("is the input itself", arguments.output);
    const std::string modified = std::to_string(input.status().st_mtime);
    if (!isPng(input)) {
        const Explanation explanation = explain(input.facts());
        if (explanation.grade >= Grade::black) {
            warnOfGrade(explanation, report);
            return outcomeOf(explanation.grade, false);
        }
    }
    const auto source = openSource(plugin, std::move(input), true);
    if (source->isBlack()) throw std::bad_alloc();
    if (!source->isWhole()) throw FileError("is incomplete: it does not hold every row of its picture");
    const SmallPicture picture = smallPicture(*source, arguments.size);
    try {
        PendingFile file(arguments.output, 0600);
        write(picture, file.path(), *source, arguments, modified);
        file.commit();
    } catch (const OutputError& error) {
        throw OutputError(error.what(), arguments.output, error.code());
    }
    return Outcome::done;
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    const auto plugin = loadPlugin(pluginPath);
    return runBatch({{{arguments.input, ""}}}, {},
                    [&](const InputFile&, Report& report) { return makeThumbnail(*plugin, arguments, report); });
}

}  // namespace

void addThumbnailCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand(
        "thumbnail",
        "Make a small PNG of an image for a file manager. Pixels are averaged in linear light, weighted by alpha; "
        "values above 1 are compressed so that the brightest is white. No thumbnail is made if the file cannot be "
        "decoded or is incomplete");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("-s,--size", arguments->size, "Largest width and height; smaller images keep their size")
        ->check(CLI::Range(1, largestSize))
        ->capture_default_str();
    command->add_option("PATH", arguments->input, "DDS or PNG file, or its file: URI")->required();
    command->add_option("-o,--output", arguments->output, "PNG file to write; an existing file is replaced")
        ->required()
        ->type_name("OUT");
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] { return run(invocation.pluginPath, *arguments); };
    });
}

}  // namespace kpx::tool
