// kpximage convert: images to PNG, OpenEXR or DDS.
#include "tools/commands/Batch.h"
#include "tools/commands/Conversion.h"
#include "tools/commands/commands.h"
#include "tools/commands/exposureRange.h"
#include "tools/pictures/pluginChoice.h"
#include "tools/terminal/console.h"

namespace kpx::tool {
namespace {

Outcome run(const std::string& pluginPath, const ConversionRequest& request, const BatchOptions& options) {
    const auto plugin = loadPlugin(pluginPath);
    Conversion conversion(*plugin, request);
    const InputFiles inputs = inputFiles(request.inputs(), options.isRecursive);
    conversion.protect(inputs.files);
    return runBatch(inputs, options, [&](const InputFile& input) { return conversion.convert(input); });
}

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const OutputFormat& format : outputFormats()) names.emplace_back(format.extension);
    return names;
}

}  // namespace

void addConvertCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("convert", "Convert images to PNG, OpenEXR or DDS");
    auto request = std::make_shared<ConversionRequest>();
    auto options = std::make_shared<BatchOptions>();
    command
        ->add_option("FILE", request->paths,
                     "Inputs (DDS or PNG files, or folders of .dds files), then the output: a file whose name ends in "
                     ".png, .exr or .dds, or a folder, which is made for folders or where its name ends with a slash")
        ->required()
        ->expected(2, -1);
    command->add_option("--format", request->format, "Format in a folder; else OpenEXR for floats, DDS for PNG, or PNG")
        ->check(CLI::IsMember(formatNames()));
    command
        ->add_option("--exposure", request->exposure,
                     "Make a PNG of floating-point channels, brightened by this many stops")
        ->check(exposureRange());
    command->add_option("--depth", request->depth, "8: reduce PNG input of 16 bits a channel")
        ->check(CLI::IsMember({8}));
    command->add_option("--alpha", request->alpha, "The plug-in's Alpha option for DDS output, by its value's name");
    command->add_option("--compression", request->compression,
                        "The plug-in's Compression option for DDS output, by its value's name");
    command->add_flag("--strict", request->isStrict, "Write nothing for what comes out as a black picture");
    command
        ->add_option("--exr", request->exr,
                     "Bits of OpenEXR values: half (16), float (32), or as the source (the default)")
        ->check(CLI::IsMember({"half", "float", "source"}));
    command
        ->add_option(
            "--png", request->png,
            "Compress PNG files fast (the default), or smallest: most by a tenth more, in up to thirty times the time")
        ->check(CLI::IsMember({"fast", "smallest"}));
    command->add_flag("--normal-z", request->normalZ, "Work out blue of a normal map that stores red and green only");
    command
        ->add_flag("--opaque{unused}", request->opaque,
                   "Leave out the alpha of formats that do not use it (X8); --opaque=all: all alpha")
        ->check(CLI::IsMember({"unused", "all"}));
    options->isNaming = true;
    options->addTo(*command, "convert");
    command->callback([&invocation, request, options] {
        invocation.run = [&invocation, request, options] { return run(invocation.pluginPath, *request, *options); };
    });
}

}  // namespace kpx::tool
