// Checks what is asked for as a whole, then turns one input after the other into its output.
#include "tools/commands/FileConversion.h"

#include <algorithm>
#include <filesystem>

#include "explain/text.h"
#include "tools/files/OpenFile.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/ExposedSource.h"
#include "tools/plugin/pluginOptions.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// Findings that mean that a part of the file is not in the output.
constexpr const char* losses[] = {"first-of-many", "high-byte-only"};

// The extension of a name without its dot.
std::string extensionOf(const std::string& name) {
    const std::string extension = std::filesystem::path(name).extension().string();
    return extension.empty() ? extension : extension.substr(1);
}

std::vector<host::OptionChoice> choicesOf(const host::Plugin& plugin, const std::vector<std::string>& options) {
    std::vector<host::OptionChoice> choices;
    choices.reserve(options.size());
    for (const std::string& option : options) choices.push_back(optionChoice(plugin, option));
    return choices;
}

}  // namespace

FileConversion::FileConversion(const host::Plugin& plugin, const ConversionRequest& request)
    : m_request(request),
      m_places(request.output.output, !request.batch.isSingle(),
               outputFormat(extensionOf(request.output.output)) != nullptr, request.output.replacing),
      m_format(chosenFormat()),
      m_settings{plugin,      request.exposure.value_or(0.0),     request.exr,
                 request.png, choicesOf(plugin, request.options), request.isPadded} {}

const OutputFormat* FileConversion::chosenFormat() const {
    const std::string& output = m_places.output();
    if (m_places.isFolder()) return m_request.format.empty() ? nullptr : outputFormat(m_request.format);
    if (!m_request.format.empty()) throw UsageError("--format needs a folder; the name of a file states its format");
    const OutputFormat* format = outputFormat(extensionOf(output));
    if (format != nullptr) return format;
    std::string known;
    for (const OutputFormat& row : outputFormats()) known += " ." + std::string(row.extension);
    throw UsageError(output + ": the name of the output must end in one of" + known);
}

InputFiles FileConversion::inputs() {
    const bool isToDds = m_format != nullptr && m_format->extension == "dds";
    const std::vector<std::string> extensions =
        isToDds ? std::vector<std::string>{".png", ".dds"} : std::vector<std::string>{".dds", ".png"};
    InputFiles inputs = inputsOf(m_request.batch, extensions, m_places.isFolder() ? m_places.output() : "");
    m_places.protect(inputs.files);
    return inputs;
}

const OutputFormat& FileConversion::formatFor(const PixelSource& source) const {
    if (m_format != nullptr) return *m_format;
    if (source.kind() == SourceKind::png) return *outputFormat("dds");
    return *outputFormat(source.layout().isFloat && !m_request.exposure ? "exr" : "png");
}

Outcome FileConversion::convert(const InputFile& input, Report& report) {
    OpenFile file(input.path);
    const mode_t permissions = file.status().st_mode & 0777;
    Outcome outcome = Outcome::done;
    if (!isPng(file)) {
        const Explanation explanation = explain(file.facts());
        warnOfGrade(explanation, report, m_request.isStrict);
        outcome = outcomeOf(explanation.grade, m_request.isStrict);
        if (outcome == Outcome::failed) return outcome;
        if (explanation.grade == Grade::black) {
            report.countAs("black");
            if (!m_request.keepsBlack) return outcome;
        }
        if (m_request.isStrict && outcome != Outcome::done) return outcome;
        for (const Finding& finding : explanation.findings) {
            if (std::find(std::begin(losses), std::end(losses), finding.id) != std::end(losses))
                report.note(finding.sentence);
        }
    }
    auto source = openSource(m_settings.plugin, std::move(file), m_request.depth.has_value());
    // The headers do not tell that there is too little memory.
    if (source->isBlack() && outcome == Outcome::done) throw std::bad_alloc();
    source = swizzled(opaque(std::move(source), m_request.opaque), m_request.swizzle);
    const OutputFormat& format = formatFor(*source);
    const std::string output = m_places.of(input, format.extension);
    if (!m_places.claim(output, input.path)) {
        report.countAs("up to date");
        return outcome;
    }
    write(std::move(source), format, output, permissions, report);
    return outcome;
}

void FileConversion::write(std::unique_ptr<PixelSource> source, const OutputFormat& format, const std::string& output,
                           mode_t permissions, Report& report) const {
    OutputSettings settings = m_settings;
    if (format.isFloat) source = asFloats(std::move(source));
    if (source->layout().isFloat && !format.isFloat && !m_request.exposure) {
        settings.exposure = fittingExposure(*source);
        source->rewind();
        if (settings.exposure != 0.0)
            report.note(textOf("exposure ", settings.exposure, " was chosen; --exposure sets it"));
    }
    try {
        PendingFile pending(output, permissions, m_places.existing());
        try {
            const std::string note = format.write(*source, pending.path(), settings);
            if (!note.empty()) report.note(note);
        } catch (const OutputError& error) {
            throw OutputError(withName(error.what(), pending.path(), output));
        }
        pending.commit();
    } catch (const OutputError& error) {
        throw OutputError(error.what(), output, error.code());
    }
}

}  // namespace kpx::tool
