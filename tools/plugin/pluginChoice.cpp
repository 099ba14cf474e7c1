// Places are tried in order; the first plug-in found is chosen.
#include "tools/plugin/pluginChoice.h"

#include <cstdlib>
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

std::vector<Folder> searchedFolders(const Searcher& searcher) {
    std::vector<Folder> folders;
    std::istringstream list(environment("KPX_PLUGIN_PATH"));
    for (std::string folder; std::getline(list, folder, ':');) {
        // An empty element would be the current folder, which may belong to anybody.
        if (!folder.empty()) folders.push_back({folder, "KPX_PLUGIN_PATH"});
    }
    folders.push_back({searcher.folder, searcher.beside});
    folders.push_back({(searcher.folder / searcher.installed).lexically_normal(), "the installed place"});
    folders.push_back({KPX_PLUGIN_DIR, "the installed place"});
    return folders;
}

}  // namespace

Searcher program() {
    std::error_code error;
    return {fs::read_symlink("/proc/self/exe", error).parent_path(), "beside the program", KPX_PLUGIN_DIR_FROM_PROGRAM,
            "with --plugin or in KPX_PLUGIN"};
}

PluginChoice choosePlugin(const std::string& option, const Searcher& searcher) {
    // A bare file name would be searched for in the system's library folders.
    if (!option.empty()) return {fs::absolute(option), "--plugin"};
    const std::string named = environment("KPX_PLUGIN");
    if (!named.empty()) return {fs::absolute(named), "KPX_PLUGIN"};
    std::string missing;
    for (const Folder& folder : searchedFolders(searcher)) {
        std::error_code error;
        const fs::path file = fs::absolute(folder.path / pluginFile);
        if (fs::exists(file, error)) return {file, folder.place};
        missing += (missing.empty() ? "" : ", ") + file.string();
    }
    throw FileError("found no plug-in; tried " + missing + "; name one " + searcher.naming);
}

std::unique_ptr<host::Plugin> loadPlugin(const std::string& option) {
    return std::make_unique<host::Plugin>(choosePlugin(option).path);
}

}  // namespace kpx::tool
