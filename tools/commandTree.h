// The program's commands and options as the parser knows them, for the documents that are made of them.
#pragma once

#include <string>
#include <vector>

namespace kpx::tool {

struct OptionFacts {
    std::vector<std::string> names;    // "-s", "--size"
    std::string value;                 // what stands for its value: "FORMAT"; empty: it takes none
    bool isValueOptional;              // the value may be left out, and else follows "="
    std::vector<std::string> choices;  // the only values, where they are limited
    std::string description;
};

struct ArgumentFacts {
    std::string name;
    bool isRepeated;
    std::string description;
};

struct CommandFacts {
    std::string name;
    std::string description;
    std::vector<ArgumentFacts> arguments;  // all of them files
    std::vector<OptionFacts> options;
};

struct ProgramFacts {
    std::string name, description, version;
    std::vector<OptionFacts> options;  // which may also stand after a command
    std::vector<CommandFacts> commands;
};

ProgramFacts programFacts();

// A description up to the end of its first sentence, for lists.
std::string shortDescription(const std::string& description);

}  // namespace kpx::tool
