// SIGINT, SIGTERM and SIGHUP: the work on files ends, so that no half-made file is left behind. SIGXFSZ: a file that
// may grow no further is a failed output as any other.
#pragma once

#include <stdexcept>

namespace kpx::tool {

// Thrown where the work stops for a signal.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

// From now on the first of the first three is only noted; a second ends the program at once. A signal that is ignored,
// as that of a program in the background, stays ignored. SIGXFSZ is ignored: writing fails instead.
void noteInterrupts();

// Throws Interrupted after a noted signal. To be called between files and before a finished file takes its name.
void stopIfInterrupted();

// Ends the program by the signal that was noted, so that a shell sees it; returns where there was none.
void endIfInterrupted();

}  // namespace kpx::tool
