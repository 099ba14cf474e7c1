// kpximage: looks at DDS images and converts them, through the host and its plug-in.
#include <clocale>
#include <iostream>

#include "tools/commands.h"
#include "tools/console.h"
#include "tools/errors.h"

namespace kpx::tool {
namespace {

constexpr void (*commands[])(CLI::App&, Invocation&) = {addFormatsCommand, addInfoCommand,   addExplainCommand,
                                                        addConvertCommand, addRepairCommand, addSplitCommand};

// What the command ended in, or how it could not start.
Outcome runReporting(const std::function<Outcome()>& command) {
    try {
        return command();
    } catch (const UsageError& error) {
        tell(error.what());
        return Outcome::usage;
    } catch (const std::exception& error) {
        tell(error.what());
        return Outcome::failed;
    }
}

Outcome runProgram(int argc, char** argv) {
    CLI::App app("Looks at DDS images and converts them.", "kpximage");
    Invocation invocation;
    app.set_version_flag("--version", KPX_VERSION);
    app.add_option(
        "--plugin", invocation.pluginPath,
        "Plug-in file (else $KPX_PLUGIN, or KPXDDS.so in $KPX_PLUGIN_PATH, beside the program or installed)");
    app.footer("Exit status: 0 done, 1 a file failed, 2 wrong usage, 3 a file comes out as a black picture.");
    app.require_subcommand(1);
    app.fallthrough();  // --plugin may stand after the command
    for (const auto add : commands) add(app, invocation);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        app.exit(help);
        return Outcome::done;
    } catch (const CLI::ParseError& error) {
        tell(std::string(error.what()) + " (--help tells more)");
        return Outcome::usage;
    }
    return runReporting(invocation.run);
}

}  // namespace
}  // namespace kpx::tool

int main(int argc, char** argv) {
    using namespace kpx::tool;
    // The user's language of messages, in the user's characters. Numbers keep their form.
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_MESSAGES, "");
    holdStandardStreams();
    const Outcome outcome = runReporting([&] { return runProgram(argc, argv); });
    return static_cast<int>(flushOutput() ? outcome : worse(outcome, Outcome::failed));
}
