// One image written through a plug-in, scanline by scanline.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/Plugin.h"

namespace kpx::host {

// An 8-bit RGB image with or without a matte.
struct ImageShape {
    int width;   // at least 1
    int height;  // at least 1
    bool hasMatte;
};

struct OptionChoice {
    uint16_t code;
    uint8_t value;
};

class ImageWriter {
public:
    // Creates the file. Throws HostError if the plug-in refuses it or cannot write. The plug-in must outlive the
    // writer.
    ImageWriter(const Plugin& plugin, std::string path, const ImageShape& shape,
                const std::vector<OptionChoice>& choices);
    // Closes the image. If close was not called, the plug-in still writes a file of full size, perhaps with rows
    // missing.
    ~ImageWriter();
    ImageWriter(const ImageWriter&) = delete;
    ImageWriter& operator=(const ImageWriter&) = delete;

    // Stores scanline y (0 is the bottom of the picture) from the rows of red, green, blue and the matte, if there is
    // one. Throws HostError if the plug-in fails.
    void scanline(int y, unsigned char** rows);

    // Lets the plug-in write the file, and returns the width in the file, which plug-ins may round up. Call it once,
    // after the last scanline. Throws HostError if the size of the file does not match its header: plug-ins do not
    // report a full disk.
    uint32_t close();

private:
    void openHandle(const Plugin& plugin, const ImageShape& shape);
    void describe(const ImageShape& shape);

    std::string m_path;
    std::vector<OptionSetting> m_settings;
    std::vector<OptionSetting*> m_settingPointers;  // null-terminated
    ImageHandle* m_handle = nullptr;
};

}  // namespace kpx::host
