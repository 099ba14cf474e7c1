// What commands throw, besides FileError. Messages are sentences without the file's name, which is added where they are
// caught.
#pragma once

#include <stdexcept>

#include "explain/FileError.h"

namespace kpx::tool {

// The work on one file cannot go on, where the cause lies with the output and not with the input.
class OutputError : public FileError {
public:
    using FileError::FileError;
};

// The command line asks for what makes no sense; nothing is done.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kpx::tool
