// What ends the work on one file.
#pragma once

#include <stdexcept>

namespace kpx {

// The work on a file cannot go on. The message is a sentence without the file's name, which is added where it is
// caught.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kpx
