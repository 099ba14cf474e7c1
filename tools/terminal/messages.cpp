// Every line is written in one piece.
#include "tools/terminal/messages.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <mutex>

#include "tools/terminal/characters.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

std::mutex mutex;      // of standard error and the progress on it
std::string progress;  // shown below the messages
int outputError = 0;   // the first error on standard output; 0: none

constexpr const char* clearedLine = "\r\x1B[K";

}  // namespace

std::string printable(const std::string& text) {
    std::string safe;
    forEachCharacter(text, [&](std::string_view character, char32_t code) {
        isUnsafe(code) ? safe.append(1, '?') : safe.append(character);
    });
    return safe;
}

void printMessage(const std::string& message) {
    const std::string line = "kpximage: " + printable(message) + "\n";
    const std::lock_guard lock(mutex);
    std::cerr << (progress.empty() ? line : clearedLine + line + progress);
}

void printMessage(const std::string& file, const std::string& message) {
    printMessage(file + ": " + message);
}

void showProgress(const std::string& text) {
    const std::lock_guard lock(mutex);
    progress = text;
    std::cerr << clearedLine + progress << std::flush;
}

void holdStandardStreams() {
    // open() returns the lowest free descriptor. Read-only: writes fail.
    int descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDONLY);
    if (descriptor >= 0) close(descriptor);
}

void print(const std::string& text) {
    if (text.empty() || outputError != 0) return;
    const std::lock_guard lock(mutex);
    if (!progress.empty()) std::cerr << clearedLine << std::flush;
    errno = 0;
    std::cout << text << std::flush;
    if (!std::cout) outputError = errno == 0 ? EIO : errno;
    std::cerr << progress;
}

bool flushOutput() {
    errno = 0;
    std::cout.flush();
    std::fflush(stdout);
    if (outputError == 0 && !std::cout) outputError = errno == 0 ? EIO : errno;
    if (outputError != 0) printMessage("standard output", systemErrorText(outputError));
    return outputError == 0;
}

}  // namespace kpx::tool
