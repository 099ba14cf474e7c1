// kpximage: looks at DDS images and converts them, through the host and its plug-in.
#include <clocale>
#include <iostream>

#include "tools/commands/commands.h"
#include "tools/pictures/keptMemory.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

// What the command ended in, or how it could not start.
Outcome runReporting(const std::function<Outcome()>& command) {
    try {
        return command();
    } catch (const UsageError& error) {
        tell(error.what());
        return Outcome::usage;
    } catch (const Interrupted&) {
        return Outcome::failed;
    } catch (const std::exception& error) {
        tell(error.what());
        return Outcome::failed;
    }
}

// What is wrong with the command line. A word that nothing knows comes before what else is missing, which would often
// be there if the word were spelt well.
std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    if (!unknown.empty() && unknown.front().starts_with('-')) return "there is no option \"" + unknown.front() + "\"";
    if (!unknown.empty() && app.get_subcommands().empty()) return "there is no command \"" + unknown.front() + "\"";
    return error.what();
}

Outcome runProgram(int argc, char** argv) {
    CLI::App app;
    Invocation invocation;
    defineProgram(app, invocation);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        app.exit(help);
        return Outcome::done;
    } catch (const CLI::ParseError& error) {
        tell(complaint(app, error) + " (--help tells more)");
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
    keepMemoryBetweenPictures();
    noteInterrupts();
    const Outcome outcome = runReporting([&] { return runProgram(argc, argv); });
    endIfInterrupted();
    return static_cast<int>(flushOutput() ? outcome : worse(outcome, Outcome::failed));
}
