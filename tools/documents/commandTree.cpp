// The facts are read from the parser, so that no document says anything else.
#include "tools/documents/commandTree.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "tools/commands/commands.h"

namespace kpx::tool {
namespace {

// The parser names choices in the type: "TEXT:{png,exr,dds}".
std::vector<std::string> choicesIn(const std::string& typeName) {
    std::vector<std::string> choices;
    const size_t start = typeName.find('{');
    const size_t end = typeName.rfind('}');
    if (start == std::string::npos || end == std::string::npos) return choices;
    std::istringstream list(typeName.substr(start + 1, end - start - 1));
    for (std::string choice; std::getline(list, choice, ',');) choices.push_back(choice);
    return choices;
}

// The parser names a range in the type: "INT:INT in [1 - 256]" gives "1 to 256".
std::string rangeIn(const std::string& typeName) {
    const size_t start = typeName.find(" in [");
    if (start == std::string::npos) return "";
    std::string range = typeName.substr(start + 5, typeName.rfind(']') - start - 5);
    return range.replace(range.find(" - "), 3, " to ");
}

// "--normal-z" gives NORMAL_Z.
std::string valueName(std::string name) {
    name.erase(0, name.find_first_not_of('-'));
    for (char& c : name) c = c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

OptionFacts factsOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    OptionFacts facts{
        {}, "", false, choicesIn(type), rangeIn(type), option.get_default_str(), option.get_description()};
    for (const std::string& name : option.get_snames()) facts.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) facts.names.push_back("--" + name);
    const bool isFlag = option.get_expected_min() == 0;
    facts.isValueOptional = isFlag && !facts.choices.empty();
    if (!isFlag || facts.isValueOptional) facts.value = valueName(facts.names.back());
    return facts;
}

std::vector<OptionFacts> optionsOf(const CLI::App& app) {
    std::vector<OptionFacts> all;
    for (const CLI::Option* option : app.get_options()) {
        // Every command has --help, which is told once, of the program.
        const bool isRepeated = app.get_parent() != nullptr && option == app.get_help_ptr();
        if (option->nonpositional() && !isRepeated) all.push_back(factsOf(*option));
    }
    return all;
}

CommandFacts factsOf(const CLI::App& command) {
    CommandFacts facts{command.get_name(), command.get_description(), {}, optionsOf(command), ""};
    // A command without a footer of its own has the program's.
    if (command.get_footer() != command.get_parent()->get_footer()) facts.note = command.get_footer();
    for (const CLI::Option* option : command.get_options()) {
        if (!option->get_positional()) continue;
        facts.arguments.push_back({option->get_name(true), option->get_items_expected_max() > 1, option->get_required(),
                                   choicesIn(option->get_type_name()), option->get_description()});
    }
    return facts;
}

}  // namespace

ProgramFacts programFacts() {
    CLI::App app;
    Invocation invocation;
    defineProgram(app, invocation);
    ProgramFacts facts{app.get_name(), app.get_description(), app.version(), optionsOf(app), {}};
    for (const CLI::App* command : app.get_subcommands(nullptr)) facts.commands.push_back(factsOf(*command));
    return facts;
}

std::string shortDescription(const std::string& description) {
    return description.substr(0, std::min(description.find(". "), description.find("; ")));
}

}  // namespace kpx::tool
