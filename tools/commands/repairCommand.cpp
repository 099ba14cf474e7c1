// kpximage repair: copies of DDS files, or the files themselves, in a form that is decoded; and the way back.
#include <algorithm>
#include <filesystem>
#include <optional>

#include "explain/text.h"
#include "tools/commands/Batch.h"
#include "tools/commands/commands.h"
#include "tools/files/OutputPlaces.h"
#include "tools/repair/inPlaceRepair.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/json.h"
#include "tools/terminal/turns.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

struct Arguments {
    std::vector<std::string> paths;
    bool isDryRun = false;
    bool isInPlace = false;
    bool isUndo = false;
    bool mayConvert = false;
    bool json = false;
    BatchOptions batch;
};

bool isFolder(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// With --dry-run the output may be left out: what is there is then one of the inputs, so that none is passed over.
bool namesOutput(const Arguments& arguments) {
    if (arguments.isInPlace || arguments.isUndo || arguments.paths.size() < 2) return false;
    std::error_code error;
    return !arguments.isDryRun || !fs::exists(arguments.paths.back(), error);
}

void check(const Arguments& arguments) {
    if (arguments.mayConvert && (arguments.isInPlace || arguments.isUndo))
        throw UsageError("--convert needs an output");
    if (arguments.isInPlace && arguments.isUndo) throw UsageError("--undo is in place already: leave out --in-place");
    const bool needsOutput = !arguments.isDryRun && !arguments.isInPlace && !arguments.isUndo;
    if (needsOutput && arguments.paths.size() < 2) throw UsageError("OUT is required, or --dry-run or --in-place");
}

// A line of the report of a dry run.
struct Row {
    std::string result, file, remarks;
};

class Repairs {
public:
    explicit Repairs(const Arguments& arguments)
        : m_arguments(arguments), m_inputs(arguments.paths), m_hasOutput(namesOutput(arguments)) {
        if (m_hasOutput) m_inputs.pop_back();
        m_isSingle = m_inputs.size() == 1 && !isFolder(m_inputs.front());
        if (m_hasOutput) {
            const std::string& output = arguments.paths.back();
            m_places.emplace(m_inputs, output, fs::path(output).extension() == ".dds");
        }
    }

    Outcome run();

private:
    FileResult workOn(const InputFile& file);
    FileResult repair(const InputFile& file);
    FileResult undo(const InputFile& file);
    RepairReport repaired(const InputFile& file, const std::string& output);
    void show(const std::string& file, const std::string& output, const RepairReport& report);
    void addRow(std::string result, const std::string& file, std::string remarks);
    void printRows() const;

    const Arguments& m_arguments;
    std::vector<std::string> m_inputs;
    bool m_hasOutput;
    bool m_isSingle;  // one file, which was named itself
    std::optional<OutputPlaces> m_places;
    std::vector<Row> m_rows;  // added in turn
};

template <typename Remarks>
std::string idsOf(const Remarks& remarks) {
    std::string ids;
    for (const auto& remark : remarks) ids += (ids.empty() ? "" : ", ") + remark.id;
    return ids;
}

// Of UTF-8.
std::size_t charactersIn(const std::string& text) {
    const auto isFirst = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isFirst));
}

Outcome Repairs::run() {
    BatchOptions options = m_arguments.batch;
    options.isQuiet = options.isQuiet || m_isSingle;
    const InputFiles inputs = inputFiles(m_inputs, options.isRecursive);
    if (m_places) m_places->protect(inputs.files);
    const Outcome outcome = runBatch(inputs, options, [&](const InputFile& file) { return workOn(file); });
    printRows();
    if (m_arguments.isDryRun && m_hasOutput && m_places->isFolder() && !options.isQuiet)
        tell("nothing has been written to " + m_arguments.paths.back() + ", as of --dry-run");
    return outcome;
}

FileResult Repairs::workOn(const InputFile& file) {
    const auto work = [&] { return m_arguments.isUndo ? undo(file) : repair(file); };
    try {
        return m_arguments.json ? withFailureAsJson(file.path, work) : work();
    } catch (const OutputError& error) {
        tell(m_hasOutput ? m_places->of(file) : file.path, error.what());
    } catch (const FileError& error) {
        addRow("failed", file.path, error.what());
        throw;
    }
    return Outcome::failed;
}

RepairReport Repairs::repaired(const InputFile& file, const std::string& output) {
    if (m_arguments.isInPlace) return repairInPlace(file.path, m_arguments.isDryRun);
    const OpenFile input(file.path);
    RepairReport report = planRepair(input.facts(), m_arguments.mayConvert);
    if (!report.helps() || !m_hasOutput) return report;
    m_places->claim(output);
    if (m_arguments.isDryRun) return report;
    m_places->makeFolderOf(output);
    writeRepairedCopy(input, report, output);
    return report;
}

FileResult Repairs::repair(const InputFile& file) {
    const std::string output = m_hasOutput ? m_places->of(file) : "";
    const RepairReport report = repaired(file, output);
    show(file.path, output, report);
    switch (report.result) {
        case RepairResult::mended:
            return {Outcome::done, "mended"};
        case RepairResult::converted:
            return {Outcome::done, "converted"};
        case RepairResult::nothingToMend:
            return m_isSingle ? FileResult(Outcome::failed) : FileResult(Outcome::done, "with nothing to mend");
        case RepairResult::black:
            return Outcome::fallback;
        case RepairResult::refused:
            break;
    }
    return Outcome::failed;
}

void Repairs::show(const std::string& file, const std::string& output, const RepairReport& report) {
    const bool isFine = report.result == RepairResult::nothingToMend;
    const bool isTable = m_arguments.isDryRun && !m_isSingle;
    if (m_arguments.json)
        printJson(repairAsJson(file, m_arguments.isDryRun ? "" : m_arguments.isInPlace ? file : output, report));
    else if (isTable && !isFine)
        addRow(nameOf(report.result), file,
               (report.helps() ? idsOf(report.mends()) : idsOf(report.causes)) +
                   (report.isConvertible ? " (--convert helps)" : ""));
    else if (!isTable)
        for (const Remark& mend : report.mends()) print(printable(file) + ": " + mend.sentence + "\n");
    if (!report.helps() && (m_isSingle || !isFine)) tell(file, report.reason);
}

FileResult Repairs::undo(const InputFile& file) {
    const bool isUndone = undoRepair(file.path, m_arguments.isDryRun);
    if (m_arguments.json) printJson({{"file", file.path}, {"result", isUndone ? "undone" : "nothing-to-undo"}});
    if (isUndone) {
        if (!m_arguments.json) print(printable(file.path) + ": the original is back\n");
        return {Outcome::done, "undone"};
    }
    if (m_isSingle)
        tell(file.path,
             textOf("has nothing to undo: there is no ", fs::path(file.path).filename().string(), originalEnding));
    return m_isSingle ? FileResult(Outcome::failed) : FileResult(Outcome::done, "with nothing to undo");
}

void Repairs::addRow(std::string result, const std::string& file, std::string remarks) {
    if (!m_arguments.isDryRun || m_isSingle || m_arguments.json) return;
    inTurn([this, row = Row{std::move(result), printable(file), printable(std::move(remarks))}] {
        m_rows.push_back(row);
    });
}

void Repairs::printRows() const {
    if (m_rows.empty()) return;
    std::size_t resultWidth = 0, fileWidth = 0;
    const Row heading{"RESULT", "FILE", "MENDS, OR WHY NOT"};
    std::vector<Row> rows = {heading};
    rows.insert(rows.end(), m_rows.begin(), m_rows.end());
    for (const Row& row : rows) {
        resultWidth = std::max(resultWidth, charactersIn(row.result));
        fileWidth = std::max(fileWidth, charactersIn(row.file));
    }
    const auto padded = [](const std::string& text, std::size_t width) {
        return text + std::string(width - charactersIn(text) + 2, ' ');
    };
    for (const Row& row : rows)
        print(padded(row.result, resultWidth) + padded(row.file, fileWidth) + row.remarks + "\n");
}

Outcome run(const Arguments& arguments) {
    check(arguments);
    return Repairs(arguments).run();
}

}  // namespace

void addRepairCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand(
        "repair",
        "Copy DDS files that come out black or wrong with a header that is read well, their data untouched; or mend "
        "them where they are");
    auto arguments = std::make_shared<Arguments>();
    command
        ->add_option(
            "FILE", arguments->paths,
            "Files to mend, or folders of .dds files, then the output: a file, or a folder for those that are "
            "mended, which is made for folders or where its name ends with a slash. With --in-place and --undo "
            "all are to be mended; with --dry-run all that are there")
        ->required();
    command->add_flag("--dry-run", arguments->isDryRun, "Say what would be changed and write nothing");
    command->add_flag("--convert", arguments->mayConvert,
                      "Also change pictures that nothing else helps: to 8-bit BGRA or 32-bit floats, or to DXT5 with "
                      "its channels exchanged");
    command->add_flag("--in-place", arguments->isInPlace,
                      "Repair the files themselves; the original of each is kept as FILE.orig");
    command->add_flag("--undo", arguments->isUndo, "Put back the originals kept by --in-place");
    command->add_flag("--json", arguments->json, "Print one JSON object a line");
    arguments->batch.isPrinting = true;
    arguments->batch.isNaming = true;
    arguments->batch.addTo(*command, "mend");
    command->footer(
        "Exit status: 1 as well where there is nothing to mend or to undo of a single file, 3 where a file stays "
        "black.");
    command->callback([&invocation, arguments] { invocation.run = [arguments] { return run(*arguments); }; });
}

}  // namespace kpx::tool
