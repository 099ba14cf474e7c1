// The owner, permissions and attributes of files.
#pragma once

namespace kpx::tool {

// Copies owner, group, extended attributes (access lists among them) and permissions between two open files. Throws
// OutputError if one of them cannot be kept.
void copyAttributes(int from, int to);

}  // namespace kpx::tool
