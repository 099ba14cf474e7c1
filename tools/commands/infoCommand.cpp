// kpximage info: size and channels of images.
#include <iostream>

#include "explain/fileFacts.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/commands/pluginChoice.h"
#include "tools/pictures/DdsSource.h"
#include "tools/terminal/console.h"
#include "tools/terminal/json.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::vector<std::string> files;
    bool json = false;
    BatchOptions batch;
};

Json describe(const std::string& file, const OpenedImage& image) {
    const host::ImageReader& reader = *image.reader;
    return {{"file", file},
            {"recognised", true},
            {"black", image.isBlack},
            {"width", reader.width()},
            {"height", reader.height()},
            {"colourChannels", reader.colourChannels()},
            {"matteChannels", reader.matteChannels()},
            {"bits", reader.descriptor().channelBits},
            {"float", reader.isFloat()}};
}

void printSentence(const std::string& file, const host::ImageReader& reader) {
    std::cout << printable(file) << ": " << reader.width() << " x " << reader.height() << ", "
              << reader.colourChannels() << " colour, " << reader.matteChannels() << " matte, "
              << reader.descriptor().channelBits << (reader.isFloat() ? "-bit float\n" : "-bit\n");
}

// An unrecognised file is not opened: a plug-in makes a picture of anything that is long enough.
Outcome showUnrecognised(const std::string& file, bool json) {
    if (json) printJson({{"file", file}, {"recognised", false}});
    tell(file, "is not recognised");
    return Outcome::failed;
}

Outcome show(const host::Plugin& plugin, const std::string& file, bool json) {
    checkIsNoPipe(file);
    if (!plugin.isFile(file)) return showUnrecognised(file, json);
    const OpenedImage image = openImage(plugin, file);
    if (json) {
        printJson(describe(file, image));
    } else {
        printSentence(file, *image.reader);
    }
    return image.isBlack ? Outcome::fallback : Outcome::done;
}

}  // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("info", "Show the size and the channels of images");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("FILE", arguments->files, "Images to look at, or folders of .dds files")->required();
    command->add_flag("--json", arguments->json, "Print one JSON object a line");
    arguments->batch.isPrinting = true;
    arguments->batch.addTo(*command);
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] {
            const auto plugin = loadPlugin(invocation.pluginPath);
            return runBatch(arguments->files, arguments->batch, [&](const InputFile& file) {
                const auto work = [&] { return show(*plugin, file.path, arguments->json); };
                return arguments->json ? withFailureAsJson(file.path, work) : work();
            });
        };
    });
}

}  // namespace kpx::tool
