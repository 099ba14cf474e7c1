// Lines are put together before they are written, so that those of threads do not mix.
#include "tools/terminal/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <new>

#include "tools/terminal/characters.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"
#include "tools/terminal/turns.h"

namespace kpx::tool {
namespace {

std::mutex mutex;      // of standard error and the progress on it
std::string progress;  // shown below the messages

constexpr const char* clearedLine = "\r\x1B[K";

}  // namespace

std::string printable(const std::string& text) {
    std::string safe;
    forEachCharacter(text, [&](std::string_view character, char32_t code) {
        isUnsafe(code) ? safe.append(1, '?') : safe.append(character);
    });
    return safe;
}

void tell(const std::string& message) {
    inTurn([line = "kpximage: " + printable(message) + "\n"] {
        const std::lock_guard lock(mutex);
        std::cerr << (progress.empty() ? line : clearedLine + line + progress);
    });
}

void tell(const std::string& file, const std::string& message) {
    tell(file + ": " + message);
}

void showProgress(const std::string& text) {
    const std::lock_guard lock(mutex);
    progress = text;
    std::cerr << clearedLine + progress << std::flush;
}

Outcome workOnFile(const std::string& file, const std::function<Outcome()>& work) {
    try {
        stopIfInterrupted();
        return work();
    } catch (const UsageError&) {
        throw;
    } catch (const Interrupted&) {
        throw;
    } catch (const std::bad_alloc&) {
        tell(file, "not enough memory");
    } catch (const std::exception& error) {
        tell(file, error.what());
    }
    return Outcome::failed;
}

Outcome forEachFile(const std::vector<std::string>& files, const std::function<Outcome(const std::string&)>& work) {
    Outcome outcome = Outcome::done;
    for (const std::string& file : files) outcome = worse(outcome, workOnFile(file, [&] { return work(file); }));
    return outcome;
}

void holdStandardStreams() {
    // The lowest free number is taken, so that 0, 1 and 2 are filled in order. Read-only: writes fail.
    int descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDONLY);
    if (descriptor >= 0) close(descriptor);
}

bool flushOutput() {
    errno = 0;
    std::cout.flush();
    if (std::cout.good() && std::fflush(stdout) == 0) return true;
    tell("standard output", errno == 0 ? "could not be written" : systemErrorText(errno));
    return false;
}

}  // namespace kpx::tool
