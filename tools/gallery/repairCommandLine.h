// The command that mends a file, for a user to copy.
#pragma once

#include <string>

namespace kpx::tool {

// A line for a shell that makes the mended copy beside the file, under a name that nothing has; the picture may have to
// be converted. For any POSIX shell, but for a name with control characters or bytes that are no UTF-8, which wants one
// that knows $'...'.
std::string repairCommandLine(const std::string& input, bool isConverted);

}  // namespace kpx::tool
