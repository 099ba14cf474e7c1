// Checks what is asked for as a whole, then turns one input after the other into its output.
#include "tools/commands/Conversion.h"

#include <filesystem>

#include "tools/files/PendingFile.h"
#include "tools/pictures/pluginOptions.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

// The extension of a name without its dot.
std::string extensionOf(const std::string& name) {
    const std::string extension = fs::path(name).extension().string();
    return extension.empty() ? extension : extension.substr(1);
}

const OutputFormat& knownFormat(const std::string& extension, const std::string& output) {
    const OutputFormat* format = outputFormat(extension);
    if (format != nullptr) return *format;
    std::string known;
    for (const OutputFormat& row : outputFormats()) known += " ." + std::string(row.extension);
    throw UsageError(output + ": the name of the output must end in one of" + known);
}

ExrValues exrValues(const std::string& name) {
    return name == "half" ? ExrValues::half : name == "float" ? ExrValues::float32 : ExrValues::source;
}

PngEffort pngEffort(const std::string& name) {
    return name == "smallest" ? PngEffort::smallest : PngEffort::fast;
}

Adjustments adjustmentsOf(const ConversionRequest& request) {
    const Opaque opaque = request.opaque == "all"      ? Opaque::all
                          : request.opaque == "unused" ? Opaque::whereUnused
                                                       : Opaque::no;
    return {request.normalZ, opaque};
}

}  // namespace

Conversion::Conversion(const host::Plugin& plugin, const ConversionRequest& request)
    : m_request(request),
      m_places(request.inputs(), request.output(), outputFormat(extensionOf(request.output())) != nullptr),
      m_adjustments(adjustmentsOf(request)),
      m_settings{plugin, request.exposure, exrValues(request.exr), pngEffort(request.png), {}} {
    chooseFormat();
    checkOptions();
    chooseOptions();
}

void Conversion::chooseFormat() {
    if (m_places.isFolder()) {
        if (!m_request.format.empty()) m_format = outputFormat(m_request.format);
        return;
    }
    if (!m_request.format.empty()) throw UsageError("--format goes with a folder; a file's name states its format");
    m_format = &knownFormat(extensionOf(m_request.output()), m_request.output());
}

void Conversion::checkOptions() const {
    if (m_format == nullptr) return;
    const std::string extension(m_format->extension);
    if (m_request.exposure && !m_format->takesExposure) throw UsageError("--exposure has no use for ." + extension);
    if (!m_request.exr.empty() && extension != "exr") throw UsageError("--exr has no use for ." + extension);
    if (!m_request.png.empty() && extension != "png") throw UsageError("--png has no use for ." + extension);
    if (m_format->takesOptions) return;
    if (!m_request.alpha.empty()) throw UsageError("--alpha has no use for ." + extension);
    if (!m_request.compression.empty()) throw UsageError("--compression has no use for ." + extension);
}

void Conversion::chooseOptions() {
    if (!m_request.alpha.empty()) {
        const host::Option& option = findOption(m_settings.plugin, "Alpha");
        const host::OptionValue& value = findValue(option, m_request.alpha);
        m_settings.options.push_back({option.code, static_cast<uint8_t>(value.code)});
    }
    if (!m_request.compression.empty()) {
        const host::Option& option = findOption(m_settings.plugin, "Compression");
        const host::OptionValue& value = findValue(option, m_request.compression);
        m_settings.options.push_back({option.code, static_cast<uint8_t>(value.code)});
        if (value.code != option.values.front().code) {
            tell("note: the compression \"" + value.name + "\" does not change the file, which is never compressed");
        }
    }
}

const OutputFormat& Conversion::formatFor(const PixelSource& source) const {
    if (m_format != nullptr) return *m_format;
    if (source.kind() == SourceKind::png) return *outputFormat("dds");
    return *outputFormat(source.layout().isFloat && !m_request.exposure ? "exr" : "png");
}

std::string Conversion::outputPath(const InputFile& input, const OutputFormat& format) {
    std::string output = m_places.of(input, format.extension);
    m_places.claim(output);
    m_places.makeFolderOf(output);
    return output;
}

Outcome Conversion::convert(const InputFile& input) {
    OpenFile file(input.path);
    const mode_t permissions = file.status().st_mode & 0777;
    auto source = openSource(m_settings.plugin, std::move(file), m_request.depth.has_value());
    const Outcome outcome = source->isBlack() ? Outcome::fallback : Outcome::done;
    if (source->isBlack() && m_request.isStrict) return outcome;
    source = adjusted(std::move(source), m_adjustments);
    const OutputFormat& format = formatFor(*source);
    const std::string output = outputPath(input, format);
    try {
        PendingFile pending(output, permissions);
        format.write(*source, pending.path(), output, m_settings);
        pending.commit();
    } catch (const OutputError& error) {
        tell(output, error.what());
        return Outcome::failed;
    }
    return outcome;
}

}  // namespace kpx::tool
