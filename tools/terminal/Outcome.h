// How the work on one file or all files ended: the program's exit status.
#pragma once

namespace kpx::tool {

// From good to bad; the values are the exit statuses of a whole run.
enum class Outcome { done = 0, fallback = 3, failed = 1, usage = 2 };

// The outcome of several files: a failure outweighs a picture that is only the plug-in's stand-in.
constexpr Outcome worse(Outcome a, Outcome b) {
    constexpr Outcome order[] = {Outcome::usage, Outcome::failed, Outcome::fallback};
    for (const Outcome outcome : order) {
        if (a == outcome || b == outcome) return outcome;
    }
    return Outcome::done;
}

}  // namespace kpx::tool
