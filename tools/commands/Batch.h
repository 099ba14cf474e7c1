// The work on many files: in parallel, reported in the order of the files, with a summary at the end.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "tools/files/inputFiles.h"
#include "tools/terminal/Outcome.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {

struct BatchOptions {
    std::vector<std::string> paths;
    std::string list;  // a file with more paths, one per line; "-": standard input
    bool isRecursive = false;
    bool isQuiet = false;    // neither notes, progress nor summary
    bool isVerbose = false;  // every message of every file
    bool isNaming = false;   // outputs are named after their inputs; of equal names only the first is written
    bool isOrdered = false;  // one file at a time, each reported before the next
    unsigned jobs = 0;       // files processed in parallel; 0: one per CPU

    // Adds PATH and the options to a command.
    void addTo(CLI::App& command, const char* whatPathsAre);
    // Returns whether there is exactly one path, and it is a file.
    [[nodiscard]] bool isSingle() const;
};

// Works on one file and fills its report. What it throws becomes a message about the file.
using Work = std::function<Outcome(const InputFile&, Report&)>;

// Returns the files that the options name. A folder stands for its files with the first of these extensions that occurs
// in it. The folder `leftOut` is not entered. Throws UsageError if there are no paths.
InputFiles inputsOf(const BatchOptions& options, const std::vector<std::string>& extensions = {".dds"},
                    const std::string& leftOut = "");

// Works on every file and returns the worst outcome. A failure does not stop the others; UsageError and Interrupted do,
// and are thrown on. A message that is the same for several files is printed once.
Outcome runBatch(const InputFiles& inputs, const BatchOptions& options, const Work& work);

}  // namespace kpx::tool
