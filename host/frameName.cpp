// kpx__build_handle: the path of one frame of a numbered series.
//
// The name is a pattern such as "shots/sky#.dds". The last '#' of its file name stands for the frame number, which is
// the name context itself. The format "%s%d.%s" makes the path of the part before the '#', the number and the
// extension. The path is valid until the same thread builds the next one or ends.
#include <cstdint>
#include <exception>
#include <string>

#include "host/kpxbase.h"

namespace {

// Returns the path of a frame; empty if the file name of the pattern has no "#.".
std::string framePath(const std::string& pattern, int32_t frame) {
    const size_t mark = pattern.rfind("#.");
    const size_t slash = pattern.rfind('/');
    if (mark == std::string::npos || (slash != std::string::npos && mark < slash)) return {};
    return pattern.substr(0, mark) + std::to_string(frame) + "." + pattern.substr(mark + 2);
}

}  // namespace

char* kpx__build_handle(int /*zero*/, const char* name, void* nameContext) try {
    thread_local std::string path;
    if (name == nullptr) return nullptr;
    path = framePath(name, static_cast<int32_t>(reinterpret_cast<intptr_t>(nameContext)));
    // The string is valid until the thread calls again; the analyzer warns about that call.
    return path.empty() ? nullptr : path.data();  // NOLINT(clang-analyzer-cplusplus.InnerPointer)
} catch (const std::exception&) {
    return nullptr;
}
