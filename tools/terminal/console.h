// Messages on standard error.
#pragma once

#include <string>

namespace kpx::tool {

// Returns the text with '?' for each character that could act on a terminal or reorder what it shows: control
// characters of ASCII and Latin-1 (also as bytes that are no UTF-8), line separators, bidirectional controls.
std::string printable(const std::string& text);

// Prints "kpximage: MESSAGE" or "kpximage: FILE: MESSAGE" as one line.
void tell(const std::string& message);
void tell(const std::string& file, const std::string& message);

// Shows a text below the messages in place of the one before; an empty one removes it. For terminals. From any thread.
void showProgress(const std::string& text);

// Opens any of the standard streams that is closed, so that no other file takes its place: output written to a
// closed stream still fails.
void holdStandardStreams();

// Prints to standard output. An error is noted for flushOutput.
void print(const std::string& text);
// Returns false, after a message, if what was printed could not be written.
bool flushOutput();

}  // namespace kpx::tool
