// Keeps what plug-ins print out of a Python process's standard output, and all else in it.
#pragma once

namespace kpx::python {

// While one lives, what its thread prints through C's stdout goes nowhere; what other threads print passes. To be made
// and ended with the interpreter's lock held, and on one thread.
class StdoutGate {
public:
    StdoutGate();
    ~StdoutGate();
    StdoutGate(const StdoutGate&) = delete;
    StdoutGate& operator=(const StdoutGate&) = delete;
};

}  // namespace kpx::python
