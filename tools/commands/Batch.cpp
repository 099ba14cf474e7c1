// Threads take the next file until none is left. The thread that finishes the file whose turn it is prints the reports
// that wait.
#include "tools/commands/Batch.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

#include "explain/text.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

struct Result {
    Outcome outcome;
    Report report;
};

// The messages of a run. Those that several files have alike are printed once, at the end.
class Messages {
public:
    Messages(const BatchOptions& options, bool isGrouping) : m_options(options), m_isGrouping(isGrouping) {}

    void add(const Message& message) {
        if (message.kind == Message::Kind::note && m_options.isQuiet) return;
        if (!m_isGrouping) return printMessage(message.file, message.sentence);
        const auto [group, isNew] = m_places.try_emplace(message.group, m_groups.size());
        if (isNew) m_groups.push_back({message, 0});
        ++m_groups[group->second].files;
    }

    void printGroups() const {
        for (const auto& [first, files] : m_groups)
            files == 1 ? printMessage(first.file, first.sentence) : printMessage(textOf(files, " files"), first.group);
    }

private:
    struct Group {
        Message first;
        std::size_t files;
    };

    const BatchOptions& m_options;
    bool m_isGrouping;
    std::vector<Group> m_groups;
    std::map<std::string, std::size_t> m_places;
};

class Batch {
public:
    Batch(const std::vector<InputFile>& files, const BatchOptions& options, const Work& work, std::size_t jobs)
        : m_files(files),
          m_work(work),
          m_hasCount(!options.isQuiet && files.size() > 1),
          m_hasProgress(m_hasCount && isatty(STDERR_FILENO) == 1),
          m_jobs(std::min(jobs, files.size())),
          m_results(files.size()),
          m_messages(options, files.size() > 1 && !options.isVerbose) {}

    Outcome run() {
        {
            std::vector<std::jthread> others;
            try {
                while (others.size() + 1 < m_jobs) others.emplace_back([this] { workOnFiles(); });
            } catch (const std::system_error&) {
                // The system has no more threads; the existing ones do all the work.
            }
            workOnFiles();
        }
        if (m_hasProgress) showProgress("");
        // Reports of files behind one that ended the run.
        for (const std::optional<Result>& result : m_results) {
            if (result) write(*result);
        }
        m_messages.printGroups();
        if (m_error != nullptr) end();
        if (m_hasCount) printMessage(count());
        return m_worst;
    }

private:
    void workOnFiles() {
        for (std::size_t i = m_next++; i < m_files.size(); i = m_next++) {
            try {
                take(i, workOn(m_files[i]));
            } catch (...) {
                const std::lock_guard lock(m_mutex);
                if (m_error == nullptr) m_error = std::current_exception();
                m_next = m_files.size();
                m_turnChanged.notify_all();
            }
        }
    }

    [[nodiscard]] Result workOn(const InputFile& file) {
        Report report(file.path);
        Outcome outcome = Outcome::failed;
        try {
            stopIfInterrupted();
            outcome = m_work(file, report);
        } catch (const UsageError&) {
            throw;
        } catch (const Interrupted&) {
            throw;
        } catch (const OutputError& error) {
            report.warnAbout(error.file().empty() ? file.path : error.file(), error.what());
        } catch (const std::bad_alloc&) {
            report.warn("not enough memory");
        } catch (const std::exception& error) {
            report.warn(error.what());
        }
        return {outcome, std::move(report)};
    }

    // Bounds the memory of results that wait for a slow file: a thread that is far ahead waits itself. The thread of
    // the file whose turn it is never does.
    void take(std::size_t i, Result result) {
        constexpr std::size_t ahead = 8;  // for each job
        std::unique_lock lock(m_mutex);
        m_turnChanged.wait(lock, [&] { return i < m_turn + ahead * m_jobs || m_error != nullptr; });
        ++m_finished;
        m_results[i] = std::move(result);
        for (; m_turn < m_results.size() && m_results[m_turn]; ++m_turn) {
            write(*m_results[m_turn]);
            m_results[m_turn].reset();
        }
        if (m_hasProgress) showProgress(textOf(m_finished, " of ", m_files.size(), " files"));
        m_turnChanged.notify_all();
    }

    void write(const Result& result) {
        print(result.report.output());
        for (const Message& message : result.report.messages()) m_messages.add(message);
        const char* usual = result.outcome == Outcome::done  ? "done"
                            : result.outcome == Outcome::bad ? "bad"
                                                             : "failed";
        auto& [worst, number] = m_counts[result.report.counted() == nullptr ? usual : result.report.counted()];
        worst = worse(worst, result.outcome);
        ++number;
        m_worst = worse(m_worst, result.outcome);
    }

    // Throws what ended the run.
    [[noreturn]] void end() const {
        try {
            std::rethrow_exception(m_error);
        } catch (const Interrupted&) {
            printMessage(
                textOf("stopped after ", m_finished, " of ", m_files.size(), m_files.size() == 1 ? " file" : " files"));
            throw;
        }
    }

    [[nodiscard]] std::string count() const {
        std::string text;
        for (const Outcome outcome : {Outcome::done, Outcome::bad, Outcome::failed}) {
            for (const auto& [what, count] : m_counts) {
                if (count.first == outcome) text += textOf(text.empty() ? "" : ", ", count.second, " ", what);
            }
        }
        return textOf(m_files.size(), " files: ", text);
    }

    const std::vector<InputFile>& m_files;
    const Work& m_work;
    const bool m_hasCount, m_hasProgress;
    const std::size_t m_jobs;
    std::atomic<std::size_t> m_next{0};
    std::mutex m_mutex;  // of what follows
    std::condition_variable m_turnChanged;
    std::size_t m_finished = 0;
    std::size_t m_turn = 0;                        // the first file that is not written
    std::vector<std::optional<Result>> m_results;  // that wait for their turn
    Messages m_messages;
    Outcome m_worst = Outcome::done;
    std::map<std::string, std::pair<Outcome, std::size_t>> m_counts;  // the worst outcome, and how many files
    std::exception_ptr m_error;                                       // the first that ends the run
};

bool hasSameNames(const std::vector<InputFile>& files) {
    std::set<std::filesystem::path> names;
    return !std::all_of(files.begin(), files.end(), [&](const InputFile& file) {
        return names.insert(file.folder / std::filesystem::path(file.path).stem()).second;
    });
}

// Adds the lines of a file, or of standard input for "-".
void addListed(std::vector<std::string>& paths, const std::string& list) {
    std::ifstream file;
    if (list != "-") file.open(list);
    if (list != "-" && !file) throw UsageError(list + ": cannot be opened");
    std::istream& lines = list == "-" ? std::cin : file;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) paths.push_back(line);
    }
}

}  // namespace

void BatchOptions::addTo(CLI::App& command, const char* whatPathsAre) {
    command.add_option("PATH", paths,
                       std::string(whatPathsAre) + "; \"-\" reads paths from standard input, one per line");
    command.add_option("--files-from", list, "Read a list of paths from FILE, one per line")->type_name("FILE");
    command.add_flag("-r,--recursive", isRecursive, "Include the folders below a folder");
    command.add_option("-j,--jobs", jobs, "Number of files processed in parallel (default: one per CPU)")
        ->check(CLI::Range(1, 256, "1 to 256"))
        ->type_name("N");
    command.add_flag("-q,--quiet", isQuiet, "Print no notes, no progress and no summary");
    command.add_flag("-v,--verbose", isVerbose,
                     "Print every message of every file (default: a repeated message only once)");
}

bool BatchOptions::isSingle() const {
    std::error_code error;
    return list.empty() && paths.size() == 1 && paths[0] != "-" && !std::filesystem::is_directory(paths[0], error);
}

InputFiles inputsOf(const BatchOptions& options, const std::vector<std::string>& extensions,
                    const std::string& leftOut) {
    if (options.paths.empty() && options.list.empty()) throw UsageError("PATH is required");
    std::vector<std::string> paths;
    for (const std::string& path : options.paths) path == "-" ? addListed(paths, path) : paths.push_back(path);
    if (!options.list.empty()) addListed(paths, options.list);
    return inputFiles(paths, {options.isRecursive, extensions, leftOut});
}

Outcome runBatch(const InputFiles& inputs, const BatchOptions& options, const Work& work) {
    const bool isOrdered = options.isOrdered || (options.isNaming && hasSameNames(inputs.files));
    const unsigned jobs = isOrdered          ? 1
                          : options.jobs > 0 ? options.jobs
                                             : std::max(1U, std::thread::hardware_concurrency());
    const Outcome outcome = Batch(inputs.files, options, work, jobs).run();
    return inputs.isComplete ? outcome : worse(outcome, Outcome::failed);
}

}  // namespace kpx::tool
