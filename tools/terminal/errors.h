// What commands throw besides FileError. Messages are sentences without the file's name, which the catcher adds.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "explain/FileError.h"

namespace kpx::tool {

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

}  // namespace kpx::tool
