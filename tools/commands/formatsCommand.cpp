// kpximage formats: what the plug-in says of itself, and the formats that its reader knows.
#include <iomanip>
#include <iostream>

#include "dds/formatTable.h"
#include "explain/formatNames.h"
#include "explain/text.h"
#include "tools/commands/commands.h"
#include "tools/pictures/pluginChoice.h"

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

// What the host gets of the format.
std::string channelText(const Format& format) {
    const std::string count = format.channels == 0 ? "1 to 4" : std::to_string(format.channels);
    return count + (layoutRow(format.layout).isFloat ? " x 32-bit float" : " x 8-bit");
}

void printFormats() {
    std::cout << std::left << std::setw(28) << "format" << std::setw(50) << "named in the header by"
              << "channels\n";
    for (const Format& format : formatTable()) {
        std::cout << std::setw(28) << format.name << std::setw(50) << headerText(format) << channelText(format) << "\n";
    }
}

Outcome run(const std::string& pluginPath) {
    const PluginChoice choice = choosePlugin(pluginPath);
    const host::Plugin plugin(choice.path);
    std::cout << "plug-in: " << choice.path << "\nfound by: " << choice.place << "\n";
    for (const auto& [name, value] : plugin.descriptor()) std::cout << name << ": " << value << "\n";
    std::cout << "writes: " << (plugin.canWrite() ? "yes" : "no") << "\noptions:\n";
    for (const host::Option& option : plugin.options()) printOption(option);
    std::cout << "\n";
    printFormats();
    return Outcome::done;
}

}  // namespace

void addFormatsCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand("formats",
                                           "Show which plug-in is loaded and what it says of itself, "
                                           "and the formats that it reads");
    command->callback([&invocation] { invocation.run = [&invocation] { return run(invocation.pluginPath); }; });
}

}  // namespace kpx::tool
