// Keeps what plug-ins print to the process's standard output out of the tool's data.
#pragma once

#include <string>

namespace kpx::tool {

// While one lives, on whatever thread, standard output goes nowhere. What the reader prints follows from its verdict
// on the file and is told from there, as nobody could say which of several threads has printed a line.
class StdoutSilence {
public:
    StdoutSilence();  // throws FileError
    ~StdoutSilence();
    StdoutSilence(const StdoutSilence&) = delete;
    StdoutSilence& operator=(const StdoutSilence&) = delete;
};

// Writes to standard output: at once, or when the last silence ends.
void printAfterSilence(const std::string& text);

}  // namespace kpx::tool
