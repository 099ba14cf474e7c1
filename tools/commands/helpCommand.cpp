// kpximage help: what --help prints, of the program or of a command.
#include <iostream>

#include "tools/commands/commands.h"

namespace kpx::tool {
namespace {

void printHelp(const CLI::App& app, const std::string& commandName) {
    if (!commandName.empty()) {
        std::cout << app.get_subcommand(commandName)->help(app.get_name());
        return;
    }
    // The program's own text: help() would give that of the command `help`, which has been chosen.
    std::cout << app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
}

}  // namespace

void addHelpCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("help", "Show the commands, or the options of one");
    auto name = std::make_shared<std::string>();
    std::vector<std::string> names;
    for (const CLI::App* each : app.get_subcommands(nullptr)) names.push_back(each->get_name());
    command->add_option("COMMAND", *name, "Command to show")->check(CLI::IsMember(names));
    command->callback([&app, &invocation, name] {
        invocation.run = [&app, name] {
            printHelp(app, *name);
            return Outcome::done;
        };
    });
}

}  // namespace kpx::tool
