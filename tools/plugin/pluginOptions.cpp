// Options and values by their own names or translations, in any case.
#include "tools/plugin/pluginChoice.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <vector>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

bool sameWord(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

// Finds an option or a value. Throws UsageError with the names that exist.
template <typename Item>
const Item& find(const std::vector<Item>& items, const std::string& name, const std::string& refusal) {
    std::string known;
    for (const Item& item : items) {
        if (sameWord(item.name, name) || sameWord(item.defaultName, name)) return item;
        known += (known.empty() ? "\"" : ", \"") + item.name + "\"";
    }
    throw UsageError(refusal + known);
}

}  // namespace

host::OptionChoice optionChoice(const host::Plugin& plugin, const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos) throw UsageError("--option " + text + ": NAME=VALUE is expected");
    const std::string name = text.substr(0, sign), value = text.substr(sign + 1);
    const host::Option& option = find(plugin.options(), name, "the plug-in has no option \"" + name + "\"; it has ");
    return {
        option.code,
        static_cast<std::uint8_t>(
            find(option.values, value, "\"" + value + "\" is not a value of " + option.name + "; use one of ").code)};
}

}  // namespace kpx::tool
