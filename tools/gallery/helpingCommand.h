// The command that helps a file, for a user to copy.
#pragma once

#include <string>

namespace kpx::tool {

// Returns a line for a shell that makes the repaired or recoded copy beside the file, under a name that is not taken.
// Returns "" for a name that a page cannot show as it is: with control characters, or no valid UTF-8.
std::string helpingCommand(const std::string& input, bool isRecoding);

}  // namespace kpx::tool
