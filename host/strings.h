// The strings that the host holds for plug-ins: STR_save makes a copy for one image, STR_define one copy
// a text for the life of the process. Safe to use from several threads.
#pragma once

namespace kpx::host {

// Releases a copy made by STR_save. Any other pointer is left alone, so that a record may also hold
// literals and strings of STR_define.
void releaseString(const char* text) noexcept;

}  // namespace kpx::host
