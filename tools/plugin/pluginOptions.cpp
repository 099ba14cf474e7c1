// Options and values by their own names or their translations, in upper or lower case.
#include "tools/plugin/pluginOptions.h"

#include <algorithm>
#include <cctype>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

bool sameWord(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

}  // namespace

host::OptionChoice optionChoice(const host::Plugin& plugin, const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos) throw UsageError("--option " + text + ": NAME=VALUE is expected");
    const host::Option& option = findOption(plugin, text.substr(0, sign));
    return {option.code, static_cast<uint8_t>(findValue(option, text.substr(sign + 1)).code)};
}

const host::Option& findOption(const host::Plugin& plugin, const std::string& name) {
    for (const host::Option& option : plugin.options()) {
        if (sameWord(option.defaultName, name)) return option;
    }
    std::string known;
    for (const host::Option& option : plugin.options())
        known += (known.empty() ? "\"" : ", \"") + option.defaultName + "\"";
    throw UsageError("the plug-in has no option \"" + name + "\"; it has " + known);
}

const host::OptionValue& findValue(const host::Option& option, const std::string& name) {
    std::string known;
    for (const host::OptionValue& value : option.values) {
        if (sameWord(value.name, name) || sameWord(value.defaultName, name)) return value;
        known += (known.empty() ? "\"" : ", \"") + value.name + "\"";
    }
    throw UsageError("\"" + name + "\" is not a value of " + option.name + "; use one of " + known);
}

}  // namespace kpx::tool
