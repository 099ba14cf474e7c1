// The formats that the tool writes: a row a format, a source file a writer.
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
    std::optional<double> exposure;  // in stops: makes bytes of floats
    ExrValues exrValues;             // source: as many bits as the file has
    PngEffort pngEffort;
    std::vector<host::OptionChoice> options;  // of the plug-in
};

// Write the whole image to a path, which the user knows as `name`. Throw FileError, host::HostError or another
// std::exception.
void writePng(PixelSource& source, const std::string& path, const std::string& name, const OutputSettings& settings);
void writeExr(PixelSource& source, const std::string& path, const std::string& name, const OutputSettings& settings);
void writeDds(PixelSource& source, const std::string& path, const std::string& name, const OutputSettings& settings);

// Like writeDds, but returns the note about a padded width instead of printing it; empty if there is none.
std::string writeDdsFile(PixelSource& source, const std::string& path, const std::string& name,
                         const OutputSettings& settings);

struct OutputFormat {
    std::string_view extension;
    decltype(&writePng) write;
    bool takesExposure;
    bool takesOptions;  // of the plug-in
};

std::span<const OutputFormat> outputFormats();

// The format of an extension without its dot, in upper or lower case; null when there is none.
const OutputFormat* outputFormat(std::string extension);

}  // namespace kpx::tool
