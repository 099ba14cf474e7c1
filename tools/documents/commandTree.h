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
    std::string range;                 // of numbers: "1 to 256"; empty: any
    std::string defaultValue;          // empty: none
    std::string description;
};

struct ArgumentFacts {
    std::string name;
    bool isRepeated, isRequired;
    std::vector<std::string> choices;  // the only values; none: a file
    std::string description;
};

struct CommandFacts {
    std::string name;
    std::string description;
    std::vector<ArgumentFacts> arguments;
    std::vector<OptionFacts> options;
    std::string note;  // what its help ends with, where that is its own
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
