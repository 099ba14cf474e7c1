// The list of commands, and the options of the program.
#include "tools/commands/commands.h"

namespace kpx::tool {
namespace {

constexpr void (*commands[])(CLI::App&, Invocation&) = {
    addInfoCommand,  addExplainCommand, addConvertCommand,   addRepairCommand,  addRecodeCommand,
    addSplitCommand, addGalleryCommand, addThumbnailCommand, addFormatsCommand, addHelpCommand};

}  // namespace

void defineProgram(CLI::App& app, Invocation& invocation) {
    app.name("kpximage");
    app.description("Inspects, converts and repairs DDS images.");
    app.set_version_flag("--version", KPX_VERSION, "Print the version and exit");
    app.add_option("--plugin", invocation.pluginPath,
                   "Plug-in file (default: $KPX_PLUGIN; else KPXDDS.so in $KPX_PLUGIN_PATH, the program's folder, the "
                   "install folder)");
    app.footer(exitStatuses);
    app.require_subcommand(1);
    app.fallthrough();  // --plugin may follow the command
    for (const auto add : commands) add(app, invocation);
}

}  // namespace kpx::tool
