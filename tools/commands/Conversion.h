// The conversion of one or more images into a file or a folder.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/files/OutputPlaces.h"
#include "tools/files/inputFiles.h"
#include "tools/pictures/AdjustedSource.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/terminal/Outcome.h"

namespace kpx::tool {

// What the user asks for.
struct ConversionRequest {
    std::vector<std::string> paths;  // the inputs, then the output
    std::string format;              // of files in a folder; empty: by what each image is
    std::string alpha;               // empty: not chosen
    std::string compression;         // empty: not chosen
    std::optional<double> exposure;  // in stops
    std::optional<int> depth;        // 8: 16-bit channels may be reduced
    std::string exr;                 // half, float or source; empty: not chosen
    std::string png;                 // fast or smallest; empty: not chosen
    std::string opaque;              // unused or all; empty: alpha is written
    bool normalZ = false;            // blue of a two-channel normal map is worked out
    bool isStrict = false;           // what cannot be decoded is not written as a black picture

    [[nodiscard]] std::vector<std::string> inputs() const { return {paths.begin(), paths.end() - 1}; }
    [[nodiscard]] const std::string& output() const { return paths.back(); }
};

class Conversion {
public:
    // Checks the request as a whole. Throws UsageError. Plug-in and request must outlive the conversion.
    Conversion(const host::Plugin& plugin, const ConversionRequest& request);

    // Files that no output may replace.
    void protect(const std::vector<InputFile>& inputs) { m_places.protect(inputs); }

    // Converts one of the inputs. Throws FileError or another std::exception that concerns the input; what
    // concerns the output is told under its name. May be called by several threads.
    Outcome convert(const InputFile& input);

private:
    void chooseFormat();
    void checkOptions() const;
    void chooseOptions();
    [[nodiscard]] const OutputFormat& formatFor(const PixelSource& source) const;
    std::string outputPath(const InputFile& input, const OutputFormat& format);

    const ConversionRequest& m_request;
    OutputPlaces m_places;
    Adjustments m_adjustments;
    const OutputFormat* m_format = nullptr;  // null: by what each image is
    OutputSettings m_settings;
};

}  // namespace kpx::tool
