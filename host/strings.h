// The strings that the host stores for plug-ins. STR_save makes a copy for one image; STR_define keeps one copy of each
// text until the process ends. Thread-safe.
#pragma once

namespace kpx::host {

// Releases a copy made by STR_save. Ignores any other pointer, so that a record may also hold literals and strings of
// STR_define.
void releaseString(const char* text) noexcept;

}  // namespace kpx::host
