// kpximage info: size and channels of images.
#include <iostream>

#include "explain/causes.h"
#include "explain/fileFacts.h"
#include "explain/otherFile.h"
#include "explain/text.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/pluginChoice.h"
#include "tools/terminal/console.h"
#include "tools/terminal/json.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::vector<std::string> files;
    bool json = false;
    bool isOpening = false;
    BatchOptions batch;
};

// A picture as the host gets it.
struct Shape {
    std::int64_t width, height;
    std::int64_t colours, mattes, bits;

    [[nodiscard]] bool isFloat() const { return bits == 32; }
    bool operator==(const Shape&) const = default;
};

Shape shapeOf(const Verdict& verdict) {
    return {verdict.width, verdict.height, verdict.colourChannels(), verdict.hasAlpha ? 1 : 0, verdict.bits};
}

Shape shapeOf(const host::ImageReader& reader) {
    return {reader.width(), reader.height(), reader.colourChannels(), reader.matteChannels(),
            reader.descriptor().channelBits};
}

std::string textOf(const Shape& shape) {
    return kpx::textOf(shape.width, " x ", shape.height, ", ", shape.colours, " colour, ", shape.mattes, " matte, ",
                       shape.bits, shape.isFloat() ? "-bit float" : "-bit");
}

void print(const std::string& file, const Shape& shape, bool isBlack, bool json) {
    if (!json) {
        kpx::tool::print(kpx::textOf(printable(file), ": ", textOf(shape), "\n"));
        return;
    }
    printJson({{"file", file},
               {"recognised", true},
               {"black", isBlack},
               {"width", shape.width},
               {"height", shape.height},
               {"colourChannels", shape.colours},
               {"matteChannels", shape.mattes},
               {"bits", shape.bits},
               {"float", shape.isFloat()}});
}

// An unrecognised file is not looked into: a picture can be made of anything that is long enough.
Outcome showUnrecognised(const OpenFile& file, bool json) {
    if (json) printJson({{"file", file.name()}, {"recognised", false}});
    tell(file.name(), unrecognisedText(file.facts()));
    return Outcome::failed;
}

Outcome showByHeaders(const OpenFile& file, bool json) {
    const FileFacts facts = file.facts();
    if (!startsAsDds(facts)) return showUnrecognised(file, json);
    checkHasHeader(facts);
    const Verdict verdict = judge(facts);
    const bool isBlack = verdict.result == Result::black;
    if (isBlack) tellWhyBlack(file.name(), facts, verdict);
    print(file.name(), shapeOf(verdict), isBlack, json);
    return isBlack ? Outcome::fallback : Outcome::done;
}

// Whether the plug-in's picture is the one that the headers lead to; tells when it is not.
bool isAsForetold(const std::string& file, const OpenedImage& image) {
    const Shape opened = shapeOf(*image.reader);
    const Shape foretold = shapeOf(image.verdict);
    if (opened == foretold && image.isBlack == (image.verdict.result == Result::black)) return true;
    tell(file, "is " + textOf(opened) + " through the plug-in, but " + textOf(foretold) + " by its headers");
    return false;
}

Outcome showOpened(const host::Plugin& plugin, const OpenFile& file, bool json) {
    if (!plugin.isFile(file.path())) return showUnrecognised(file, json);
    const OpenedImage image = openImage(plugin, file);
    print(file.name(), shapeOf(*image.reader), image.isBlack, json);
    if (!isAsForetold(file.name(), image)) return Outcome::failed;
    return image.isBlack ? Outcome::fallback : Outcome::done;
}

}  // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("info", "Show the size and the channels of images, by their headers");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("FILE", arguments->files, "Images to look at, or folders of .dds files")->required();
    command->add_flag("--json", arguments->json, "Print one JSON object a line");
    command->add_flag("--open", arguments->isOpening,
                      "Have the plug-in decode the images, and fail where one is not what its headers say");
    arguments->batch.isPrinting = true;
    arguments->batch.addTo(*command, "look at");
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] {
            const auto plugin = arguments->isOpening ? loadPlugin(invocation.pluginPath) : nullptr;
            const InputFiles inputs = inputFiles(arguments->files, arguments->batch.isRecursive);
            return runBatch(inputs, arguments->batch, [&](const InputFile& file) {
                const auto work = [&] {
                    const OpenFile opened(file.path);
                    return plugin != nullptr ? showOpened(*plugin, opened, arguments->json)
                                             : showByHeaders(opened, arguments->json);
                };
                return arguments->json ? withFailureAsJson(file.path, work) : work();
            });
        };
    });
}

}  // namespace kpx::tool
