// The plug-in's options for writing, chosen by the names in its own table.
#pragma once

#include <string>

#include "host/ImageWriter.h"
#include "host/Plugin.h"

namespace kpx::tool {

// Returns the choice that "NAME=VALUE" means. Throws UsageError with the names that there are.
host::OptionChoice optionChoice(const host::Plugin& plugin, const std::string& text);

// Finds an option by the plug-in's own name of it. Throws UsageError.
const host::Option& findOption(const host::Plugin& plugin, const std::string& name);

// Finds a value by the name shown to the user or by the plug-in's own, in upper or lower case. Throws UsageError
// with the names that there are.
const host::OptionValue& findValue(const host::Option& option, const std::string& name);

}  // namespace kpx::tool
