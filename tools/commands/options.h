// What several commands have in common: how they are added to the program, and their options.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "explain/Explanation.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/files/OutputPlaces.h"

namespace kpx::tool {

// A command as it is being added: its parser, and the arguments that the parser fills.
template <typename Arguments>
struct Command {
    CLI::App& app;
    Arguments& arguments;
};

// Adds a command that calls run(pluginPath, arguments).
template <typename Arguments>
Command<Arguments> addCommand(CLI::App& program, Invocation& invocation, const std::string& name,
                              const std::string& description,
                              Outcome (*run)(const std::string& pluginPath, const Arguments& arguments)) {
    CLI::App* command = program.add_subcommand(name, description);
    auto arguments = std::make_shared<Arguments>();
    command->callback([&invocation, arguments, run] {
        invocation.run = [&invocation, arguments, run] { return run(invocation.pluginPath, *arguments); };
    });
    return {*command, *arguments};
}

// Adds an option that takes one of the words, each of which stands for a value.
template <typename Value>
void addChoice(CLI::App& command, const std::string& name, Value& value,
               const std::vector<std::pair<std::string, Value>>& choices, const std::string& help) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const auto& choice : choices) words.push_back(choice.first);
    const auto choose = [&value, choices](const std::string& word) {
        for (const auto& choice : choices) {
            if (choice.first == word) value = choice.second;
        }
    };
    command.add_option_function<std::string>(name, choose, help)->check(CLI::IsMember(words));
}

// Adds --exposure; `auto` is no value.
void addExposure(CLI::App& command, std::optional<double>& stops, const std::string& help);

// The arguments of commands that write files.
struct OutputOptions {
    std::string output;
    Replacing replacing;

    void addTo(CLI::App& command, const std::string& whatItIs);
};

// The arguments of info and explain.
struct ListOptions {
    BatchOptions batch;
    bool json = false, isStrict = false;
    Grade only = Grade::right;  // this grade or a worse one

    void addTo(CLI::App& command);
};

// Runs the work on every input and reports failures as JSON, too, if that is asked for.
Outcome runJsonBatch(const InputFiles& inputs, const BatchOptions& options, bool json, const Work& work);

// Prints the JSON or the text of a file and returns its outcome. Throws FileError.
Outcome list(const ListOptions& options, const Explanation& file, const std::string& text, Report& report);

}  // namespace kpx::tool
