// kpximage gallery: a folder with a page that shows files, what is wrong with each and what helps.
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/commands/exposureRange.h"
#include "tools/gallery/Gallery.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::string output;
    GallerySettings settings;
    BatchOptions batch;
};

Outcome makeGallery(const host::Plugin& plugin, const Arguments& arguments) {
    const InputFiles inputs = inputsOf(arguments.batch, {".dds"}, arguments.output);
    Gallery gallery(plugin, arguments.settings, arguments.output);
    const Outcome outcome = runBatch(inputs, arguments.batch, [&](const InputFile& input, Report& report) {
        return gallery.add(static_cast<std::size_t>(&input - inputs.files.data()), input.path, report);
    });
    if (!gallery.finish()) tell(arguments.output, "is not written: there is nothing to show");
    return outcome;
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    const auto plugin = loadPlugin(pluginPath);
    try {
        return makeGallery(*plugin, arguments);
    } catch (const OutputError& error) {
        tell(arguments.output, error.what());
        return Outcome::failed;
    }
}

}  // namespace

void addGalleryCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("gallery", "Make a page that shows DDS files and what is wrong with them");
    auto arguments = std::make_shared<Arguments>();
    arguments->batch.addTo(*command, "DDS files, or folders of them");
    command
        ->add_option("-o,--output", arguments->output,
                     "Folder for index.html and its pictures; replaces an earlier gallery")
        ->required()
        ->type_name("FOLDER");
    command
        ->add_option_function<std::string>(
            "--exposure",
            [arguments](const std::string& text) {
                if (text != "auto") arguments->settings.exposure = std::stod(text);
            },
            "Brighten floating-point textures by STOPS; auto (default) chooses what fits each")
        ->check(exposureRange())
        ->type_name("STOPS");
    command->add_option("--max-side", arguments->settings.maxSide, "Reduce larger pictures to this width or height")
        ->check(CLI::Range(16, 4096))
        ->capture_default_str();
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] { return run(invocation.pluginPath, *arguments); };
    });
}

}  // namespace kpx::tool
