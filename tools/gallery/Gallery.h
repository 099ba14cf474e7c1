// A gallery being made: what the page says of each file, and its pictures.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "explain/Explanation.h"
#include "host/Plugin.h"
#include "tools/files/OpenFile.h"
#include "tools/gallery/GalleryFolder.h"
#include "tools/gallery/GalleryPage.h"
#include "tools/gallery/galleryPictures.h"
#include "tools/terminal/Outcome.h"
#include "tools/terminal/Report.h"

namespace kpx::tool {

class Gallery {
public:
    // Throws OutputError.
    Gallery(const host::Plugin& plugin, const GallerySettings& settings, const std::string& folder);

    // Adds file number i, from any thread: each file has its place in the page, whatever becomes of it. Throws
    // Interrupted.
    Outcome add(std::size_t i, const std::string& path, Report& report);

    // Gives the folder its name. Returns false, and writes nothing, if no file could be read. Throws OutputError, also
    // if a picture could not be written.
    bool finish();

private:
    // What is known of a file on its way into the page.
    struct Entry;

    Outcome addFile(const std::string& path, Entry& entry, Report& report);
    void addVersion(const char* version, DdsSource& source, Entry& entry) const;
    void addRepaired(const OpenFile& file, Entry& entry) const;
    void addStrip(const OpenFile& file, const FileFacts& facts, Entry& entry) const;

    const host::Plugin& m_plugin;
    const GallerySettings& m_settings;
    GalleryFolder m_folder;
    std::atomic<bool> m_hasFiles = false;  // that could be read
    std::mutex m_mutex;                    // of what follows
    std::string m_failure;                 // to write a picture, the first
    GalleryPage m_page;
    std::map<std::size_t, Json> m_waiting;  // until the files before them are in the page
    std::size_t m_next = 0;
};

}  // namespace kpx::tool
