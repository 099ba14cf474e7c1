// Messages on standard error, and output.
#pragma once

#include <string>

namespace kpx::tool {

// Returns the text with '?' for each character that could act on a terminal or reorder what it shows: control
// characters of ASCII and Latin-1 (also as bytes of invalid UTF-8), line separators, bidirectional controls.
std::string printable(const std::string& text);

// Prints "kpximage: MESSAGE" or "kpximage: FILE: MESSAGE" as one line.
void tell(const std::string& message);
void tell(const std::string& file, const std::string& message);

// Replaces the text below the messages on a terminal; "" removes it. Thread-safe.
void showProgress(const std::string& text);

// Opens standard streams that are closed, so that no other file gets their descriptors. Writing to them still fails.
void holdStandardStreams();

// Prints to standard output. flushOutput reports errors.
void print(const std::string& text);
// Returns false and prints a message if output could not be written.
bool flushOutput();

}  // namespace kpx::tool
