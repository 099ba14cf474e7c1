// The formats that the tool writes, one row each.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
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

struct OutputFormat {
    std::string_view extension;
    decltype(&writePng) write;
    bool isFloat;  // stores floats; otherwise bytes
};

std::span<const OutputFormat> outputFormats();

// Returns the format with this extension (no dot, any case), or null.
const OutputFormat* outputFormat(std::string extension);

}  // namespace kpx::tool
