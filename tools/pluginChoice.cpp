#include "tools/pluginChoice.h"

#include <cstdlib>
#include <filesystem>

#include "tools/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* pluginFile = "KPXDDS.so";
constexpr const char* installedFolder = KPX_PLUGIN_DIR;

std::string foundPath() {
    std::error_code error;
    const fs::path beside = fs::read_symlink("/proc/self/exe", error).replace_filename(pluginFile);
    const fs::path installed = fs::path(installedFolder) / pluginFile;
    for (const fs::path& candidate : {beside, installed}) {
        if (fs::exists(candidate, error)) return candidate;
    }
    throw FileError("found no plug-in: there is neither " + beside.string() + " nor " + installed.string() +
                    "; name one with --plugin or in KPX_PLUGIN");
}

}  // namespace

std::unique_ptr<host::Plugin> loadPlugin(const std::string& path) {
    const char* fromEnvironment = std::getenv("KPX_PLUGIN");
    std::string chosen = path;
    if (chosen.empty() && fromEnvironment != nullptr) chosen = fromEnvironment;
    if (chosen.empty()) chosen = foundPath();
    // A bare file name would be searched for in the system's library folders.
    return std::make_unique<host::Plugin>(fs::absolute(chosen).string());
}

}  // namespace kpx::tool
