// One image read through a plug-in, scanline by scanline.
#pragma once

#include <span>
#include <string>

#include "host/Plugin.h"

namespace kpx::host {

class ImageReader {
public:
    // Opens the image. Throws HostError with the plug-in's message. The plug-in must outlive the reader.
    ImageReader(const Plugin& plugin, std::string path);
    ~ImageReader() { close(); }
    ImageReader(const ImageReader&) = delete;
    ImageReader& operator=(const ImageReader&) = delete;

    // Valid until the image is closed.
    [[nodiscard]] const ImageFileDescriptor& descriptor() const { return *m_handle->descriptor; }
    [[nodiscard]] int width() const { return descriptor().width; }
    [[nodiscard]] int height() const { return descriptor().height; }
    [[nodiscard]] int colourChannels() const { return descriptor().channelCount; }
    [[nodiscard]] int matteChannels() const { return descriptor().matteCount; }
    // Values are bytes, or 32-bit floats.
    [[nodiscard]] bool isFloat() const;

    // Returns the rows of scanline y (0 is the bottom of the picture), one per channel, colours before the matte. They
    // are valid until the next call. Throws HostError if the plug-in fails.
    std::span<const unsigned char* const> scanline(int y);

    // Closes the image, as the destructor does.
    void close();

private:
    std::string m_path;
    ImageHandle* m_handle;
};

}  // namespace kpx::host
