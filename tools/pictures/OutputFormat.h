// The formats that the tool writes: a row for each, a source file for each writer.
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
    double exposure = 0.0;                    // in stops, of floats that become bytes
    ExrValues exrValues = ExrValues::source;  // source: as many bits as the file has
    PngEffort pngEffort = PngEffort::fast;
    std::vector<host::OptionChoice> options{};  // of the plug-in
    bool isPadded = false;                      // a DDS file may have a width that is rounded up
};

// Write the whole image to a path. Return a note about what was lost or changed, or nothing. Throw FileError,
// OutputError, host::HostError or another std::exception.
std::string writePng(PixelSource& source, const std::string& path, const OutputSettings& settings);
std::string writeExr(PixelSource& source, const std::string& path, const OutputSettings& settings);
std::string writeDds(PixelSource& source, const std::string& path, const OutputSettings& settings);

struct OutputFormat {
    std::string_view extension;
    decltype(&writePng) write;
    bool isFloat;       // stores floats; bytes otherwise
    bool takesOptions;  // of the plug-in
};

std::span<const OutputFormat> outputFormats();

// Returns the format of an extension without its dot, in upper or lower case; null if there is none.
const OutputFormat* outputFormat(std::string extension);

}  // namespace kpx::tool
