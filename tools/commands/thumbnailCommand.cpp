// kpximage thumbnail: a small PNG of an image, with the texts of freedesktop.org's thumbnail standard.
#include <glib.h>

#include <filesystem>

#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/files/PendingFile.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/PngFile.h"
#include "tools/pictures/adjustedSource.h"
#include "tools/pictures/smallPicture.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr int largestSize = 1024;  // of the standard
constexpr size_t channels = 4;

struct Arguments {
    int size = 128;
    std::string input, output;
};

// Returns a text allocated by GLib, "" for null, and frees it.
std::string taken(char* text) {
    const std::unique_ptr<char, void (*)(void*)> owned(text, g_free);
    return owned == nullptr ? "" : owned.get();
}

bool isUri(const std::string& text) {
    return text.starts_with("file://");
}

// Returns the path of a file: URI; any other text is a path itself. Throws FileError.
std::string pathOfFile(const std::string& pathOrUri) {
    if (!isUri(pathOrUri)) return pathOrUri;
    char* host = nullptr;
    std::string path = taken(g_filename_from_uri(pathOrUri.c_str(), &host, nullptr));
    const std::string hostName = taken(host);
    if (path.empty()) throw FileError("is not a valid file: URI");
    if (!hostName.empty() && hostName != "localhost") throw FileError("is not a file of this computer");
    return path;
}

// Returns the file: URI of a path. GLib escapes bytes as file managers do, so that they find the thumbnail again.
std::string uriOfFile(const std::string& pathOrUri) {
    if (isUri(pathOrUri)) return pathOrUri;
    return taken(g_filename_to_uri(std::filesystem::absolute(pathOrUri).lexically_normal().c_str(), nullptr, nullptr));
}

void write(const SmallPicture& picture, const std::string& path, const PixelSource& source, const Arguments& arguments,
           const std::string& modified, bool isFromPng) {
    PngFile file(path, {picture.width, picture.height, 3, 1, false}, channels, true);
    file.writeText("Thumb::URI", uriOfFile(arguments.input));
    file.writeText("Thumb::MTime", modified);
    file.writeText("Thumb::Mimetype", isFromPng ? "image/png" : "image/x-dds");
    file.writeText("Thumb::Image::Width", std::to_string(source.layout().width));
    file.writeText("Thumb::Image::Height", std::to_string(source.layout().height));
    file.writeText("Software", "kpximage");
    const auto rowSize = static_cast<size_t>(picture.width) * channels;
    for (size_t y = 0; y < static_cast<size_t>(picture.height); ++y) file.writeRow(&picture.pixels[y * rowSize]);
    file.finish();
}

// Throws FileError for pictures that take more than seconds: file managers run this unasked.
void checkSize(std::uint64_t width, std::uint64_t height) {
    constexpr std::uint64_t side = 16384;
    if (width * height > side * side)
        throw FileError(textOf("is too large for a thumbnail: ", width, " x ", height, " is more than ", side, " x ",
                               side, " pixels"));
}

Outcome makeThumbnail(const host::Plugin& plugin, const Arguments& arguments, Report& report) {
    OpenFile input(pathOfFile(arguments.input), arguments.input);
    if (isSameFile(pathOfFile(arguments.input), arguments.output))
        throw OutputError("is the input itself", arguments.output);
    const std::string modified = std::to_string(input.status().st_mtime);
    const bool isFromPng = isPng(input);
    if (!isFromPng) {
        const Explanation explanation = explain(input.facts());
        if (explanation.grade >= Grade::black) {
            warnOfGrade(explanation, report);
            return outcomeOf(explanation.grade, false);
        }
        checkSize(explanation.verdict.width, explanation.verdict.height);
    }
    auto source = openSource(plugin, std::move(input), true);
    checkSize(static_cast<std::uint64_t>(source->layout().width), static_cast<std::uint64_t>(source->layout().height));
    if (source->isBlack()) throw std::bad_alloc();
    if (!source->isWhole()) throw FileError("is incomplete: it does not contain every row of its picture");
    const double stops = source->layout().isFloat ? fittingExposure(*source) : 0.0;
    source = asShown(std::move(source), stops);
    const SmallPicture picture = smallPicture(*source, arguments.size);
    writeWhole(arguments.output, 0600, Existing::replace,
               [&](const PendingFile& file) { write(picture, file.path(), *source, arguments, modified, isFromPng); });
    return Outcome::done;
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    const auto plugin = loadPlugin(pluginPath);
    return runBatch({{{arguments.input, ""}}}, {},
                    [&](const InputFile&, Report& report) { return makeThumbnail(*plugin, arguments, report); });
}

}  // namespace

void addThumbnailCommand(CLI::App& app, Invocation& invocation) {
    const auto command =
        addCommand(app, invocation, "thumbnail",
                   "Make a small PNG for a file manager; none if the image is incomplete or cannot be decoded", run);
    Arguments& arguments = command.arguments;
    command.app.add_option("-s,--size", arguments.size, "Largest width and height; smaller images keep their size")
        ->check(CLI::Range(1, largestSize))
        ->capture_default_str();
    command.app.add_option("PATH", arguments.input, "DDS or PNG file, or its file: URI")->required();
    command.app.add_option("-o,--output", arguments.output, "PNG file to write; an existing file is replaced")
        ->required()
        ->type_name("OUT");
}

}  // namespace kpx::tool
