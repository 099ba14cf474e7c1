// Example files: one per format that can be read, and one per fault that a file may have. Tests and fuzzers use them;
// kpxexamples writes them to a folder.
#pragma once

#include <cstdint>
#include <span>

#include "examples/DdsFile.h"

namespace kpx::example {

// The result of reading a file.
enum class Outcome : std::uint8_t {
    decoded,
    fallback,  // the 64 by 64 black picture
    refused,   // not opened
};

struct Example {
    const char* name;  // of the file, without ".dds"; faulty files are in the folder "bad"
    Naming naming;
    Encoder encoder;
    Painter painter;
    Size size;
    Outcome outcome = Outcome::decoded;
    void (*damage)(DdsFile&) = nullptr;  // damages a good file; null if the naming is the fault
    std::size_t keptBytes = SIZE_MAX;    // the file is truncated to this size

    Bytes bytes() const;
};

std::span<const Example> examples();

}  // namespace kpx::example
