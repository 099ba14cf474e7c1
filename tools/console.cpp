#include "tools/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <new>

#include "tools/errors.h"

namespace kpx::tool {

void tell(const std::string& message) {
    std::string line = "kpximage: " + message;
    for (char& c : line) {
        // A file name may hold line ends and escape sequences.
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    std::cerr << line + "\n";
}

void tell(const std::string& file, const std::string& message) {
    tell(file + ": " + message);
}

Outcome forEachFile(const std::vector<std::string>& files, const std::function<Outcome(const std::string&)>& work) {
    Outcome outcome = Outcome::done;
    for (const std::string& file : files) {
        Outcome one = Outcome::failed;
        try {
            one = work(file);
        } catch (const UsageError&) {
            throw;
        } catch (const std::bad_alloc&) {
            tell(file, "not enough memory");
        } catch (const std::exception& error) {
            tell(file, error.what());
        }
        outcome = worse(outcome, one);
    }
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
    tell("standard output", errno == 0 ? "could not be written" : std::strerror(errno));
    return false;
}

}  // namespace kpx::tool
