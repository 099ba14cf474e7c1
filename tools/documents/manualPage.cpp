// The page in roff, in the order of its sections.
#include "tools/documents/manualPage.h"

#include <string_view>

#include "explain/text.h"

namespace kpx::tool {
namespace {

struct Row {
    const char* name;
    const char* text;
};

constexpr Row exitStatuses[] = {
    {"0", "Done."},
    {"1", "A file failed; the others are done."},
    {"2", "Wrong usage; nothing is done."},
    {"3", "A file could be decoded only as the black picture that stands for it."},
};

constexpr Row searchOrder[] = {
    {"1", "The file that --plugin names."},
    {"2", "The file that KPX_PLUGIN names."},
    {"3", "KPXDDS.so in a folder of KPX_PLUGIN_PATH, from the first on."},
    {"4", "KPXDDS.so beside the program."},
    {"5", "KPXDDS.so in the folder of installed plug-ins, " KPX_PLUGIN_DIR
          ", or in the same place below the prefix to which the program has been moved."},
};

constexpr Row variables[] = {
    {"KPX_PLUGIN", "The plug-in's file."},
    {"KPX_PLUGIN_PATH", "Folders to look for the plug-in in, separated by colons."},
    {"KPX_CATALOG", "The message catalogue, a file or a name that NLSPATH leads to; else kpxbase.cat."},
    {"NLSPATH",
     "Where message catalogues lie, with %N for the name and %l for the language; else the system's folders. Below a "
     "prefix: PREFIX/share/locale/%l/LC_MESSAGES/%N."},
    {"LC_ALL, LC_MESSAGES, LANG", "The language of messages."},
};

// Text in which nothing is a request or an escape.
std::string roff(std::string_view text) {
    std::string result;
    if (text.starts_with('.') || text.starts_with('\'')) result = "\\&";
    for (const char c : text) {
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
    }
    return result;
}

std::string bold(std::string_view text) {
    return textOf("\\fB", roff(text), "\\fR");
}

std::string italic(std::string_view text) {
    return textOf("\\fI", roff(text), "\\fR");
}

void writeItem(std::ostream& out, const std::string& title, std::string_view text) {
    out << ".TP\n" << title << "\n" << roff(text) << "\n";
}

template <size_t size>
void writeRows(std::ostream& out, const Row (&rows)[size]) {
    for (const Row& row : rows) writeItem(out, bold(row.name), row.text);
}

void writeOption(std::ostream& out, const OptionFacts& option) {
    std::string title;
    for (const std::string& name : option.names) title += textOf(title.empty() ? "" : ", ", bold(name));
    if (option.isValueOptional) {
        title += textOf("[=", italic(option.value), "]");
    } else if (!option.value.empty()) {
        title += textOf(" ", italic(option.value));
    }
    std::string text = option.description;
    const char* separator = ". One of ";
    for (const std::string& choice : option.choices) {
        text += separator + choice;
        separator = ", ";
    }
    if (!option.range.empty()) text += ". From " + option.range;
    if (!option.defaultValue.empty()) text += ". By default " + option.defaultValue;
    writeItem(out, title, text + ".");
}

std::string argumentText(const ArgumentFacts& argument) {
    const std::string text = italic(argument.name) + (argument.isRepeated ? "..." : "");
    return argument.isRequired ? text : "[" + text + "]";
}

void writeCommand(std::ostream& out, const ProgramFacts& program, const CommandFacts& command) {
    out << ".SS " << roff(command.name) << "\n"
        << bold(program.name + " " + command.name) << " [" << italic("OPTION") << "]...";
    for (const ArgumentFacts& argument : command.arguments) {
        out << " " << argumentText(argument);
    }
    out << "\n.PP\n" << roff(command.description) << ".\n";
    for (const ArgumentFacts& argument : command.arguments) {
        writeItem(out, italic(argument.name), argument.description + ".");
    }
    for (const OptionFacts& option : command.options) writeOption(out, option);
    if (!command.note.empty()) out << ".PP\n" << roff(command.note) << "\n";
}

}  // namespace

void writeManualPage(std::ostream& out, const ProgramFacts& program) {
    out << ".TH KPXIMAGE 1 \"\" \"" << program.name << " " << roff(program.version) << "\" \"User Commands\"\n"
        << ".SH NAME\n"
        << program.name << " \\- look at DDS images and convert them\n"
        << ".SH SYNOPSIS\n"
        << bold(program.name) << " [" << bold("--plugin") << " " << italic("FILE") << "] " << italic("COMMAND") << " ["
        << italic("OPTION") << "]... [" << italic("FILE") << "]...\n"
        << ".SH DESCRIPTION\n"
        << roff(program.description) << " Files are read and written by a plug-in of the image library KPXbase.\n";
    out << ".SH COMMANDS\n";
    for (const CommandFacts& command : program.commands) writeCommand(out, program, command);
    out << ".SH OPTIONS\nThey may stand before the command or after it.\n";
    for (const OptionFacts& option : program.options) writeOption(out, option);
    out << ".SH EXIT STATUS\n";
    writeRows(out, exitStatuses);
    out << ".SH ENVIRONMENT\n";
    writeRows(out, variables);
    out << ".SH SEARCH ORDER\nThe plug-in is the first of these; " << bold("kpximage formats")
        << " says which was taken and why.\n";
    writeRows(out, searchOrder);
    out << ".SH SEE ALSO\nA guide by question, with examples and what they print: " << roff(KPX_GUIDE) << "\n";
}

}  // namespace kpx::tool
