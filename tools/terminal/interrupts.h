// Signals. SIGINT, SIGTERM and SIGHUP end the work without leaving half-written files. SIGXFSZ, for a file that may
// grow no further, becomes an error of writing.
#pragma once

#include <stdexcept>

namespace kpx::tool {

// Thrown when the work stops for a signal.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

// Installs a signal handler that notes the first SIGINT, SIGTERM or SIGHUP; a second one ends the program at once.
// Signals that are ignored, as in background jobs, stay ignored. SIGXFSZ is ignored, so that writing fails.
void noteInterrupts();

// Throws Interrupted after a noted signal. Called between files and before a finished file gets its name.
void stopIfInterrupted();

// Ends the program by the noted signal, so that a shell sees it; returns if there was none.
void endIfInterrupted();

}  // namespace kpx::tool
