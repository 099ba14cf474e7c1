// Makes the record of each file, JSON for the page's script: name, grade, findings, facts, versions of its picture, and
// a strip of its mipmaps, faces and slices.
#include "tools/gallery/Gallery.h"

#include <glib.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "explain/Explanation.h"
#include "explain/text.h"
#include "explain/verdict.h"
#include "tools/files/PendingFile.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/adjustedSource.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

constexpr int thumbnailSide = 256;  // the largest width and height

void addFinding(Json& record, Grade severity, const std::string& text, const std::string& advice = "") {
    record["findings"].push_back({{"severity", gradeName(severity)}, {"text", text}});
    if (!advice.empty()) record["findings"].back()["advice"] = advice;
}

void addFact(Json& record, const char* label, const std::string& text) {
    record["facts"].push_back({label, text});
}

void describe(Json& record, const Explanation& file) {
    record["grade"] = gradeName(file.grade);
    for (const Finding& finding : file.findings) addFinding(record, finding.severity, finding.sentence, finding.advice);
    if (file.grade == Grade::unreadable) return;
    const DDS_HEADER& header = file.facts.header.header;
    record["format"] = formatLabel(file);
    record["size"] = textOf(header.dwWidth, " × ", header.dwHeight);
    record["pixels"] = std::uint64_t{header.dwWidth} * header.dwHeight;
    addFact(record, "Format", formatLabel(file));
    addFact(record, "Size", record["size"]);
    const std::string contents = contentsText(file.contents);
    if (!contents.empty()) addFact(record, "Contents", contents);
    addFact(record, "File", bytesText(file.facts.fileBytes));
}

bool isOpaque(const SmallPicture& picture) {
    for (std::size_t i = 3; i < picture.pixels.size(); i += 4) {
        if (picture.pixels[i] != 255) return false;
    }
    return true;
}

// Whether the text can be copied from a page to a terminal: valid UTF-8 without characters that act on it.
bool isCopyable(const std::string& text) {
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != 0 && printable(text) == text;
}

std::string shellWord(const std::string& text) {
    constexpr const char* plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./,:@%+";
    if (text.find_first_not_of(plain) == std::string::npos) return text;
    const std::unique_ptr<char, void (*)(void*)> quoted(g_shell_quote(text.c_str()), g_free);
    return quoted.get();
}

std::string freeName(const fs::path& input, const char* mark) {
    for (int number = 1;; ++number) {
        fs::path name = input;
        const std::string ending = number == 1 ? mark : textOf(mark, "-", number);
        name.replace_filename(input.stem().string() + ending + input.extension().string());
        std::error_code error;
        if (!fs::exists(fs::symlink_status(name, error))) return name.string();
    }
}

// Returns the command for a POSIX shell that writes the repaired or recoded copy beside the file.
std::string helpingCommand(const std::string& input, bool isRecoding) {
    // A name that starts with a dash would be taken for an option.
    const std::string file = input.starts_with('-') ? "./" + input : input;
    const std::string output = freeName(file, isRecoding ? "-recoded" : "-repaired");
    return textOf("kpximage ", isRecoding ? "recode " : "repair ", shellWord(file), " -o ", shellWord(output));
}

// A file on its way into the page.
class Entry {
public:
    Entry(const host::Plugin& plugin, const GallerySettings& settings, const GalleryFolder& folder, std::size_t number,
          const fs::path& path)
        : m_plugin(plugin),
          m_settings(settings),
          m_folder(folder),
          m_prefix(textOf(number, "-")),
          m_record({{"folder", path.parent_path().string()},
                    {"name", path.filename().string()},
                    {"grade", gradeName(Grade::unreadable)},
                    {"findings", Json::array()},
                    {"facts", Json::array()},
                    {"versions", Json::object()}}) {}

    Outcome add(const OpenFile& file, Report& report);
    void fail(const std::string& message, Report& report);
    // File names need not be valid UTF-8; a page must be.
    [[nodiscard]] std::string text() const { return m_record.dump(-1, ' ', false, Json::error_handler_t::replace); }

private:
    // Throws if there is not enough memory for the picture.
    void addVersion(const char* version, const OpenFile& file);
    void addRepaired(const OpenFile& file);
    void addStrip(const OpenFile& file, const FileFacts& facts);

    const host::Plugin& m_plugin;
    const GallerySettings& m_settings;
    const GalleryFolder& m_folder;
    std::string m_prefix;  // of the names of its pictures
    Json m_record;
    double m_exposure = 0.0;  // of the latest version
    bool m_isAdded = false;   // the file's own picture is in the page, if it has one
};

Outcome Entry::add(const OpenFile& file, Report& report) {
    const Explanation explanation = explain(file.facts());
    describe(m_record, explanation);
    warnOfGrade(explanation, report);
    const Outcome outcome = outcomeOf(explanation.grade, false);
    if (explanation.grade == Grade::unreadable) return outcome;
    // The black picture of a file that cannot be decoded adds nothing to its grade.
    if (explanation.grade != Grade::black) addVersion("original", file);
    m_isAdded = true;
    addRepaired(file);
    file.checkIsUnchanged();
    return outcome;
}

void Entry::fail(const std::string& message, Report& report) {
    report.warn(message);
    if (m_isAdded) return addFinding(m_record, Grade::noted, "Some of its pictures are missing here: " + message + ".");
    if (m_record["findings"].empty()) addFinding(m_record, Grade::unreadable, message + ".");
}

void Entry::addVersion(const char* version, const OpenFile& file) {
    auto source = std::make_unique<DdsSource>(m_plugin, file);
    if (source->isBlack()) throw std::bad_alloc();
    const ImageLayout layout = source->layout();
    m_exposure = !layout.isFloat ? 0.0 : m_settings.exposure ? *m_settings.exposure : fittingExposure(*source);
    const auto shown = asShown(std::move(source), m_exposure);
    const SmallPicture thumbnail = smallPicture(*shown, thumbnailSide);
    const SmallPicture picture = smallPicture(*shown, m_settings.maxSide);
    const std::string prefix = m_prefix + version + "-";
    Json& entry = m_record["versions"][version];
    entry = {{"width", layout.width},
             {"height", layout.height},
             {"shown", {picture.width, picture.height}},
             {"channels", textOf(channelUse(layout).names, layout.isFloat ? ", 32-bit float" : ", 8-bit")},
             {"thumbnail", m_folder.write(prefix + "thumbnail", thumbnail)},
             {"all", m_folder.write(prefix + "all", picture)}};
    if (!isOpaque(picture)) {
        entry["colour"] = m_folder.write(prefix + "colour", picture, 0, 3);
        entry["alpha"] = m_folder.write(prefix + "alpha", picture, 3, 1);
    }
    if (layout.isFloat)
        entry["exposure"] = textOf(m_exposure > 0 ? "+" : "", m_exposure, " stops",
                                   m_settings.exposure ? "" : ", chosen automatically");
}

// If the file can be repaired or recoded, adds the copy and the strip of its pictures; else the strip of the file's
// own.
void Entry::addRepaired(const OpenFile& file) {
    const RepairPlan plan = planRepair(file.facts(), true);
    if (!plan.helps()) return addStrip(file, file.facts());
    if (isCopyable(file.name()))
        m_record["command"] = helpingCommand(file.name(), plan.result == RepairResult::recoded);
    for (const Remark& change : plan.changes()) m_record["changes"].push_back(change.sentence);
    const std::uint64_t pictures = std::max<std::uint64_t>(stripCount(plan.repair.facts), 1);
    if (repairedBytes(plan, pictures) > stripBytes)
        throw FileError(textOf("the repaired picture is larger than ", stripBytes >> 20, " MiB"));
    const TemporaryFile copy;
    writeRepaired(file, plan, copy.descriptor(), pictures);
    const OpenFile repaired(copy.path(), "the repaired copy of " + file.name());
    addVersion("repaired", repaired);
    addStrip(repaired, plan.repair.facts);
}

void Entry::addStrip(const OpenFile& file, const FileFacts& facts) {
    Json strip = surfaceStrip(m_plugin, file, facts, m_exposure, m_folder, m_prefix);
    if (!strip.is_null()) m_record["strip"] = std::move(strip);
}

}  // namespace

Outcome Gallery::add(std::size_t i, const std::string& path, Report& report) {
    Entry entry(m_plugin, m_settings, m_folder, i, path);
    Outcome outcome = Outcome::failed;
    try {
        const OpenFile file(path);
        m_hasFiles = true;
        outcome = entry.add(file, report);
    } catch (const Interrupted&) {
        throw;
    } catch (const OutputError& error) {
        // A gallery without all its pictures is not finished: this is reported once, at the end.
        const std::lock_guard lock(m_mutex);
        if (m_failure.empty()) m_failure = error.what();
        return Outcome::failed;
    } catch (const std::bad_alloc&) {
        entry.fail("not enough memory", report);
    } catch (const std::exception& error) {
        entry.fail(error.what(), report);
    }
    m_records[i] = entry.text();
    return outcome;
}

bool Gallery::finish() {
    if (!m_failure.empty()) throw OutputError(m_failure);
    if (!m_hasFiles) return false;
    m_folder.writePage(m_records);
    m_folder.commit();
    return true;
}

}  // namespace kpx::tool
