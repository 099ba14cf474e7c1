// GLib's URIs, as file managers write them.
#include "tools/files/fileUri.h"

#include <glib.h>

#include <filesystem>
#include <memory>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// Takes over a text of GLib's; null is empty.
std::string taken(char* text) {
    const std::unique_ptr<char, void (*)(void*)> owned(text, g_free);
    return owned == nullptr ? "" : owned.get();
}

}  // namespace

std::string pathOfFile(const std::string& pathOrUri) {
    if (!pathOrUri.starts_with("file://")) return pathOrUri;
    char* host = nullptr;
    std::string path = taken(g_filename_from_uri(pathOrUri.c_str(), &host, nullptr));
    const std::string hostName = taken(host);
    if (path.empty()) throw FileError("is not a valid file: URI");
    if (!hostName.empty() && hostName != "localhost") throw FileError("is not a file of this computer");
    return path;
}

std::string uriOfPath(const std::string& path) {
    return taken(g_filename_to_uri(std::filesystem::absolute(path).lexically_normal().c_str(), nullptr, nullptr));
}

}  // namespace kpx::tool
