// kpximage: inspects, converts and repairs DDS images through the host and its plug-in.
#include <clocale>

#include "tools/commands/commands.h"
#include "tools/pictures/PixelSource.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

// Returns the outcome of a command, or reports what it throws.
Outcome runReporting(const std::function<Outcome()>& command) {
    try {
        return command();
    } catch (const UsageError& error) {
        printMessage(error.what());
        return Outcome::usage;
    } catch (const Interrupted&) {
        return Outcome::failed;
    } catch (const std::exception& error) {
        printMessage(error.what());
        return Outcome::failed;
    }
}

// Returns what is wrong with the command line. An unknown word comes first: it often explains what is missing.
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
        printMessage(complaint(app, error) + " (see --help)");
        return Outcome::usage;
    }
    return runReporting(invocation.run);
}

}  // namespace
}  // namespace kpx::tool

int main(int argc, char** argv) {
    using namespace kpx::tool;
    // Messages in the user's language and characters; numbers stay as in C.
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_MESSAGES, "");
    holdStandardStreams();
    keepMemoryBetweenPictures();
    noteInterrupts();
    const Outcome outcome = runReporting([&] { return runProgram(argc, argv); });
    endIfInterrupted();
    return static_cast<int>(flushOutput() ? outcome : worse(outcome, Outcome::failed));
}
