// SIGINT, SIGTERM and SIGHUP: the work on files ends, so that no half-made file is left behind.
#pragma once

#include <stdexcept>

namespace kpx::tool {

// Thrown where the work stops for a signal.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

// From now on the first such signal is only noted; a second ends the program at once. A signal that is ignored, as that
// of a program in the background, stays ignored.
void noteInterrupts();

// Throws Interrupted after a signal. To be called between files and before a finished file takes its name.
void stopIfInterrupted();

// Ends the program by the signal that was noted, so that a shell sees it; returns where there was none.
void endIfInterrupted();

}  // namespace kpx::tool
