// Which plug-in file is loaded.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "host/Plugin.h"

namespace kpx::tool {

struct PluginChoice {
    std::string path;   // absolute
    std::string place;  // what led to it, for the user
};

// What looks for a plug-in: a program, or a module that a program has loaded.
struct Searcher {
    std::filesystem::path folder;     // that it lies in
    const char* beside;               // what the user knows that folder as: "beside the program"
    std::filesystem::path installed;  // the folder of installed plug-ins, seen from there
    const char* naming;               // how the user names a plug-in: "with --plugin or in KPX_PLUGIN"
};

// The running program kpximage.
Searcher program();

// The first of: the file that `option` names, unless empty; the file that the environment variable KPX_PLUGIN names;
// and KPXDDS.so in a folder of the list KPX_PLUGIN_PATH, beside the searcher, and where plug-ins are installed, seen
// from the searcher and then from the prefix of the build. A named file is taken whether it exists or not. Throws
// FileError.
PluginChoice choosePlugin(const std::string& option, const Searcher& searcher = program());

// Loads the chosen plug-in. Throws FileError or host::HostError.
std::unique_ptr<host::Plugin> loadPlugin(const std::string& option);

}  // namespace kpx::tool
