// The places are tried in their order; the first that has the plug-in is it.
#include "tools/commands/pluginChoice.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <vector>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* pluginFile = "KPXDDS.so";

std::string environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

struct Folder {
    fs::path path;
    const char* place;
};

std::vector<Folder> searchedFolders() {
    std::vector<Folder> folders;
    std::istringstream list(environment("KPX_PLUGIN_PATH"));
    for (std::string folder; std::getline(list, folder, ':');) {
        // An empty element would be the current folder, which may be anybody's.
        if (!folder.empty()) folders.push_back({folder, "KPX_PLUGIN_PATH"});
    }
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
    folders.push_back({program, "beside the program"});
    folders.push_back({(program / KPX_PLUGIN_DIR_FROM_PROGRAM).lexically_normal(), "the installed place"});
    folders.push_back({KPX_PLUGIN_DIR, "the installed place"});
    return folders;
}

}  // namespace

PluginChoice choosePlugin(const std::string& option) {
    // A bare file name would be searched for in the system's library folders.
    if (!option.empty()) return {fs::absolute(option), "--plugin"};
    const std::string named = environment("KPX_PLUGIN");
    if (!named.empty()) return {fs::absolute(named), "KPX_PLUGIN"};
    std::string missing;
    for (const Folder& folder : searchedFolders()) {
        std::error_code error;
        const fs::path file = fs::absolute(folder.path / pluginFile);
        if (fs::exists(file, error)) return {file, folder.place};
        missing += (missing.empty() ? "" : ", ") + file.string();
    }
    throw FileError("found no plug-in: there is none of " + missing + "; name one with --plugin or in KPX_PLUGIN");
}

std::unique_ptr<host::Plugin> loadPlugin(const std::string& option) {
    return std::make_unique<host::Plugin>(choosePlugin(option).path);
}

}  // namespace kpx::tool
