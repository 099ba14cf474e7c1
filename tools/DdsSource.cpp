#include "tools/DdsSource.h"

#include <filesystem>
#include <sstream>

#include "host/HostError.h"
#include "tools/StdoutCapture.h"
#include "tools/console.h"
#include "tools/errors.h"

namespace kpx::tool {
namespace {

constexpr uintmax_t headerSize = 128;

// A plug-in quotes the system's last error even where a file is merely too short.
void explainShortFile(const std::string& path) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size >= headerSize) return;
    throw FileError("is too short: it has " + std::to_string(size) + " bytes, its header alone takes " +
                    std::to_string(headerSize));
}

}  // namespace

std::unique_ptr<host::ImageReader> openImage(const host::Plugin& plugin, const std::string& path) {
    StdoutCapture capture;
    try {
        auto reader = std::make_unique<host::ImageReader>(plugin, path);
        std::istringstream printed(capture.finish());
        for (std::string line; std::getline(printed, line);) tell(path, line);
        return reader;
    } catch (const host::HostError&) {
        explainShortFile(path);
        throw;
    }
}

DdsSource::DdsSource(const host::Plugin& plugin, const std::string& path) : m_reader(openImage(plugin, path)) {
    m_layout = {m_reader->width(), m_reader->height(), m_reader->colourChannels(), m_reader->matteChannels(),
                m_reader->isFloat()};
    if (m_layout.width < 1 || m_layout.height < 1) {
        throw FileError("has no pixels: it is " + std::to_string(m_layout.width) + " x " +
                        std::to_string(m_layout.height));
    }
    m_scanline = m_layout.height;
}

std::span<const unsigned char* const> DdsSource::nextRow() {
    return m_reader->scanline(--m_scanline);
}

}  // namespace kpx::tool
