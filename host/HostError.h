// What the host's C++ interface throws: a sentence for the user, without the file's name.
#pragma once

#include <stdexcept>

namespace kpx::host {

class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kpx::host
