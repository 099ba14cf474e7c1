// The record of a file is JSON for the page's script: name, grade, findings, facts, versions of its picture, a strip.
#include "tools/gallery/Gallery.h"

#include <filesystem>
#include <optional>

#include "explain/text.h"
#include "explain/verdict.h"
#include "tools/files/PendingFile.h"
#include "tools/gallery/helpingCommand.h"
#include "tools/gallery/surfaceStrip.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/channelUse.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {

struct Gallery::Entry {
    std::size_t number;
    Json record;
    double exposure = 0.0;  // of the version that was added last
    bool isAdded = false;   // the file itself is in the page; what fails after that is a shortfall of the page alone
};

namespace {

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

std::string exposureText(const GalleryPictures& pictures, const GallerySettings& settings) {
    return textOf(*pictures.exposure > 0 ? "+" : "", *pictures.exposure, " stops",
                  settings.exposure ? "" : ", chosen automatically");
}

}  // namespace

Gallery::Gallery(const host::Plugin& plugin, const GallerySettings& settings, const std::string& folder)
    : m_plugin(plugin), m_settings(settings), m_folder(folder), m_page(m_folder.page()) {}

Outcome Gallery::add(std::size_t i, const std::string& path, Report& report) {
    const std::filesystem::path place(path);
    Entry entry{i,
                {{"folder", place.parent_path().string()},
                 {"name", place.filename().string()},
                 {"grade", gradeName(Grade::unreadable)},
                 {"findings", Json::array()},
                 {"facts", Json::array()},
                 {"versions", Json::object()}}};
    Outcome outcome = Outcome::failed;
    const auto fail = [&](const std::string& message) {
        if (entry.isAdded)
            return addFinding(entry.record, Grade::noted, "Some of its pictures are missing here: " + message + ".");
        report.warn(message);
        if (entry.record["findings"].empty()) addFinding(entry.record, Grade::unreadable, message + ".");
    };
    try {
        outcome = addFile(path, entry, report);
    } catch (const Interrupted&) {
        throw;
    } catch (const OutputError& error) {
        // A gallery that lacks a picture is not finished; nothing else has to be said of it.
        const std::lock_guard lock(m_mutex);
        if (m_failure.empty()) m_failure = error.what();
        return Outcome::failed;
    } catch (const std::bad_alloc&) {
        fail("not enough memory");
    } catch (const std::exception& error) {
        fail(error.what());
    }
    const std::lock_guard lock(m_mutex);
    m_waiting.emplace(i, std::move(entry.record));
    for (auto next = m_waiting.begin(); next != m_waiting.end() && next->first == m_next; ++m_next) {
        m_page.add(next->second);
        next = m_waiting.erase(next);
    }
    return outcome;
}

Outcome Gallery::addFile(const std::string& path, Entry& entry, Report& report) {
    const OpenFile file(path);
    m_hasFiles = true;
    const Explanation explanation = explain(file.facts());
    describe(entry.record, explanation);
    warnOfGrade(explanation, report);
    const Outcome outcome = outcomeOf(explanation.grade, false);
    if (explanation.grade == Grade::unreadable) return outcome;
    // The black picture of a file that is not decoded says nothing that the grade does not.
    if (explanation.grade != Grade::black) {
        DdsSource source(m_plugin, file);
        addVersion("original", source, entry);
        if (source.isBlack()) throw std::bad_alloc();
    }
    entry.isAdded = true;
    addRepaired(file, entry);
    file.checkIsUnchanged();
    return outcome;
}

void Gallery::addVersion(const char* version, DdsSource& source, Entry& entry) const {
    const GalleryPictures made = galleryPictures(source, m_settings);
    entry.exposure = made.exposure.value_or(0.0);
    const ImageLayout& layout = source.layout();
    const auto keep = [&](const char* what, const Png& picture) {
        return m_folder.write(textOf(entry.number, "-", version, "-", what, ".png"), picture);
    };
    Json& shown = entry.record["versions"][version];
    shown = {{"width", layout.width},
             {"height", layout.height},
             {"shown", {made.width, made.height}},
             {"channels", textOf(channelUse(layout).names, layout.isFloat ? ", 32-bit float" : ", 8-bit")},
             {"thumbnail", keep("thumbnail", made.thumbnail)},
             {"all", keep("all", made.all)}};
    if (!made.alpha.empty()) shown["colour"] = keep("colour", made.colour);
    if (!made.alpha.empty()) shown["alpha"] = keep("alpha", made.alpha);
    if (made.exposure) shown["exposure"] = exposureText(made, m_settings);
}

// The repaired or recoded copy, if there is one, and the strip of its pictures, or of the file's own.
void Gallery::addRepaired(const OpenFile& file, Entry& entry) const {
    const RepairPlan plan = planRepair(file.facts(), true);
    if (!plan.helps()) return addStrip(file, file.facts(), entry);
    const bool isRecoding = plan.result == RepairResult::recoded;
    const std::string command = helpingCommand(file.name(), isRecoding);
    if (!command.empty()) entry.record["command"] = command;
    for (const Remark& change : plan.changes()) entry.record["changes"].push_back(change.sentence);
    const std::uint64_t pictures = std::max<std::uint64_t>(stripCount(plan.repair.facts), 1);
    if (repairedBytes(plan, pictures) > stripBytes)
        throw FileError(textOf("the repaired picture is larger than ", stripBytes >> 20, " MiB"));
    const TemporaryFile copy;
    writeRepaired(file, plan, copy.descriptor(), pictures);
    const OpenFile repaired(copy.path(), "the repaired copy of " + file.name());
    DdsSource source(m_plugin, repaired);
    if (source.isBlack()) throw FileError("the repaired file cannot be decoded");
    addVersion("repaired", source, entry);
    addStrip(repaired, plan.repair.facts, entry);
}

void Gallery::addStrip(const OpenFile& file, const FileFacts& facts, Entry& entry) const {
    const auto keep = [&](const std::string& name, const Png& picture) {
        return m_folder.write(textOf(entry.number, "-", name, ".png"), picture);
    };
    Json strip = surfaceStrip(m_plugin, file, facts, entry.exposure, keep);
    if (!strip.is_null()) entry.record["strip"] = std::move(strip);
}

bool Gallery::finish() {
    if (!m_failure.empty()) throw OutputError(m_failure);
    if (!m_hasFiles) return false;
    m_page.finish();
    m_folder.commit();
    return true;
}

}  // namespace kpx::tool
