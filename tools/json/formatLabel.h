// The one name of a file's format, the same in every command, by which files can be grouped.
#pragma once

#include <string>

#include "explain/Explanation.h"

namespace kpx::tool {

// Returns "BC1 (DXT1)", "BC7 sRGB (DXGI 99)" or "R8G8B8A8": the name of the data, however the file names it; "none" if
// the file names no format.
std::string formatLabel(const Explanation& file);

}  // namespace kpx::tool
