// Options and values by their own names or their translations, in upper or lower case.
#include "tools/pictures/pluginOptions.h"

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

const host::Option& findOption(const host::Plugin& plugin, const std::string& name) {
    for (const host::Option& option : plugin.options()) {
        if (sameWord(option.defaultName, name)) return option;
    }
    throw UsageError("the plug-in has no option \"" + name + "\"");
}

const host::OptionValue& findValue(const host::Option& option, const std::string& name) {
    std::string known;
    for (const host::OptionValue& value : option.values) {
        if (sameWord(value.name, name) || sameWord(value.defaultName, name)) return value;
        known += (known.empty() ? "\"" : ", \"") + value.name + "\"";
    }
    throw UsageError("\"" + name + "\" is no value of " + option.name + "; there are " + known);
}

}  // namespace kpx::tool
