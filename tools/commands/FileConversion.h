// The conversion of one or more images into a file or a folder.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "explain/Explanation.h"
#include "tools/commands/Batch.h"
#include "tools/commands/outputOptions.h"
#include "tools/files/OutputPlaces.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/pickedChannels.h"

namespace kpx::tool {

// What the user asks for.
struct ConversionRequest {
    BatchOptions batch;
    OutputOptions output;
    std::string format;                // of files in a folder; empty: by what each image is
    std::vector<std::string> options;  // of the plug-in, NAME=VALUE
    std::optional<double> exposure;    // in stops; none: chosen for each image
    std::optional<int> depth;          // 8: 16-bit channels may be reduced
    ExrValues exr = ExrValues::source;
    PngEffort png = PngEffort::fast;
    Opaque opaque = Opaque::no;
    std::string swizzle;
    bool isPadded = false, keepsBlack = false, isStrict = false;
};

class FileConversion {
public:
    // Checks the request as a whole. Throws UsageError. Plug-in and request must outlive the conversion.
    FileConversion(const host::Plugin& plugin, const ConversionRequest& request);

    // The inputs that the request means, none of which is replaced.
    [[nodiscard]] InputFiles inputs();

    // Converts one of the inputs. May be called by several threads.
    Outcome convert(const InputFile& input, Report& report);

private:
    [[nodiscard]] const OutputFormat* chosenFormat() const;
    [[nodiscard]] const OutputFormat& formatFor(const PixelSource& source) const;
    void write(std::unique_ptr<PixelSource> source, const OutputFormat& format, const std::string& output,
               mode_t permissions, Report& report) const;

    const ConversionRequest& m_request;
    OutputPlaces m_places;
    const OutputFormat* m_format;  // null: by what each image is
    OutputSettings m_settings;
};

}  // namespace kpx::tool
