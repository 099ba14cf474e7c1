// The first silence turns standard output to /dev/null, the last turns it back.
#include "tools/terminal/StdoutSilence.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <mutex>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

std::mutex mutex;
int silences = 0;
std::string held;   // printed meanwhile
int original = -1;  // standard output as it was before the first of them

void flush() {
    std::cout.flush();
    std::fflush(stdout);
}

}  // namespace

StdoutSilence::StdoutSilence() {
    const std::lock_guard lock(mutex);
    if (silences == 0) {
        flush();
        original = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        const bool isSilent = original >= 0 && nowhere >= 0 && dup2(nowhere, STDOUT_FILENO) >= 0;
        if (nowhere >= 0) close(nowhere);
        if (!isSilent) {
            if (original >= 0) close(original);
            throw FileError("cannot redirect standard output");
        }
    }
    ++silences;
}

StdoutSilence::~StdoutSilence() {
    const std::lock_guard lock(mutex);
    if (--silences > 0) return;
    flush();
    dup2(original, STDOUT_FILENO);
    close(original);
    std::cout << held;
    held.clear();
}

void printAfterSilence(const std::string& text) {
    const std::lock_guard lock(mutex);
    if (silences > 0)
        held += text;
    else
        std::cout << text;
}

}  // namespace kpx::tool
