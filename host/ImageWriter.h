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
    // Creates the file. Throws HostError when the plug-in refuses it or does not write at all. The plug-in
    // must outlive the writer.
    ImageWriter(const Plugin& plugin, std::string path, const ImageShape& shape,
                const std::vector<OptionChoice>& choices);
    // Ends an unfinished writing: the plug-in still writes a file of full size, which is not looked at.
    ~ImageWriter();
    ImageWriter(const ImageWriter&) = delete;
    ImageWriter& operator=(const ImageWriter&) = delete;

    // Stores scanline y from the rows of red, green, blue and the matte, if there is one; y = 0 is the
    // bottom row of the picture. Throws HostError when the plug-in fails.
    void scanline(int y, unsigned char** rows);

    // Has the plug-in write the file, and returns the width that the file declares: plug-ins may round it up.
    // To be called once, after the last scanline. Throws HostError when the file does not have the size that its header
    // declares, as on a full disk, of which plug-ins do not tell.
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
