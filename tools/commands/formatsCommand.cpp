// kpximage formats: the plug-in, its options, and the formats that its reader decodes.
#include <iomanip>
#include <iostream>

#include "dds/formatTable.h"
#include "explain/names.h"
#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/json/fileJson.h"
#include "tools/plugin/pluginChoice.h"

namespace kpx::tool {
namespace {

void printOption(const host::Option& option) {
    std::cout << "  " << option.name << ":";
    const char* separator = " ";
    for (const host::OptionValue& value : option.values) {
        std::cout << separator << value.name << " (" << value.code << ")";
        separator = ", ";
    }
    std::cout << "\n";
}

std::string headerText(const Format& format) {
    switch (format.namedBy) {
        case NamedBy::code:
            return "code " + codeText(format.id);
        case NamedBy::dxgi:
            return "DXGI " + std::to_string(format.id);
        case NamedBy::palette:
            return "palette flag " + hex(format.id);
        case NamedBy::masks:
        case NamedBy::flags:
            break;
    }
    const Masks& masks = format.masks;
    if (masks == Masks{}) return "masks";
    return "masks " + hex(masks.r) + " " + hex(masks.g) + " " + hex(masks.b) + " " + hex(masks.a);
}

// Returns the channels that the host gets.
std::string channelText(const Format& format) {
    return channelCount(format) + (layoutRow(format.layout).isFloat ? " x 32-bit float" : " x 8-bit");
}

void printFormats() {
    std::cout << std::left << std::setw(28) << "format" << std::setw(50) << "named in the header by"
              << "channels\n";
    for (const Format& format : formatTable()) {
        std::cout << std::setw(28) << format.name << std::setw(50) << headerText(format) << channelText(format) << "\n";
    }
}

Json formatsAsJson() {
    Json formats = Json::array();
    for (const Format& format : formatTable())
        formats.push_back({{"name", format.name}, {"namedBy", headerText(format)}, {"channels", channelText(format)}});
    return formats;
}

Json optionsAsJson(const host::Plugin& plugin) {
    Json options = Json::array();
    for (const host::Option& option : plugin.options()) {
        Json values = Json::array();
        for (const host::OptionValue& value : option.values) values.push_back(value.defaultName);
        options.push_back({{"name", option.defaultName}, {"values", values}});
    }
    return options;
}

struct Arguments {
    bool json = false;
};

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    const PluginChoice choice = choosePlugin(pluginPath);
    const host::Plugin plugin(choice.path);
    if (arguments.json) {
        std::cout << jsonText({{"plugin", choice.path},
                               {"place", choice.place},
                               {"writes", plugin.canWrite()},
                               {"options", optionsAsJson(plugin)},
                               {"formats", formatsAsJson()}})
                  << "\n";
        return Outcome::done;
    }
    std::cout << "plug-in: " << choice.path << "\nfound by: " << choice.place
              << "\nwrites: " << (plugin.canWrite() ? "yes" : "no") << "\noptions:\n";
    for (const host::Option& option : plugin.options()) printOption(option);
    std::cout << "\n";
    printFormats();
    return Outcome::done;
}

}  // namespace

void addFormatsCommand(CLI::App& app, Invocation& invocation) {
    const auto command =
        addCommand(app, invocation, "formats", "Show the plug-in, its options and the formats it reads", run);
    command.app.add_flag("--json", command.arguments.json, "Print one JSON object");
}

}  // namespace kpx::tool
