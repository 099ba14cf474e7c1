// DX10 headers of files whose flags lead the reader past them.
#pragma once

#include "explain/verdict.h"

namespace kpx {

// Whether the 20 bytes after the header can be a DX10 header: its fields are plausible, what it describes fits in the
// data after it, and the data is not just what the flags ask for without it.
bool canHaveDx10Header(const FileFacts& facts);

}  // namespace kpx
