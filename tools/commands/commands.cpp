// The list of commands, and what stands above them all.
#include "tools/commands/commands.h"

namespace kpx::tool {
namespace {

constexpr void (*commands[])(CLI::App&, Invocation&) = {addFormatsCommand, addInfoCommand,      addExplainCommand,
                                                        addConvertCommand, addRepairCommand,    addSplitCommand,
                                                        addGalleryCommand, addThumbnailCommand, addHelpCommand};

}  // namespace

void defineProgram(CLI::App& app, Invocation& invocation) {
    app.name("kpximage");
    app.description("Looks at DDS images and converts them.");
    app.set_version_flag("--version", KPX_VERSION, "Print the version and exit");
    app.add_option(
        "--plugin", invocation.pluginPath,
        "Plug-in file (else $KPX_PLUGIN, or KPXDDS.so in $KPX_PLUGIN_PATH, beside the program or installed)");
    app.footer("Exit status: 0 done, 1 a file failed, 2 wrong usage, 3 a file comes out as a black picture.");
    app.require_subcommand(1);
    app.fallthrough();  // --plugin may stand after the command
    for (const auto add : commands) add(app, invocation);
}

}  // namespace kpx::tool
