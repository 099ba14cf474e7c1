// Which plug-in file the tool loads.
#pragma once

#include <memory>
#include <string>

#include "host/Plugin.h"

namespace kpx::tool {

struct PluginChoice {
    std::string path;   // absolute
    std::string place;  // what led to it, for the user
};

// The first of: the file that `option` names, unless empty; the file that the environment variable KPX_PLUGIN names;
// and KPXDDS.so in a folder of the list KPX_PLUGIN_PATH, beside the program, and where plug-ins are installed, seen
// from the program and then from the prefix of the build. A named file is taken whether it exists or not. Throws
// FileError.
PluginChoice choosePlugin(const std::string& option);

// Loads the chosen plug-in. Throws FileError or host::HostError.
std::unique_ptr<host::Plugin> loadPlugin(const std::string& option);

}  // namespace kpx::tool
