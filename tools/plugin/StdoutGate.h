// Drops what plug-ins print to standard output, and nothing else.
#pragma once

namespace kpx::tool {

// While a gate exists, what its thread prints through C's stdout is dropped. Other threads, std::cout and descriptor 1
// are not affected. Requires: created and destroyed on one thread.
class StdoutGate {
public:
    StdoutGate();
    ~StdoutGate();
    StdoutGate(const StdoutGate&) = delete;
    StdoutGate& operator=(const StdoutGate&) = delete;
};

}  // namespace kpx::tool
