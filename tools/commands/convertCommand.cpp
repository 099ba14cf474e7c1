// kpximage convert: images to PNG, OpenEXR or DDS.
#include <algorithm>

#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/files/OpenFile.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/adjustedSource.h"
#include "tools/pictures/outputs.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// Ids of the findings about data that the output loses.
constexpr const char* losses[] = {"first-of-many", "high-byte-only"};

struct Arguments {
    BatchOptions batch;
    OutputOptions output;
    std::string format;                // of files in an output folder; empty: chosen for each image
    std::vector<std::string> options;  // of the plug-in, NAME=VALUE
    std::optional<double> exposure;    // in stops; none: chosen for each image
    std::optional<int> depth;          // 8: 16-bit channels may be reduced
    ExrValues exr = ExrValues::source;
    PngEffort png = PngEffort::fast;
    std::string opaque, swizzle;
    bool isPadded = false, keepsBlack = false, isStrict = false;
};

struct Format {
    std::string name;  // also the extension of files, without the dot
    decltype(&writePng) write;
    bool isFloat;  // stores floats; otherwise bytes
};

const Format formats[] = {{"png", writePng, false}, {"exr", writeExr, true}, {"dds", writeDds, false}};

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    names.reserve(std::size(formats));
    for (const Format& format : formats) names.push_back(format.name);
    return names;
}

// Removes the findings whose advice the user has followed by an option.
void dropAnswered(Explanation& file, const Arguments& arguments) {
    std::erase_if(file.findings, [&arguments](const Finding& finding) {
        if (finding.id == "x-as-alpha") return !arguments.opaque.empty();
        return (finding.id == "normal-map" || finding.id == "masks-reversed") && !arguments.swizzle.empty();
    });
    file.grade = gradeOf(file.findings);
}

// Returns the extensions of all formats: ".png, .exr or .dds".
std::string extensionList() {
    std::string list;
    for (const Format& format : formats) {
        if (!list.empty()) list += &format + 1 == std::end(formats) ? " or " : ", ";
        list += "." + format.name;
    }
    return list;
}

// Returns null if there is no such format.
const Format* formatNamed(const std::string& name) {
    for (const Format& format : formats) {
        if (format.name == name) return &format;
    }
    return nullptr;
}

const Format* formatOfFile(const std::string& path) {
    const std::string extension = extensionOf(path);
    return extension.empty() ? nullptr : formatNamed(extension.substr(1));
}

OutputSettings settingsOf(const host::Plugin& plugin, const Arguments& arguments) {
    OutputSettings settings{plugin, arguments.exr, arguments.png};
    for (const std::string& option : arguments.options) settings.options.push_back(optionChoice(plugin, option));
    settings.isPadded = arguments.isPadded;
    return settings;
}

class Conversion {
public:
    // Throws UsageError.
    Conversion(const host::Plugin& plugin, const Arguments& arguments)
        : m_arguments(arguments),
          m_places(arguments.output.output, !arguments.batch.isSingle(),
                   formatOfFile(arguments.output.output) != nullptr, arguments.output.replacing),
          m_format(chosenFormat()),
          m_settings(settingsOf(plugin, arguments)) {}

    // Returns the inputs, and makes sure that no output overwrites one.
    [[nodiscard]] InputFiles inputs();
    // Converts an input. Thread-safe.
    Outcome convert(const InputFile& input, Report& report);

private:
    [[nodiscard]] const Format* chosenFormat() const;
    [[nodiscard]] const Format& formatFor(const PixelSource& source, bool isFromPng) const;
    [[nodiscard]] std::unique_ptr<PixelSource> withValuesOf(const Format& format, std::unique_ptr<PixelSource> source,
                                                            Report& report) const;

    const Arguments& m_arguments;
    OutputPlaces m_places;
    const Format* m_format;  // null: by what each image is
    OutputSettings m_settings;
};

const Format* Conversion::chosenFormat() const {
    const std::string& output = m_places.output();
    if (m_places.isFolder()) return m_arguments.format.empty() ? nullptr : formatNamed(m_arguments.format);
    if (!m_arguments.format.empty())
        throw UsageError("--format requires an output folder; a file's extension sets its format");
    const Format* format = formatOfFile(output);
    if (format != nullptr) return format;
    throw UsageError(output + ": the name of the output must end in " + extensionList());
}

InputFiles Conversion::inputs() {
    std::vector<std::string> extensions{".dds", ".png"};
    if (m_format != nullptr && m_format->name == "dds") std::swap(extensions[0], extensions[1]);
    InputFiles inputs = inputsOf(m_arguments.batch, extensions, m_places.isFolder() ? m_places.output() : "");
    m_places.protect(inputs.files);
    return inputs;
}

const Format& Conversion::formatFor(const PixelSource& source, bool isFromPng) const {
    if (m_format != nullptr) return *m_format;
    if (isFromPng) return *formatNamed("dds");
    return *formatNamed(source.layout().isFloat && !m_arguments.exposure ? "exr" : "png");
}

std::unique_ptr<PixelSource> Conversion::withValuesOf(const Format& format, std::unique_ptr<PixelSource> source,
                                                      Report& report) const {
    if (format.isFloat) return asFloats(std::move(source));
    if (!source->layout().isFloat) return source;
    const double stops = m_arguments.exposure ? *m_arguments.exposure : fittingExposure(*source);
    if (!m_arguments.exposure && stops != 0.0)
        report.note(textOf("exposure ", stops, " was chosen; --exposure sets it"));
    return asBytes(std::move(source), stops);
}

Outcome Conversion::convert(const InputFile& input, Report& report) {
    OpenFile file(input.path);
    const mode_t permissions = file.status().st_mode & 0777;
    Outcome outcome = Outcome::done;
    const bool isFromPng = isPng(file);
    if (!isFromPng) {
        Explanation explanation = explain(file.facts());
        dropAnswered(explanation, m_arguments);
        warnOfGrade(explanation, report, m_arguments.isStrict);
        outcome = outcomeOf(explanation.grade, m_arguments.isStrict);
        if (outcome == Outcome::failed) return outcome;
        const bool isBlack = explanation.grade == Grade::black;
        if (isBlack) report.countAs("black");
        if ((isBlack && !m_arguments.keepsBlack) || (m_arguments.isStrict && outcome != Outcome::done)) return outcome;
        for (const Finding& finding : explanation.findings) {
            if (std::find(std::begin(losses), std::end(losses), finding.id) != std::end(losses))
                report.note(finding.sentence);
        }
    }
    auto source = openSource(m_settings.plugin, std::move(file), m_arguments.depth.has_value());
    // The headers promise a picture: if it is black all the same, memory was insufficient.
    if (source->isBlack() && outcome == Outcome::done) throw std::bad_alloc();
    const Opaque which = m_arguments.opaque == "all"  ? Opaque::all
                         : m_arguments.opaque.empty() ? Opaque::no
                                                      : Opaque::whereUnused;
    source = swizzled(opaque(std::move(source), which), m_arguments.swizzle);
    const Format& format = formatFor(*source, isFromPng);
    const std::string output = m_places.of(input, format.name);
    if (!m_places.claim(output, input.path)) {
        report.countAs("up to date");
        return outcome;
    }
    source = withValuesOf(format, std::move(source), report);
    writeWhole(output, permissions, m_places.existing(), [&](const PendingFile& pending) {
        const std::string note = format.write(*source, pending.path(), m_settings);
        if (!note.empty()) report.note(note);
    });
    return outcome;
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    if (arguments.output.output.empty()) throw UsageError("--output is required");
    const auto plugin = loadPlugin(pluginPath);
    Conversion conversion(*plugin, arguments);
    return runBatch(conversion.inputs(), arguments.batch,
                    [&](const InputFile& input, Report& report) { return conversion.convert(input, report); });
}

std::string complaintAboutSwizzle(const std::string& text) {
    return isSwizzle(text) ? "" : text + " is invalid; use one to four of r g b a 0 1 z, with z only after two others";
}

}  // namespace

void addConvertCommand(CLI::App& app, Invocation& invocation) {
    const auto command = addCommand(app, invocation, "convert", "Convert images to PNG, OpenEXR or DDS", run);
    Arguments& arguments = command.arguments;
    arguments.batch.isNaming = true;
    arguments.batch.addTo(command.app, "DDS or PNG files, or folders of them");
    arguments.output.addTo(command.app,
                           "Output file (" + extensionList() +
                               ") or folder; a new folder is created if PATH is a folder or OUT ends in \"/\"");
    command.app
        .add_option("--format", arguments.format,
                    "Format of files in an output folder (default: DDS for PNG files, EXR for floating-point textures, "
                    "PNG for others)")
        ->check(CLI::IsMember(formatNames()));
    addExposure(command.app, arguments.exposure,
                "Exposure for writing floating-point textures to 8-bit files; auto (default) chooses one per texture");
    command.app
        .add_option("--swizzle", arguments.swizzle,
                    "Output channels, one to four of r g b a 0 1 z; z is computed as the third component of a unit "
                    "normal. Use rgz for two-channel normal maps, agz1 for DXT5nm, agb1 for RXGB")
        ->check(CLI::Validator(complaintAboutSwizzle, "LETTERS"));
    command.app
        .add_flag("--opaque{unused}", arguments.opaque,
                  "Drop alpha that the format does not use (X8 formats); `--opaque=all` drops all alpha")
        ->check(CLI::IsMember({"unused", "all"}));
    command.app.add_option("--depth", arguments.depth, "Reduce 16-bit PNG input to 8 bits (default: refuse it)")
        ->check(CLI::IsMember({8}));
    addChoice<ExrValues>(command.app, "--exr", arguments.exr,
                         {{"half", ExrValues::half}, {"float", ExrValues::float32}, {"source", ExrValues::source}},
                         "OpenEXR values: half (16 bits), float (32 bits) or source (default: as in the input); always "
                         "compressed without loss");
    addChoice<PngEffort>(command.app, "--png", arguments.png,
                         {{"fast", PngEffort::fast}, {"smallest", PngEffort::smallest}},
                         "PNG compression: fast (default) or smallest (usually 10 % smaller, up to 20 times slower)");
    command.app.add_flag("--pad", arguments.isPadded,
                         "Widen DDS output to a multiple of 4 pixels by repeating the last column");
    command.app
        .add_option(
            "--option", arguments.options,
            "Plug-in option for DDS output, such as \"Alpha=Output alpha\" (list: `kpximage formats`). The option "
            "Compression is accepted but ignored")
        ->type_name("NAME=VALUE");
    command.app.add_flag("--keep-black", arguments.keepsBlack,
                         "Also write the black pictures of files that cannot be decoded");
    command.app.add_flag("--strict", arguments.isStrict,
                         "Write no output for files graded wrong or suspect; exit with 3 if there are any");
}

}  // namespace kpx::tool
