// What stops the work: errors and signals. Messages of errors are sentences without the file's name, which the catcher
// adds. SIGINT, SIGTERM and SIGHUP end the work without leaving half-written files. SIGXFSZ, for a file that may grow
// no further, becomes an error of writing.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace kpx::tool {

// The work on a file cannot go on. The message is a sentence without the file's name, which the catcher adds.
class FileError : public std::runtime_error {
public:
    explicit FileError(const std::string& sentence, int code = 0) : std::runtime_error(sentence), m_code(code) {}

    // Returns the error number of the system call that failed (errno); 0 if none failed.
    [[nodiscard]] int code() const { return m_code; }

private:
    int m_code;
};

// Returns the system's text for an error number. It is English in every locale, as are the sentences around it.
inline std::string systemErrorText(int code) {
    const char* text = strerrordesc_np(code);
    return text == nullptr ? "Unknown error " + std::to_string(code) : text;
}

// Returns the exception for a failed system call: "WHAT: REASON", with the error number.
template <typename Error = FileError>
Error systemError(const char* what, int code) {
    return Error(std::string(what) + ": " + systemErrorText(code), code);
}

// An output cannot be written.
class OutputError : public FileError {
public:
    explicit OutputError(const std::string& sentence, int code = 0) : FileError(sentence, code) {}
    OutputError(const std::string& sentence, std::string file, int code = 0)
        : FileError(sentence, code), m_file(std::move(file)) {}

    // The path of the output; empty if not stated.
    [[nodiscard]] const std::string& file() const { return m_file; }

private:
    std::string m_file;
};

// The command line is wrong; nothing is done.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Thrown when the work stops for a signal.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

// Installs a signal handler that notes the first SIGINT, SIGTERM or SIGHUP; a second one ends the program at once.
// Signals that are ignored, as in background jobs, stay ignored. SIGXFSZ is ignored, so that writing fails.
void noteInterrupts();

// Throws Interrupted after a noted signal. Called between files and before a finished file gets its name.
void stopIfInterrupted();

// Ends the program by the noted signal, so that a shell sees it; returns if there was none.
void endIfInterrupted();

}  // namespace kpx::tool
