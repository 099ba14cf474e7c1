// Which plug-in file is loaded, and its options for writing.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "host/ImageWriter.h"
#include "host/Plugin.h"

namespace kpx::tool {

struct PluginChoice {
    std::string path;   // absolute
    std::string place;  // how it was found, for the user
};

// What searches for a plug-in: a program, or a module in one.
struct Searcher {
    std::filesystem::path folder;     // that contains it
    const char* beside;               // the user's name of that folder: "beside the program"
    std::filesystem::path installed;  // the folder of installed plug-ins, relative to it
    const char* naming;               // how the user names a plug-in: "with --plugin or in KPX_PLUGIN"
};

// Returns the running program kpximage.
Searcher program();

// Returns the first of: the file named by `option`; the file named by the environment variable KPX_PLUGIN; KPXDDS.so in
// a folder of KPX_PLUGIN_PATH, beside the searcher, in the installed place relative to the searcher, and in that of the
// build. A named file need not exist. Throws FileError.
PluginChoice choosePlugin(const std::string& option, const Searcher& searcher = program());

// Loads the chosen plug-in. Throws FileError or host::HostError.
std::unique_ptr<host::Plugin> loadPlugin(const std::string& option);

// Returns the choice named by "NAME=VALUE": names as the plug-in has or translates them, in any case. Throws UsageError
// with the names that exist.
host::OptionChoice optionChoice(const host::Plugin& plugin, const std::string& text);

}  // namespace kpx::tool
