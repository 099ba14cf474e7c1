// kpximage gallery: one page of all files, with what is odd about each.
#include <filesystem>

#include "explain/Explanation.h"
#include "explain/otherFile.h"
#include "explain/text.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/commands/exposureRange.h"
#include "tools/files/PendingFile.h"
#include "tools/gallery/GalleryPage.h"
#include "tools/gallery/galleryPictures.h"
#include "tools/pictures/channelUse.h"
#include "tools/pictures/pluginChoice.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"
#include "tools/terminal/turns.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::vector<std::string> paths;
    std::string output;
    GallerySettings settings;
    BatchOptions batch;
};

void addRemarks(Json& file, const char* kind, const std::vector<Remark>& remarks) {
    for (const Remark& remark : remarks) file["remarks"].push_back({{"kind", kind}, {"text", remark.sentence}});
}

Json explained(const std::string& name, const Explanation& explanation) {
    const Verdict& verdict = explanation.verdict;
    Json file = {{"name", name}, {"remarks", Json::array()}};
    addRemarks(file, "cause", explanation.causes);
    addRemarks(file, "note", explanation.surprises);
    addRemarks(file, "repair", explanation.mends);
    if (verdict.result == Result::refused || !otherFileText(explanation.facts).empty()) return file;
    const DDS_HEADER& header = explanation.facts.header.header;
    file["format"] = formatName(explanation);
    file["sameAs"] = sameAs(explanation);
    file["contents"] = contentsText(explanation.contents);
    if (verdict.result == Result::black) file["declared"] = textOf(header.dwWidth, " × ", header.dwHeight);
    return file;
}

void addLayout(Json& file, const ImageLayout& layout) {
    file["width"] = layout.width;
    file["height"] = layout.height;
    file["isAlphaOnly"] = layout.colours == 0;
    file["channels"] = textOf(channelUse(layout).exrNames, layout.isFloat ? " 32-bit float" : " 8-bit");
}

// Describes files, each with a place in the page whatever becomes of it.
class Gallery {
public:
    Gallery(const host::Plugin& plugin, const GallerySettings& settings, GalleryPage& page)
        : m_plugin(plugin), m_settings(settings), m_page(page) {}

    // From any thread, each file in its turn.
    Outcome add(const std::string& path) {
        Json file = {{"name", path}, {"remarks", Json::array()}};
        Json pictures;
        Outcome outcome = Outcome::failed;
        try {
            file = explained(path, explain(path));
            outcome = addPictures(path, file, pictures);
        } catch (const Interrupted&) {
            throw;
        } catch (const std::bad_alloc&) {
            addFailure(file, "not enough memory");
        } catch (const std::exception& error) {
            addFailure(file, error.what());
        }
        inTurn([this, file = std::move(file), pictures = std::move(pictures)] { m_page.add(file, pictures); });
        return outcome;
    }

private:
    Outcome addPictures(const std::string& path, Json& file, Json& pictures) const;
    static void addFailure(Json& file, const std::string& message);

    const host::Plugin& m_plugin;
    const GallerySettings& m_settings;
    GalleryPage& m_page;
};

// An unrecognised file is not opened: a plug-in makes a picture of anything that is long enough.
Outcome Gallery::addPictures(const std::string& path, Json& file, Json& pictures) const {
    if (!m_plugin.isFile(path)) throw FileError(unrecognisedText(path));
    DdsSource source(m_plugin, path);
    const GalleryPictures made = galleryPictures(source, m_settings);
    const ImageLayout& layout = source.layout();
    addLayout(file, layout);
    if (made.width != layout.width || made.height != layout.height)
        file["shown"] = textOf(made.width, " × ", made.height);
    if (made.exposure) {
        file["exposure"] = *made.exposure;
        file["exposureIsChosen"] = !m_settings.exposure.has_value();
    }
    file["thumbnail"] = made.thumbnail;
    file["thumbnailSize"] = {made.thumbnailWidth, made.thumbnailHeight};
    pictures = {{"colour", made.colour}};
    if (!made.alpha.empty()) pictures["alpha"] = made.alpha;
    file["state"] = source.isBlack() ? "black" : file["remarks"].empty() ? "fine" : "noted";
    return source.isBlack() ? Outcome::fallback : Outcome::done;
}

void Gallery::addFailure(Json& file, const std::string& message) {
    tell(file["name"].get<std::string>(), message);
    file["state"] = "failed";
    Json& remarks = file["remarks"];
    // A file that is refused or of another format has its cause already.
    const bool isRefused = !remarks.empty() && !file.contains("format");
    if (!isRefused) remarks.insert(remarks.begin(), Json::object({{"kind", "error"}, {"text", message}}));
}

void checkOutput(const Arguments& arguments) {
    if (!arguments.output.ends_with(".html")) {
        throw UsageError(arguments.output + ": the name of the output must end in .html");
    }
    for (const std::string& path : arguments.paths) {
        std::error_code error;
        if (std::filesystem::equivalent(path, arguments.output, error)) {
            throw UsageError(path + " would be overwritten by its own gallery");
        }
    }
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    checkOutput(arguments);
    const auto plugin = loadPlugin(pluginPath);
    try {
        PendingFile pending(arguments.output);
        GalleryPage page(pending.path(), arguments.paths);
        Gallery gallery(*plugin, arguments.settings, page);
        const Outcome outcome =
            runBatch(arguments.paths, arguments.batch, [&](const InputFile& input) { return gallery.add(input.path); });
        page.finish();
        pending.commit();
        return outcome;
    } catch (const OutputError& error) {
        tell(arguments.output, error.what());
        return Outcome::failed;
    }
}

}  // namespace

void addGalleryCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command =
        app.add_subcommand("gallery", "Make a page that shows DDS files, each channel, and what is odd about them");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("FILE", arguments->paths, "Files to show, or folders of .dds files")->required();
    command->add_option("-o,--output", arguments->output, "The page: a file whose name ends in .html")->required();
    command
        ->add_option("--exposure", arguments->settings.exposure,
                     "Brighten floating-point channels by this many stops; else by what fits each file")
        ->check(exposureRange());
    command
        ->add_option("--max-side", arguments->settings.maxSide,
                     "Reduce larger pictures to this width or height, for a smaller page; else they have full size")
        ->check(CLI::Range(thumbnailSize, 65536));
    arguments->batch.addTo(*command, "show");
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] { return run(invocation.pluginPath, *arguments); };
    });
}

}  // namespace kpx::tool
