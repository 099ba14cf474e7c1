// Plug-ins print through C's `stdout`, which programs can assign in glibc. While a gate exists, stdout is a stream that
// checks which thread writes.
#include "tools/plugin/StdoutGate.h"

#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <cstdio>
#include <mutex>

namespace kpx::tool {
namespace {

thread_local int closedGates = 0;        // of this thread
std::mutex mutex;                        // of what follows
int gates = 0;                           // of all threads
std::atomic<std::FILE*> real = nullptr;  // stdout behind the gate; threads may still write there after the last gate

// Passes text on at once, since flushing the gate does not flush the stream behind it.
ssize_t pass(void* /*cookie*/, const char* text, size_t size) {
    if (closedGates > 0) return static_cast<ssize_t>(size);
    const size_t written = std::fwrite(text, 1, size, real);
    return std::fflush(real) == 0 ? static_cast<ssize_t>(written) : 0;
}

// Never closed: a thread may have read `stdout` and write later. Null if it cannot be allocated.
std::FILE* gateStream() {
    static std::FILE* const stream = [] {
        std::FILE* opened = fopencookie(nullptr, "w", {nullptr, pass, nullptr, nullptr});
        if (opened != nullptr) std::setvbuf(opened, nullptr, _IONBF, 0);
        // fork() waits for changes of the gates. The child keeps the gates of its only thread.
        pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); },
                       [] {
                           gates = closedGates;
                           if (gates == 0 && real != nullptr) stdout = real;
                           mutex.unlock();
                       });
        return opened;
    }();
    return stream;
}

// Makes `stream` the process's stdout. Waits for writers of both streams, since puts and putchar read stdout again
// after they have locked it.
void exchangeStdout(std::FILE* gate, std::FILE* stream) {
    flockfile(gate);
    flockfile(real);
    stdout = stream;
    funlockfile(real);
    funlockfile(gate);
}

}  // namespace

StdoutGate::StdoutGate() {
    ++closedGates;
    std::FILE* const gate = gateStream();
    const std::lock_guard lock(mutex);
    if (++gates > 1 || gate == nullptr) return;
    real = stdout;
    exchangeStdout(gate, gate);
}

StdoutGate::~StdoutGate() {
    --closedGates;
    std::FILE* const gate = gateStream();
    const std::lock_guard lock(mutex);
    if (--gates == 0 && gate != nullptr && stdout == gate) exchangeStdout(gate, real);
}

}  // namespace kpx::tool
