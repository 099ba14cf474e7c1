// How images are written: a function for each format.
#pragma once

#include <string>
#include <vector>

#include "host/ImageWriter.h"
#include "host/Plugin.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/PngFile.h"

namespace kpx::tool {

enum class ExrValues { source, half, float32 };

struct OutputSettings {
    const host::Plugin& plugin;
    ExrValues exrValues = ExrValues::source;  // source: the bits of the file
    PngEffort pngEffort = PngEffort::fast;
    std::vector<host::OptionChoice> options{};  // of the plug-in
    bool isPadded = false;                      // the width of a DDS file may be rounded up
};

// Write the whole image to a path and return a note about what was lost or changed, or "". Requires: floats for
// OpenEXR, bytes for the others. Throw FileError, OutputError, host::HostError or another std::exception.
std::string writePng(PixelSource& source, const std::string& path, const OutputSettings& settings);
std::string writeExr(PixelSource& source, const std::string& path, const OutputSettings& settings);
std::string writeDds(PixelSource& source, const std::string& path, const OutputSettings& settings);

}  // namespace kpx::tool
