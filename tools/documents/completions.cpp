// A script for each of the shells, made of the same facts.
#include "tools/documents/completions.h"

#include <string>
#include <string_view>

#include "explain/text.h"

namespace kpx::tool {
namespace {

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

std::vector<std::string> commandNames(const ProgramFacts& program) {
    std::vector<std::string> names;
    for (const CommandFacts& command : program.commands) names.push_back(command.name);
    return names;
}

std::vector<std::string> optionNames(const std::vector<OptionFacts>& options) {
    std::vector<std::string> names;
    for (const OptionFacts& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

bool takesNextWord(const OptionFacts& option) {
    return !option.value.empty() && !option.isValueOptional;
}

// The text with a backslash before each of the characters.
std::string escaped(std::string_view text, std::string_view characters) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos) result += '\\';
        result += c;
    }
    return result;
}

// In single quotes, as bash and zsh read them.
std::string quoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            result += c;
        }
    }
    return result + "'";
}

// Cases of "command:option" with the values that may follow; nothing more means files.
void writeBashValues(std::ostream& out, const std::string& command, const std::vector<OptionFacts>& options) {
    for (const OptionFacts& option : options) {
        if (!takesNextWord(option)) continue;
        std::vector<std::string> cases;
        for (const std::string& name : option.names) cases.push_back(textOf(command, ":", name));
        out << "    " << joined(cases, " | ") << ") words=" << quoted(joined(option.choices, " ")) << " ;;\n";
    }
}

// What may stand where the command takes words that are no files; empty: files.
std::vector<std::string> argumentChoices(const CommandFacts& command) {
    return command.arguments.empty() ? std::vector<std::string>() : command.arguments.front().choices;
}

std::string zshOption(const OptionFacts& option) {
    std::string names = option.names.front();
    if (option.names.size() > 1) names = textOf("{", joined(option.names, ","), "}");
    std::string text =
        (option.isValueOptional ? "=-[" : "[") + escaped(shortDescription(option.description), "[]\\:") + "]";
    if (!option.value.empty()) {
        text += option.isValueOptional ? "::" : ":";
        text +=
            option.value + ":" + (option.choices.empty() ? "_files" : textOf("(", joined(option.choices, " "), ")"));
    }
    return (option.names.size() > 1 ? names + quoted(text) : quoted(names + text));
}

void writeZshOptions(std::ostream& out, const std::vector<OptionFacts>& options) {
    for (const OptionFacts& option : options) out << " \\\n          " << zshOption(option);
}

// In single quotes, as fish reads them.
std::string fishQuoted(std::string_view text) {
    return textOf("'", escaped(text, "'\\"), "'");
}

void writeFishOptions(std::ostream& out, const std::string& program, const std::string& condition,
                      const std::vector<OptionFacts>& options) {
    for (const OptionFacts& option : options) {
        out << "complete -c " << program << condition;
        for (const std::string& name : option.names) {
            out << (name.starts_with("--") ? " -l " : " -s ") << name.substr(name.find_first_not_of('-'));
        }
        if (takesNextWord(option)) out << (option.choices.empty() ? " -r -F" : " -x");
        if (!option.choices.empty()) out << " -a " << fishQuoted(joined(option.choices, " "));
        out << " -d " << fishQuoted(shortDescription(option.description)) << "\n";
    }
}

}  // namespace

void writeBashCompletion(std::ostream& out, const ProgramFacts& program) {
    out << "# Completion of " << program.name << " in bash.\n"
        << "_" << program.name << "() {\n"
        << "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' words='' "
           "word\n"
        << "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD - 1}\"; do\n"
        << "        case $word in " << joined(commandNames(program), " | ") << ")\n"
        << "            command=$word\n            break\n            ;;\n        esac\n    done\n"
        << "    COMPREPLY=()\n"
        << "    case $command:$previous in\n";
    writeBashValues(out, "*", program.options);
    for (const CommandFacts& command : program.commands) {
        writeBashValues(out, command.name, command.options);
        const std::vector<std::string> choices = argumentChoices(command);
        if (choices.empty()) continue;
        out << "    " << command.name << ":" << command.name << ") words=" << quoted(joined(choices, " ")) << " ;;\n";
    }
    const std::string general = joined(optionNames(program.options), " ");
    out << "    :*) words=" << quoted(joined(commandNames(program), " ") + " " + general) << " ;;\n"
        << "    *) case $current in -*) case $command in\n";
    for (const CommandFacts& command : program.commands) {
        out << "        " << command.name
            << ") words=" << quoted(joined(optionNames(command.options), " ") + " " + general) << " ;;\n";
    }
    out << "        esac ;; esac ;;\n    esac\n"
        << "    [[ -z $words ]] || mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
        << "}\n"
        << "complete -o bashdefault -o default -F _" << program.name << " " << program.name << "\n";
}

void writeZshCompletion(std::ostream& out, const ProgramFacts& program) {
    out << "#compdef " << program.name << "\n# Completion of " << program.name << " in zsh.\n"
        << "_" << program.name << "() {\n"
        << "  local curcontext=$curcontext state line\n  typeset -A opt_args\n  local -a commands=(\n";
    for (const CommandFacts& command : program.commands) {
        out << "    " << quoted(command.name + ":" + escaped(shortDescription(command.description), ":\\")) << "\n";
    }
    out << "  )\n  _arguments -C";
    writeZshOptions(out, program.options);
    out << " \\\n          '1:command:->command' '*::argument:->argument'\n"
        << "  case $state in\n    command) _describe command commands ;;\n    argument)\n      case $line[1] in\n";
    for (const CommandFacts& command : program.commands) {
        out << "        " << command.name << ")\n          _arguments";
        writeZshOptions(out, command.options);
        const std::vector<std::string> choices = argumentChoices(command);
        const std::string argument = choices.empty() ? "*:file:_files" : "1:command:(" + joined(choices, " ") + ")";
        out << " \\\n          " << quoted(argument) << "\n          ;;\n";
    }
    out << "      esac\n      ;;\n  esac\n}\n_" << program.name << " \"$@\"\n";
}

void writeFishCompletion(std::ostream& out, const ProgramFacts& program) {
    out << "# Completion of " << program.name << " in fish.\n";
    writeFishOptions(out, program.name, "", program.options);
    for (const CommandFacts& command : program.commands) {
        out << "complete -c " << program.name << " -n __fish_use_subcommand -f -a " << command.name << " -d "
            << fishQuoted(shortDescription(command.description)) << "\n";
        const std::string condition = " -n '__fish_seen_subcommand_from " + command.name + "'";
        writeFishOptions(out, program.name, condition, command.options);
        const std::vector<std::string> choices = argumentChoices(command);
        if (choices.empty()) continue;
        out << "complete -c " << program.name << condition << " -f -a " << fishQuoted(joined(choices, " ")) << "\n";
    }
}

}  // namespace kpx::tool
