// A signal handler notes the signal; the work checks for it between files.
#include "tools/terminal/errors.h"

#include <csignal>

namespace kpx::tool {
namespace {

volatile std::sig_atomic_t noted = 0;  // the number of the signal

void note(int number) {
    noted = number;
}

}  // namespace

void noteInterrupts() {
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction noting {};
    noting.sa_handler = note;
    noting.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction earlier {};
        if (sigaction(number, nullptr, &earlier) == 0 && earlier.sa_handler != SIG_IGN)
            sigaction(number, &noting, nullptr);
    }
}

void stopIfInterrupted() {
    if (noted != 0) throw Interrupted();
}

void endIfInterrupted() {
    if (noted == 0) return;
    std::signal(noted, SIG_DFL);
    std::raise(noted);
}

}  // namespace kpx::tool
