// The plug-in's options for writing, chosen by the names in its own table.
#pragma once

#include <string>

#include "host/ImageWriter.h"
#include "host/Plugin.h"

namespace kpx::tool {

// Returns the choice named by "NAME=VALUE": names as the plug-in has or translates them, in any case. Throws UsageError
// with the names that exist.
host::OptionChoice optionChoice(const host::Plugin& plugin, const std::string& text);

}  // namespace kpx::tool
