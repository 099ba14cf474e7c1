// kpximage gallery: one page of all files, with what is odd about each.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>

#include "explain/Explanation.h"
#include "explain/otherFile.h"
#include "explain/text.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/commands/exposureRange.h"
#include "tools/files/PendingFile.h"
#include "tools/files/PendingFolder.h"
#include "tools/files/fileUri.h"
#include "tools/gallery/GalleryPage.h"
#include "tools/gallery/galleryPictures.h"
#include "tools/gallery/repairCommandLine.h"
#include "tools/gallery/surfaceStrip.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/channelUse.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::string output;
    bool hasAssets = false;
    GallerySettings settings;
    BatchOptions batch;
};

void addRemark(Json& file, const char* kind, const std::string& sentence) {
    file["remarks"].push_back({{"kind", kind}, {"text", sentence}});
}

Json formatAsJson(const Explanation& explanation) {
    return {{"format", formatName(explanation)},
            {"sameAs", sameAs(explanation)},
            {"contents", contentsText(explanation.contents)}};
}

Json explained(const std::string& name, const Explanation& explanation) {
    const Verdict& verdict = explanation.verdict;
    Json file = {{"name", name}, {"remarks", Json::array()}};
    for (const Finding& finding : explanation.findings)
        addRemark(file, finding.severity >= Grade::black ? "cause" : "note", finding.sentence);
    for (const Remark& mend : explanation.mends) addRemark(file, "repair", mend.sentence);
    for (const Remark& conversion : explanation.conversions) addRemark(file, "conversion", conversion.sentence);
    if (verdict.result == Result::refused || !otherFileText(explanation.facts).empty()) return file;
    const DDS_HEADER& header = explanation.facts.header.header;
    // What the card says and filters by; the mended copy has its own.
    file.update(formatAsJson(explanation));
    const bool hasOtherSize = header.dwWidth != verdict.width || header.dwHeight != verdict.height;
    if (verdict.result == Result::black && hasOtherSize) {
        file["declared"] = textOf(header.dwWidth, " × ", header.dwHeight);
    }
    return file;
}

Json layoutAsJson(const ImageLayout& layout) {
    return {{"width", layout.width},
            {"height", layout.height},
            {"isAlphaOnly", layout.colours == 0},
            {"channels", textOf(channelUse(layout).names, layout.isFloat ? " 32-bit float" : " 8-bit")}};
}

// What the page has of a file: what is told of it, and its pictures as the card and the viewer show them. The file as
// it is and its mended copy are two versions.
struct Entry {
    explicit Entry(const std::string& path) : file({{"name", path}, {"remarks", Json::array()}}) {}

    Json file, thumbnails, pictures;
    double exposure = 0.0;  // of the version that was added last
};

// Describes files, each with a place in the page whatever becomes of it.
class Gallery {
public:
    Gallery(const host::Plugin& plugin, const GallerySettings& settings, GalleryPage& page)
        : m_plugin(plugin), m_settings(settings), m_page(page) {}

    // Adds file number i, from any thread.
    Outcome add(std::size_t i, const std::string& path, Report& report) {
        Entry entry(path);
        Outcome outcome = Outcome::failed;
        std::optional<OpenFile> file;
        try {
            file.emplace(path);
            entry.file = explained(path, explain(file->facts()));
            outcome = addFile(*file, entry, report);
        } catch (const Interrupted&) {
            throw;
        } catch (const std::bad_alloc&) {
            addFailure(entry.file, "not enough memory", report);
        } catch (const std::exception& error) {
            addFailure(entry.file, error.what(), report);
        }
        if (file) addMore(*file, entry);
        const std::lock_guard lock(m_mutex);
        m_waiting.emplace(i, std::move(entry));
        for (auto next = m_waiting.begin(); next != m_waiting.end() && next->first == m_next; ++m_next) {
            Entry& each = next->second;
            m_page.add(each.file, std::move(each.thumbnails), std::move(each.pictures));
            next = m_waiting.erase(next);
        }
        return outcome;
    }

private:
    Outcome addFile(const OpenFile& file, Entry& entry, Report& report) const;
    void addVersion(const char* version, DdsSource& source, Entry& entry) const;
    void addMore(const OpenFile& file, Entry& entry) const;
    void addMended(const OpenFile& file, Entry& entry) const;
    static void addShortfall(Json& file, const std::string& message);
    static void addFailure(Json& file, const std::string& message, Report& report);

    const host::Plugin& m_plugin;
    const GallerySettings& m_settings;
    std::mutex m_mutex;  // of what follows
    std::map<std::size_t, Entry> m_waiting;  // until the files before them are in the page
    std::size_t m_next = 0;
    GalleryPage& m_page;
};

// An unrecognised file is not opened: a plug-in makes a picture of anything that is long enough.
Outcome Gallery::addFile(const OpenFile& file, Entry& entry, Report& report) const {
    if (!m_plugin.isFile(file.path())) throw FileError(unrecognisedText(file.facts()));
    DdsSource source(m_plugin, file);
    addVersion("original", source, entry);
    entry.file["state"] = source.isBlack() ? "black" : entry.file["remarks"].empty() ? "fine" : "noted";
    const Explanation explanation = explain(file.facts());
    warnOfGrade(explanation, report);
    return outcomeOf(explanation.grade, false);
}

void Gallery::addVersion(const char* version, DdsSource& source, Entry& entry) const {
    GalleryPictures made = galleryPictures(source, m_settings);
    const ImageLayout& layout = source.layout();
    Json told = layoutAsJson(layout);
    if (made.width != layout.width || made.height != layout.height)
        told["shown"] = textOf(made.width, " × ", made.height);
    if (made.exposure) {
        told["exposure"] = *made.exposure;
        told["exposureIsChosen"] = !m_settings.exposure.has_value();
    }
    told["thumbnailSize"] = {made.thumbnailWidth, made.thumbnailHeight};
    entry.exposure = made.exposure.value_or(0.0);
    entry.file[version] = std::move(told);
    entry.thumbnails[version] = Json::binary(std::move(made.thumbnail));
    Json& pictures = entry.pictures[version];
    pictures["colour"] = Json::binary(std::move(made.colour));
    if (!made.alpha.empty()) pictures["alpha"] = Json::binary(std::move(made.alpha));
    if (!made.both.empty()) pictures["both"] = Json::binary(std::move(made.both));
}

// The mended copy, where there is one, and the strip of its pictures, or of the file's own. They come on top: what
// fails here is said, and is no failure of the file.
void Gallery::addMore(const OpenFile& file, Entry& entry) const {
    try {
        const RepairPlan report = planRepair(file.facts(), true);
        StripSource source{&file, report.facts, false, entry.exposure};
        std::optional<TemporaryFile> mended;
        std::optional<OpenFile> mendedFile;
        if (report.helps()) {
            entry.file["command"] = repairCommandLine(file.name(), report.result == RepairResult::recoded);
            source.facts = report.repair.facts;
            source.isMended = true;
            const std::uint64_t pictures = std::max<std::uint64_t>(stripCount(source.facts), 1);
            if (repairedBytes(report, pictures) > stripBytes)
                throw FileError(textOf("the repaired picture is larger than ", stripBytes >> 20, " MiB"));
            mended.emplace();
            writeRepaired(file, report, mended->descriptor(), pictures);
            mendedFile.emplace(mended->path(), "the repaired copy of " + file.name());
            source.file = &*mendedFile;
            addMended(*mendedFile, entry);
            source.exposure = entry.exposure;
        }
        Json strip = surfaceStrip(m_plugin, source);
        if (!strip.is_null()) entry.pictures["strip"] = std::move(strip);
    } catch (const Interrupted&) {
        throw;
    } catch (const std::bad_alloc&) {
        addShortfall(entry.file, "not enough memory");
    } catch (const std::exception& error) {
        addShortfall(entry.file, error.what());
    }
}

void Gallery::addMended(const OpenFile& file, Entry& entry) const {
    DdsSource source(m_plugin, file);
    if (source.isBlack()) throw FileError(source.whyBlack());
    // What is said of the copy comes first: the viewer looks for it wherever there is a picture.
    entry.file["mendedFormat"] = formatAsJson(explain(file.facts()));
    addVersion("mended", source, entry);
}

// Of a file that has failed, the failure says enough.
void Gallery::addShortfall(Json& file, const std::string& message) {
    if (!file.contains("original")) return;
    if (file["state"] == "fine") file["state"] = "noted";
    file["remarks"].push_back(
        {{"kind", "note"}, {"text", "Not all of its pictures can be shown here: " + message + "."}});
}

void Gallery::addFailure(Json& file, const std::string& message, Report& report) {
    report.warn(message);
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
    for (const std::string& path : arguments.batch.paths) {
        std::error_code error;
        if (std::filesystem::equivalent(path, arguments.output, error)) {
            throw UsageError(path + " would be overwritten by its own gallery");
        }
    }
}

// "page-files" for "page.html".
std::string assetFolder(const std::string& output) {
    return output.substr(0, output.size() - std::strlen(".html")) + "-files";
}

// The page takes its name before the folder lets go of an earlier page's pictures.
Outcome makeGallery(const host::Plugin& plugin, const Arguments& arguments) {
    PendingFile pending(arguments.output);
    std::optional<PendingFolder> folder;
    KeepPicture keep;
    if (arguments.hasAssets) {
        folder.emplace(assetFolder(arguments.output));
        keep = [&](const std::string& name, auto bytes) { return relativeUrl(folder->write(name, bytes)); };
    }
    GallerySettings settings = arguments.settings;
    settings.hasBoth = arguments.hasAssets;
    GalleryPage page(pending.path(), arguments.batch.paths, keep);
    Gallery gallery(plugin, settings, page);
    const InputFiles inputs = inputsOf(arguments.batch);
    const Outcome outcome = runBatch(inputs, arguments.batch, [&](const InputFile& input, Report& report) {
        return gallery.add(static_cast<std::size_t>(&input - inputs.files.data()), input.path, report);
    });
    page.finish();
    pending.commit();
    if (folder) folder->commit();
    return outcome;
}

Outcome run(const std::string& pluginPath, const Arguments& arguments) {
    checkOutput(arguments);
    const auto plugin = loadPlugin(pluginPath);
    try {
        return makeGallery(*plugin, arguments);
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
    arguments->batch.addTo(*command, "DDS files, or folders of them");
    command->add_option("-o,--output", arguments->output, "The page: a file whose name ends in .html")->required();
    command
        ->add_option_function<std::string>(
            "--exposure",
            [arguments](const std::string& text) {
                if (text != "auto") arguments->settings.exposure = std::stod(text);
            },
            "Brighten floating-point textures by STOPS; auto (default) chooses what fits each")
        ->check(exposureRange())
        ->type_name("STOPS");
    command
        ->add_option("--max-side", arguments->settings.maxSide,
                     "Reduce larger pictures to this width or height, for a smaller page; else they have full size")
        ->check(CLI::Range(thumbnailSize, 65536));
    command->add_flag(
        "--assets", arguments->hasAssets,
        "Keep the pictures as files in a folder beside the page, NAME-files for NAME.html, from where they "
        "are loaded as they come into sight; else they stand in the page");
    command->callback([&invocation, arguments] {
        invocation.run = [&invocation, arguments] { return run(invocation.pluginPath, *arguments); };
    });
}

}  // namespace kpx::tool
