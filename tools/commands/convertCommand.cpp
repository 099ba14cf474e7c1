// kpximage convert: images to PNG, OpenEXR or DDS.
#include "tools/commands/FileConversion.h"
#include "tools/commands/choices.h"
#include "tools/commands/commands.h"
#include "tools/commands/exposureRange.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

Outcome run(const std::string& pluginPath, const ConversionRequest& request) {
    if (request.output.output.empty()) throw UsageError("--output is required");
    const auto plugin = loadPlugin(pluginPath);
    FileConversion conversion(*plugin, request);
    return runBatch(conversion.inputs(), request.batch,
                    [&](const InputFile& input, Report& report) { return conversion.convert(input, report); });
}

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const OutputFormat& format : outputFormats()) names.emplace_back(format.extension);
    return names;
}

CLI::Validator swizzle() {
    return {[](std::string& text) {
                return isSwizzle(text) ? "" : text + " is not made of r g b a 0 1, and z behind two others";
            },
            "LETTERS"};
}

}  // namespace

void addConvertCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("convert", "Convert images to PNG, OpenEXR or DDS");
    auto request = std::make_shared<ConversionRequest>();
    request->batch.isNaming = true;
    request->batch.addTo(*command, "DDS or PNG files, or folders of them");
    request->output.addTo(*command,
                          "A file whose name ends in .png, .exr or .dds, or a folder, which is created if PATH is a "
                          "folder or OUT ends in \"/\"");
    command
        ->add_option("--format", request->format,
                     "Format of the files in a folder (default: EXR for floating-point textures, PNG for other DDS "
                     "files, DDS for PNG files)")
        ->check(CLI::IsMember(formatNames()));
    command
        ->add_option_function<std::string>(
            "--exposure",
            [request](const std::string& text) {
                if (text != "auto") request->exposure = std::stod(text);
            },
            "Brighten floating-point textures by STOPS in 8-bit formats; auto (default) chooses what fits each")
        ->check(exposureRange())
        ->type_name("STOPS");
    command
        ->add_option("--swizzle", request->swizzle,
                     "Channels of the output: one to four of r g b a 0 1 z, z being the third component of a unit "
                     "normal. rgz completes a two-channel normal map, agz1 unpacks DXT5nm, agb1 RXGB")
        ->check(swizzle());
    auto opaque = std::make_shared<std::string>();
    command
        ->add_flag("--opaque{unused}", *opaque,
                   "Drop alpha where the format does not use it (X8 formats); --opaque=all drops it everywhere")
        ->check(CLI::IsMember({"unused", "all"}));
    command->add_option("--depth", request->depth, "Reduce PNG files of 16 bits per channel to 8")
        ->check(CLI::IsMember({8}));
    addChoice<ExrValues>(*command, "--exr", request->exr,
                         {{"half", ExrValues::half}, {"float", ExrValues::float32}, {"source", ExrValues::source}},
                         "Bits of OpenEXR values: half (16), float (32), or source (default)");
    addChoice<PngEffort>(
        *command, "--png", request->png, {{"fast", PngEffort::fast}, {"smallest", PngEffort::smallest}},
        "PNG compression: fast (default), or smallest: usually about 10 % smaller, up to 30 times slower");
    command->add_flag("--pad", request->isPadded,
                      "Repeat the last column in DDS files whose width is not a multiple of 4");
    command
        ->add_option("--option", request->options,
                     "Set an option of the plug-in for DDS files, as \"Alpha=Output alpha\"; `kpximage formats` lists "
                     "them. Compression has no effect: files are written uncompressed")
        ->type_name("NAME=VALUE");
    command->add_flag("--keep-black", request->keepsBlack,
                      "Also write the black pictures of files that cannot be decoded");
    command->add_flag("--strict", request->isStrict, "Write no output for files that are wrong or suspect");
    command->callback([&invocation, request, opaque] {
        if (!opaque->empty()) request->opaque = *opaque == "all" ? Opaque::all : Opaque::whereUnused;
        invocation.run = [&invocation, request] { return run(invocation.pluginPath, *request); };
    });
}

}  // namespace kpx::tool
