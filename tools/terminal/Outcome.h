// How the work on one file or on all files ended: the program's exit status.
#pragma once

#include <initializer_list>

namespace kpx::tool {

// The values are the exit statuses, as exitStatuses explains them.
enum class Outcome { done = 0, failed = 1, usage = 2, bad = 3 };

// The only list of them, for help, manual pages and README.
inline constexpr const char* exitStatuses =
    "Exit status:\n"
    "  0  every file is fine\n"
    "  1  a file is unreadable, or an output could not be written\n"
    "  2  wrong usage; nothing was done\n"
    "  3  a file is black (cannot be decoded) or wrong; with --strict, also suspect\n"
    "If both 1 and 3 apply, the status is 1.";

// Returns the outcome that counts for both.
constexpr Outcome worse(Outcome a, Outcome b) {
    for (const Outcome outcome : {Outcome::usage, Outcome::failed, Outcome::bad}) {
        if (a == outcome || b == outcome) return outcome;
    }
    return Outcome::done;
}

}  // namespace kpx::tool
