// kpximage thumbnail: a small PNG of an image, with what the thumbnail standard of freedesktop.org has it say.
#include "tools/commands/commands.h"
#include "tools/files/PendingFile.h"
#include "tools/files/fileUri.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/pluginChoice.h"
#include "tools/pictures/thumbnailPicture.h"
#include "tools/terminal/console.h"
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

Outcome makeThumbnail(const host::Plugin& plugin, const Arguments& arguments) {
    OpenFile input(pathOfFile(arguments.input), arguments.input);
    if (isSameFile(input.name(), arguments.output)) throw FileError("would be overwritten by its own thumbnail");
    const std::string modified = std::to_string(input.status().st_mtime);
    const auto source = openSource(plugin, std::move(input), true);
    if (source->isBlack()) return Outcome::fallback;
    if (!source->isWhole()) throw FileError("is incomplete: it does not hold every row of its picture");
    const SmallPicture picture = smallPicture(*source, arguments.size);
    try {
        PendingFile file(arguments.output, 0600);
        write(picture, file.path(), *source, arguments, modified);
        file.commit();
    } catch (const OutputError& failure) {
        tell(arguments.output, failure.what());
        return Outcome::failed;
    }
    return Outcome::done;
}

}  // namespace

void addThumbnailCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand(
        "thumbnail",
        "Make a small PNG of an image for a file manager. Pixels are averaged in linear light, weighted by alpha; "
        "floats above 1 are compressed so that the brightest is white; there is none of a black picture");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("-s,--size", arguments->size, "Largest width and height; smaller images keep their size")
        ->check(CLI::Range(1, largestSize))
        ->capture_default_str();
    command->add_option("IN", arguments->input, "DDS or PNG file, or the file: URI of one")->required();
    command->add_option("OUT", arguments->output, "PNG file to be made")->required();
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] {
            const auto plugin = loadPlugin(invocation.pluginPath);
            return workOnFile(arguments->input, [&] { return makeThumbnail(*plugin, *arguments); });
        };
    });
}

}  // namespace kpx::tool
