// The work on many files: one after the other or several at once, with a line of progress and a count at the end.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "tools/files/inputFiles.h"
#include "tools/terminal/Outcome.h"

namespace kpx::tool {

struct BatchOptions {
    bool isRecursive = false;
    bool isQuiet = false;     // neither progress nor count
    bool isPrinting = false;  // the work writes to standard output, which may be the terminal of the progress line
    bool isNaming = false;    // the work names files by the inputs, of which one of the same name comes first
    unsigned jobs = 0;        // how many files are worked on at once; 0: as many as there are processors

    // The verb says what is done with a file.
    void addTo(CLI::App& command, const std::string& verb);
};

// What became of a file, and what it is counted as.
struct FileResult {
    FileResult(Outcome end, const char* what = nullptr) : outcome(end), counted(what) {}

    Outcome outcome;
    const char* counted;  // null: done, black or failed, as the outcome is
};

// Does the work on every file, on as many threads as there are jobs; what it tells in turn comes in
// the order of the files. A failure is told under the file's name and the others are still done, except for a
// UsageError and Interrupted, which end the run and are thrown on. Returns the worst outcome.
Outcome runBatch(const InputFiles& inputs, const BatchOptions& options,
                 const std::function<FileResult(const InputFile&)>& work);

}  // namespace kpx::tool
