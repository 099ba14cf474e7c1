// Fills a handle for reading, and opens and closes it through the plug-in.
#include "host/ImageReader.h"

#include <cerrno>

#include "host/HostError.h"
#include "host/handle.h"
#include "host/messages.h"

namespace kpx::host {

ImageReader::ImageReader(const Plugin& plugin, std::string path)
    : m_path(std::move(path)), m_handle(newHandle(m_path, plugin.name())) {
    ReportCollector reports;
    errno = 0;  // quoted in the plug-in's message
    if (plugin.readOpen(m_handle)) return;
    const int cause = errno;
    kpx__free_obj(m_handle);
    throw HostError(reports.take("the plug-in cannot read the image and gives no reason"), cause);
}

bool ImageReader::isFloat() const {
    return descriptor().channelBits == 32;
}

std::span<const unsigned char* const> ImageReader::scanline(int y) {
    const auto read = reinterpret_cast<ScanlineReadFunction>(m_handle->scanlineFunction);
    unsigned char** rows = nullptr;
    if (read(m_handle->pluginData[0], y, &rows) != 0 || rows == nullptr) {
        throw HostError("the plug-in cannot deliver scanline " + std::to_string(y));
    }
    return {rows, static_cast<size_t>(colourChannels()) + static_cast<size_t>(matteChannels())};
}

void ImageReader::close() {
    if (m_handle != nullptr) m_handle->closeFunction(m_handle);
    m_handle = nullptr;
}

}  // namespace kpx::host
