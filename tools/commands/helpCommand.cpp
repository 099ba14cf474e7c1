// kpximage help: what --help prints, of the program or of a command.
#include <iostream>

#include "tools/commands/options.h"

namespace kpx::tool {
namespace {

struct Arguments {
    const CLI::App* program = nullptr;
    std::string command;  // empty: the program itself
};

Outcome run(const std::string& /*pluginPath*/, const Arguments& arguments) {
    const CLI::App& program = *arguments.program;
    // For the program, help() would return the text of the chosen command, `help`.
    std::cout << (arguments.command.empty()
                      ? program.get_formatter()->make_help(&program, program.get_name(), CLI::AppFormatMode::Normal)
                      : program.get_subcommand(arguments.command)->help(program.get_name()));
    return Outcome::done;
}

}  // namespace

void addHelpCommand(CLI::App& app, Invocation& invocation) {
    const auto command = addCommand(app, invocation, "help", "Show all commands, or a command's options", run);
    command.arguments.program = &app;
    std::vector<std::string> names;
    for (const CLI::App* each : app.get_subcommands(nullptr)) names.push_back(each->get_name());
    command.app.add_option("COMMAND", command.arguments.command, "Command to show")->check(CLI::IsMember(names));
}

}  // namespace kpx::tool
