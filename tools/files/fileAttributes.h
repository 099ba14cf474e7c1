// Who a file belongs to and who may use it.
#pragma once

namespace kpx::tool {

// Gives a file the owner, group, extended attributes (access lists among them) and permissions of another. Both are
// open descriptors. Throws OutputError if one of them cannot be kept.
void copyAttributes(int from, int to);

}  // namespace kpx::tool
