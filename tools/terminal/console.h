// Messages to standard error, and the work on each of several files with its messages.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/terminal/Outcome.h"

namespace kpx::tool {

// Returns the text with '?' for each character that could act on a terminal or reorder what it shows: control
// characters of ASCII and Latin-1 (also as bytes that are no UTF-8), line separators, bidirectional controls.
std::string printable(const std::string& text);

// Prints "kpximage: MESSAGE" or "kpximage: FILE: MESSAGE" as one line, from any thread, in turn.
void tell(const std::string& message);
void tell(const std::string& file, const std::string& message);

// Shows how far the work is, below the messages; a text replaces the one before, an empty one ends it. For terminals.
void showProgress(const std::string& text);

// Runs `work` on a file; what it throws is told under the file's name, except for a UsageError
// and Interrupted, which are thrown on.
Outcome workOnFile(const std::string& file, const std::function<Outcome()>& work);

// Runs `work` on every file; what it throws is told under the file's name and the next file is done, except for a
// UsageError and Interrupted, which end the run. Returns the worst outcome.
Outcome forEachFile(const std::vector<std::string>& files, const std::function<Outcome(const std::string&)>& work);

// Opens any of the standard streams that is closed, so that no other file takes its place: output written to a
// closed stream still fails.
void holdStandardStreams();

// Whether all that was written to standard output has arrived; tells when it has not.
bool flushOutput();

}  // namespace kpx::tool
