// Keeps what plug-ins print out of the process's standard output, and nothing else.
#pragma once

namespace kpx::tool {

// While one exists, what its thread prints through C's stdout is dropped; what other threads print passes. To be
// created and destroyed on one thread. std::cout and descriptor 1 are not affected.
class StdoutGate {
public:
    StdoutGate();
    ~StdoutGate();
    StdoutGate(const StdoutGate&) = delete;
    StdoutGate& operator=(const StdoutGate&) = delete;
};

}  // namespace kpx::tool
