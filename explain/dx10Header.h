// DX10 headers of files whose flags lead the reader past them.
#pragma once

#include "explain/verdict.h"

namespace kpx {

inline constexpr std::uint32_t dx10Code = fourCC("DX10");

// The row of the masks of a DXGI format that is not decoded itself; null where there is none.
const Format* masksOfDxgi(std::uint32_t dxgiFormat);
// The row of masks by its name.
const Format* findNamedMasks(const char* name);

// Whether the 20 bytes after the header can be a DX10 header: its fields are plausible, what it describes fits in the
// data after it, and the data is not just what the flags ask for without it.
bool canHaveDx10Header(const FileFacts& facts);

}  // namespace kpx
