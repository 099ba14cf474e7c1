// Which plug-in file the tool loads.
#pragma once

#include <memory>
#include <string>

#include "host/Plugin.h"

namespace kpx::tool {

// Loads the plug-in at `path`, or when that is empty the one that the environment variable KPX_PLUGIN names, or
// KPXDDS.so beside the program, or the installed one. Throws FileError or host::HostError.
std::unique_ptr<host::Plugin> loadPlugin(const std::string& path);

}  // namespace kpx::tool
