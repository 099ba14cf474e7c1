// Threads take the next file of the list until there is none.
#include "tools/commands/Batch.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

#include "explain/text.h"
#include "tools/terminal/console.h"
#include "tools/terminal/turns.h"

namespace kpx::tool {
namespace {

using Work = std::function<FileResult(const InputFile&)>;

// What files are counted as.
using Count = std::pair<Outcome, std::string>;

// Hands the files out to the threads, and gathers what becomes of them.
class Batch {
public:
    Batch(const std::vector<InputFile>& files, const BatchOptions& options, const Work& work)
        : m_files(files),
          m_work(work),
          m_hasCount(!options.isQuiet && files.size() > 1),
          m_hasProgress(m_hasCount && isatty(STDERR_FILENO) == 1 &&
                        !(options.isPrinting && isatty(STDOUT_FILENO) == 1)) {}

    Outcome run(unsigned jobs);

private:
    void workOnFiles();
    void workOnFileInTurn(size_t i);
    void tellInTurn(size_t i, Actions actions);
    void workOn(const InputFile& file);
    void stop(std::exception_ptr error);
    [[nodiscard]] std::string count() const;

    const std::vector<InputFile>& m_files;
    const Work& m_work;
    const bool m_hasCount;
    const bool m_hasProgress;
    std::atomic<size_t> m_next{0};
    std::mutex m_mutex;  // of what follows
    size_t m_finished = 0;
    Outcome m_worst = Outcome::done;
    std::map<Count, size_t> m_counts;
    std::exception_ptr m_error;  // the first that ends the run

    size_t m_jobs = 1;
    std::mutex m_turnMutex;  // of what follows
    std::condition_variable m_turnChanged;
    size_t m_turn = 0;  // the first file that has not told its result
    // Of each file, none until it is done; told in turn. The room is taken first: what waits for a turn must not fail.
    std::vector<std::optional<Actions>> m_results;
};

void Batch::workOnFiles() {
    for (size_t i = m_next++; i < m_files.size(); i = m_next++) {
        try {
            if (m_jobs > 1)
                workOnFileInTurn(i);
            else
                workOn(m_files[i]);
        } catch (...) {
            stop(std::current_exception());
        }
    }
}

void Batch::workOnFileInTurn(size_t i) {
    Turn turn;
    try {
        workOn(m_files[i]);
    } catch (...) {
        stop(std::current_exception());
    }
    tellInTurn(i, turn.takeActions());
}

// Results that wait for a slow file before them are memory: a thread that is far ahead waits itself. The thread of the
// file whose turn it is never does.
void Batch::tellInTurn(size_t i, Actions actions) {
    constexpr size_t ahead = 8;  // for each job
    std::unique_lock lock(m_turnMutex);
    m_turnChanged.wait(lock, [&] { return i < m_turn + ahead * m_jobs; });
    m_results[i] = std::move(actions);
    for (; m_turn < m_results.size() && m_results[m_turn].has_value(); ++m_turn) {
        const Actions next = std::move(*m_results[m_turn]);
        try {
            for (const auto& action : next) action();
        } catch (...) {
            stop(std::current_exception());
        }
    }
    m_turnChanged.notify_all();
}

void Batch::workOn(const InputFile& file) {
    FileResult result(Outcome::failed);
    const Outcome outcome = workOnFile(file.path, [&] {
        result = m_work(file);
        return result.outcome;
    });
    const char* usual = outcome == Outcome::done ? "done" : outcome == Outcome::fallback ? "black" : "failed";
    const std::lock_guard lock(m_mutex);
    ++m_finished;
    ++m_counts[{outcome, result.counted == nullptr ? usual : result.counted}];
    m_worst = worse(m_worst, outcome);
    if (m_hasProgress) showProgress(textOf(m_finished, " of ", m_files.size(), " files"));
}

void Batch::stop(std::exception_ptr error) {
    const std::lock_guard lock(m_mutex);
    if (m_error == nullptr) m_error = std::move(error);
    m_next = m_files.size();
}

std::string Batch::count() const {
    std::string text = textOf(m_files.size(), " files:");
    const char* separator = " ";
    // The good, the black and the failed, whatever the values of the outcomes.
    for (const Outcome outcome : {Outcome::done, Outcome::fallback, Outcome::failed}) {
        for (const auto& [count, number] : m_counts) {
            if (count.first != outcome) continue;
            text += textOf(separator, number, " ", count.second);
            separator = ", ";
        }
    }
    return text;
}

Outcome Batch::run(unsigned jobs) {
    m_jobs = std::min<size_t>(jobs, m_files.size());
    m_results.resize(m_jobs > 1 ? m_files.size() : 0);
    {
        std::vector<std::jthread> others;
        for (size_t i = 1; i < m_jobs; ++i) {
            try {
                others.emplace_back([this] { workOnFiles(); });
            } catch (const std::system_error&) {
                break;  // no more threads are to be had; those that there are do it all
            }
        }
        workOnFiles();
    }
    if (m_hasProgress) showProgress("");
    if (m_error != nullptr) std::rethrow_exception(m_error);
    if (m_hasCount) tell(count());
    return m_worst;
}

// Files of one name are worked on one after the other where it matters which is first.
unsigned jobsFor(const std::vector<InputFile>& files, const BatchOptions& options) {
    std::set<std::filesystem::path> names;
    const auto isNew = [&](const InputFile& file) {
        return names.insert(file.folder / std::filesystem::path(file.path).stem()).second;
    };
    if (options.isNaming && !std::all_of(files.begin(), files.end(), isNew)) return 1;
    return options.jobs > 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
}

}  // namespace

void BatchOptions::addTo(CLI::App& command, const std::string& verb) {
    command.add_flag("-r,--recursive", isRecursive, "Take the .dds files in the folders below a folder as well");
    command.add_flag("--quiet", isQuiet, "Show no progress and no count");
    command.add_option("--jobs", jobs, "How many files to " + verb + " at once; else as many as there are processors")
        ->check(CLI::Range(1, 256));
}

Outcome runBatch(const InputFiles& inputs, const BatchOptions& options, const Work& work) {
    const Outcome outcome = Batch(inputs.files, options, work).run(jobsFor(inputs.files, options));
    return inputs.isComplete ? outcome : worse(outcome, Outcome::failed);
}

}  // namespace kpx::tool
