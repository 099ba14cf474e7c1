// A gallery being made: what the page says about each file, and its pictures.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/Plugin.h"
#include "tools/gallery/GalleryFolder.h"
#include "tools/json/fileJson.h"
#include "tools/terminal/Outcome.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {

struct GallerySettings {
    std::optional<double> exposure;  // of floats, in stops; none: one that fits each
    int maxSide = 512;               // larger pictures are reduced to it
};

class Gallery {
public:
    // For this number of files. Throws OutputError.
    Gallery(const host::Plugin& plugin, const GallerySettings& settings, const std::string& folder, std::size_t files)
        : m_plugin(plugin), m_settings(settings), m_folder(folder), m_records(files) {}

    // Adds file number i; every file gets a place in the page. Thread-safe. Throws Interrupted.
    Outcome add(std::size_t i, const std::string& path, Report& report);

    // Writes the page and gives the folder its name. Returns false, and writes nothing, if no file could be read.
    // Throws OutputError, also if a picture could not be written.
    bool finish();

private:
    const host::Plugin& m_plugin;
    const GallerySettings& m_settings;
    GalleryFolder m_folder;
    std::vector<std::string> m_records;    // JSON of each file
    std::atomic<bool> m_hasFiles = false;  // that could be read
    std::mutex m_mutex;                    // of what follows
    std::string m_failure;                 // the first to write a picture
};

// The most data that is read for the strip of a file.
inline constexpr std::uint64_t stripBytes = std::uint64_t{128} << 20;

// Returns the number of pictures in the strip of a file; 0 if the first is too large or the size is not known.
std::uint64_t stripCount(const FileFacts& facts);

// Returns {"title", "notes": [...], "surfaces": [{"name", "width", "height", "picture"}]}, in the order of the file;
// null if the file has one picture or their size is not known. Floats are shown at an exposure in stops. Names of
// picture files begin with the prefix; a picture that cannot be decoded has none. Throws OutputError or Interrupted.
Json surfaceStrip(const host::Plugin& plugin, const OpenFile& file, const FileFacts& facts, double exposure,
                  const GalleryFolder& folder, const std::string& prefix);

}  // namespace kpx::tool
