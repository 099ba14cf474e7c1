// Threads take the next file of the list until there is none.
#include "tools/commands/Batch.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "explain/text.h"
#include "tools/terminal/console.h"

namespace kpx::tool {
namespace {

using Work = std::function<Outcome(const InputFile&)>;

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
    void finishOne(Outcome outcome);
    void stop(std::exception_ptr error);
    [[nodiscard]] std::string count() const;

    const std::vector<InputFile>& m_files;
    const Work& m_work;
    const bool m_hasCount;
    const bool m_hasProgress;
    std::atomic<size_t> m_next{0};
    std::mutex m_mutex;  // of what follows
    size_t m_done = 0, m_black = 0, m_failed = 0;
    std::exception_ptr m_error;  // the first that ends the run
};

void Batch::workOnFiles() {
    for (size_t i = m_next++; i < m_files.size(); i = m_next++) {
        try {
            finishOne(workOnFile(m_files[i].path, [&] { return m_work(m_files[i]); }));
        } catch (...) {
            stop(std::current_exception());
        }
    }
}

void Batch::finishOne(Outcome outcome) {
    const std::lock_guard lock(m_mutex);
    ++(outcome == Outcome::done ? m_done : outcome == Outcome::fallback ? m_black : m_failed);
    if (m_hasProgress) showProgress(textOf(m_done + m_black + m_failed, " of ", m_files.size(), " files"));
}

void Batch::stop(std::exception_ptr error) {
    const std::lock_guard lock(m_mutex);
    if (m_error == nullptr) m_error = std::move(error);
    m_next = m_files.size();
}

std::string Batch::count() const {
    std::string text = textOf(m_files.size(), " files:");
    const char* separator = " ";
    const auto add = [&](size_t number, const char* what) {
        if (number > 0) text += textOf(separator, number, " ", what);
        if (number > 0) separator = ", ";
    };
    add(m_done, "done");
    add(m_black, "black");
    add(m_failed, "failed");
    return text;
}

Outcome Batch::run(unsigned jobs) {
    {
        std::vector<std::jthread> others;
        for (size_t i = 1; i < std::min<size_t>(jobs, m_files.size()); ++i) {
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
    return m_failed > 0 ? Outcome::failed : m_black > 0 ? Outcome::fallback : Outcome::done;
}

}  // namespace

void BatchOptions::addTo(CLI::App& command) {
    command.add_flag("-r,--recursive", isRecursive, "Take the .dds files in the folders below a folder as well");
    command.add_flag("--quiet", isQuiet, "Show no progress and no count");
}

Outcome runBatch(const std::vector<std::string>& paths, const BatchOptions& options, const Work& work) {
    const InputFiles inputs = inputFiles(paths, options.isRecursive);
    const Outcome outcome = Batch(inputs.files, options, work).run(options.jobs);
    return inputs.isComplete ? outcome : worse(outcome, Outcome::failed);
}

}  // namespace kpx::tool
