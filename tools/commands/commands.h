// The commands of the program: each adds itself to the parser.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "tools/terminal/Outcome.h"

namespace kpx::tool {

// What the parser leaves for the program to do.
struct Invocation {
    std::string pluginPath;        // empty: the usual place
    std::function<Outcome()> run;  // the chosen command with its arguments
};

// Defines all commands and options. The invocation must outlive the parser.
void defineProgram(CLI::App& app, Invocation& invocation);

void addFormatsCommand(CLI::App& app, Invocation& invocation);
void addExplainCommand(CLI::App& app, Invocation& invocation);
void addGalleryCommand(CLI::App& app, Invocation& invocation);
void addHelpCommand(CLI::App& app, Invocation& invocation);
void addInfoCommand(CLI::App& app, Invocation& invocation);
void addConvertCommand(CLI::App& app, Invocation& invocation);
void addRepairCommand(CLI::App& app, Invocation& invocation);
void addRecodeCommand(CLI::App& app, Invocation& invocation);
void addSplitCommand(CLI::App& app, Invocation& invocation);
void addThumbnailCommand(CLI::App& app, Invocation& invocation);

}  // namespace kpx::tool
