// kpximage repair and recode: copies of DDS files that can be decoded, or the files changed in place; and the way back.
#include <filesystem>
#include <optional>

#include "explain/text.h"
#include "tools/commands/options.h"
#include "tools/json/fileJson.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {
namespace {

enum class Mode { copy, inPlace, undo, dryRun };

struct Arguments {
    bool isInPlace = false, isUndo = false, isDryRun = false, json = false;
    bool isRecoding = false;  // pixels may change
    OutputOptions output;
    BatchOptions batch;
};

Mode modeOf(const Arguments& arguments) {
    const bool hasOutput = !arguments.output.output.empty();
    if (arguments.isInPlace + arguments.isUndo + hasOutput > 1)
        throw UsageError("--output, --in-place and --undo exclude each other");
    if (arguments.isDryRun) return Mode::dryRun;
    if (arguments.isInPlace) return Mode::inPlace;
    if (arguments.isUndo) return Mode::undo;
    if (!hasOutput)
        throw UsageError(arguments.isRecoding ? "--output or --dry-run is required"
                                              : "--output, --in-place, --undo or --dry-run is required");
    return Mode::copy;
}

class Repairs {
public:
    explicit Repairs(const Arguments& arguments) : m_arguments(arguments), m_mode(modeOf(arguments)) {
        const std::string& output = arguments.output.output;
        if (!output.empty())
            m_places.emplace(output, !arguments.batch.isSingle(), std::filesystem::path(output).extension() == ".dds",
                             arguments.output.replacing);
    }

    Outcome run() {
        const bool isToFolder = m_places && m_places->isFolder();
        const InputFiles inputs = inputsOf(m_arguments.batch, {".dds"}, isToFolder ? m_places->output() : "");
        if (m_places) m_places->protect(inputs.files);
        BatchOptions options = m_arguments.batch;
        options.isOrdered = m_mode == Mode::inPlace || m_mode == Mode::undo;
        return runJsonBatch(inputs, options, m_arguments.json, [&](const InputFile& file, Report& report) {
            return m_arguments.isUndo ? undo(file.path, report) : workOn(file, report);
        });
    }

private:
    Outcome workOn(const InputFile& file, Report& report) {
        const bool isDryRun = m_mode == Mode::dryRun;
        const std::string output = m_mode == Mode::inPlace ? file.path : m_mode == Mode::copy ? m_places->of(file) : "";
        const RepairPlan plan = repair(file, output, report);
        const char* done = plan.result == RepairResult::recoded ? "recoded" : "repaired";
        const char* wouldBe = plan.result == RepairResult::recoded ? "would be recoded" : "would be repaired";
        if (m_arguments.json)
            report.print(jsonText(repairAsJson(file.path, output, plan, isDryRun)) + "\n");
        else
            for (const Remark& change : plan.changes())
                report.print(
                    textOf(printable(file.path), ": ", isDryRun ? textOf(wouldBe, ". ") : "", change.sentence, "\n"));
        if (plan.helps()) {
            if (report.counted() == nullptr) report.countAs(isDryRun ? wouldBe : done);
            return isDryRun ? Outcome::bad : Outcome::done;
        }
        if (plan.result == RepairResult::nothingToRepair) {
            report.countAs(m_arguments.isRecoding ? "with nothing to recode" : "with nothing to repair");
            if (m_arguments.batch.isSingle()) report.note(plan.reason);
            return Outcome::done;
        }
        report.warn(plan.reason);
        if (plan.result != RepairResult::black) return Outcome::failed;
        report.countAs("black");
        return Outcome::bad;
    }

    [[nodiscard]] RepairPlan repair(const InputFile& file, const std::string& output, Report& report) {
        if (m_mode == Mode::inPlace) return repairInPlace(file.path);
        const OpenFile input(file.path);
        RepairPlan plan = planRepair(input.facts(), m_arguments.isRecoding);
        if (m_mode == Mode::dryRun || !plan.helps()) return plan;
        if (m_places->claim(output, file.path))
            writeRepaired(input, plan, output, m_places->existing());
        else
            report.countAs("up to date");
        return plan;
    }

    Outcome undo(const std::string& path, Report& report) const {
        const bool isDryRun = m_mode == Mode::dryRun;
        const bool isUndone = undoRepair(path, isDryRun);
        report.countAs(!isUndone ? "with nothing to undo" : isDryRun ? "would be undone" : "undone");
        if (m_arguments.json)
            report.print(
                jsonText({{"file", path}, {"result", isUndone ? "undone" : "nothing-to-undo"}, {"dryRun", isDryRun}}) +
                "\n");
        else if (isUndone)
            report.print(printable(path) +
                         (isDryRun ? ": the original would be restored\n" : ": the original is restored\n"));
        else if (m_arguments.batch.isSingle())
            report.note(textOf("nothing to undo: there is no ", std::filesystem::path(path).filename().string(),
                               originalEnding));
        return Outcome::done;
    }

    const Arguments& m_arguments;
    const Mode m_mode;
    std::optional<OutputPlaces> m_places;
};

Outcome run(const std::string& /*pluginPath*/, const Arguments& arguments) {
    return Repairs(arguments).run();
}

Command<Arguments> addRepairing(CLI::App& app, Invocation& invocation, const char* name, const char* description) {
    const auto command = addCommand(app, invocation, name, description, run);
    Arguments& arguments = command.arguments;
    arguments.batch.addTo(command.app, "DDS files, or folders of them");
    arguments.output.addTo(command.app,
                           "Output file or folder; a new folder is created if PATH is a folder or OUT ends in \"/\"");
    command.app.add_flag("--dry-run", arguments.isDryRun,
                         "Only report what would change; exit with 3 if anything would");
    command.app.add_flag("--json", arguments.json, "Print one JSON object per line");
    arguments.batch.isNaming = true;
    return command;
}

}  // namespace

void addRepairCommand(CLI::App& app, Invocation& invocation) {
    const auto command = addRepairing(
        app, invocation, "repair",
        "Fix the headers of DDS files that cannot be decoded or decode wrongly. Pixel data is not changed");
    command.app.add_flag("--in-place", command.arguments.isInPlace,
                         "Repair the files themselves and keep the originals as FILE.orig");
    command.app.add_flag("--undo", command.arguments.isUndo, "Restore the originals kept by --in-place");
}

void addRecodeCommand(CLI::App& app, Invocation& invocation) {
    addRepairing(app, invocation, "recode",
                 "Convert DDS files from a format that cannot be decoded into a readable one; also repairs headers")
        .arguments.isRecoding = true;
}

}  // namespace kpx::tool
