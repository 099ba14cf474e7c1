// kpx__build_handle: the path of one frame of a numbered series.
//
// The name is a pattern such as "shots/sky#.dds": the last '#' of its file name stands for the frame
// number, and the name context is that number itself. The path is made by the format "%s%d.%s" from what
// stands before the '#', the number, and the extension. The host keeps it until the same thread builds
// its next path or ends.
#include <cstdint>
#include <exception>
#include <string>

#include "host/kpxbase.h"

namespace {

// Empty when the pattern has no "#." in its file name.
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
    // The string lasts until the thread calls again, which is the call that the analyzer warns of.
    return path.empty() ? nullptr : path.data();  // NOLINT(clang-analyzer-cplusplus.InnerPointer)
} catch (const std::exception&) {
    return nullptr;
}
