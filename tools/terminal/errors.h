// What commands throw, besides FileError. Messages are sentences without the file's name, which is added where they are
// caught.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "explain/FileError.h"

namespace kpx::tool {

// The work on one file cannot go on, and the cause lies with the output.
class OutputError : public FileError {
public:
    explicit OutputError(const std::string& sentence, int code = 0) : FileError(sentence, code) {}
    OutputError(const std::string& sentence, std::string file, int code = 0)
        : FileError(sentence, code), m_file(std::move(file)) {}

    // The output; empty: not stated.
    [[nodiscard]] const std::string& file() const { return m_file; }

private:
    std::string m_file;
};

// The command line asks for what makes no sense; nothing is done.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kpx::tool
