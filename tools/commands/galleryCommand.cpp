// kpximage gallery: a folder with a page that shows files, what is wrong with them and what helps.
#include <csignal>

#include "tools/commands/options.h"
#include "tools/gallery/Gallery.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::string output;
    GallerySettings settings;
    BatchOptions batch;
};

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    // A closed pipe loses messages, not the gallery.
    std::signal(SIGPIPE, SIG_IGN);
    const auto plugin = loadPlugin(pluginPath);
    try {
        const InputFiles inputs = inputsOf(arguments.batch, {".dds"}, arguments.output);
        Gallery gallery(*plugin, arguments.settings, arguments.output, inputs.files.size());
        const Outcome outcome = runBatch(inputs, arguments.batch, [&](const InputFile& input, Report& report) {
            return gallery.add(static_cast<std::size_t>(&input - inputs.files.data()), input.path, report);
        });
        if (!gallery.finish()) printMessage(arguments.output, "is not written: there is nothing to show");
        return outcome;
    } catch (const OutputError& error) {
        printMessage(arguments.output, error.what());
        return Outcome::failed;
    }
}

}  // namespace

void addGalleryCommand(CLI::App& app, Invocation& invocation) {
    const auto command =
        addCommand(app, invocation, "gallery", "Make a web page that shows DDS files and what is wrong with them", run);
    Arguments& arguments = command.arguments;
    arguments.batch.addTo(command.app, "DDS files, or folders of them");
    command.app
        .add_option("-o,--output", arguments.output,
                    "Folder for index.html and its pictures; replaces an earlier gallery")
        ->required()
        ->type_name("FOLDER");
    addExposure(command.app, arguments.settings.exposure,
                "Exposure of floating-point textures; auto (default) chooses it for each");
    command.app.add_option("--max-side", arguments.settings.maxSide, "Reduce larger pictures to this width or height")
        ->check(CLI::Range(16, 4096))
        ->capture_default_str();
}

}  // namespace kpx::tool
