// The repair of files where they are. Only headers change, and the header from before the repair is kept beside the
// file, so that the repair can be undone exactly.
#pragma once

#include <cstdint>
#include <string>

#include "tools/files/repairFile.h"

namespace kpx::tool {

// Where the earlier header is kept: FILE.header, beside the file itself where the path is that of a link.
std::string keptHeaderPath(const std::string& path);

// Mends a file's header, if a mend helps, unless it is a dry run; the file has the old one or the new one at any time.
// Several processes may work on the same file. Throws FileError, also where a header from an earlier repair is kept
// there, and OutputError.
RepairReport repairInPlace(const std::string& path, bool isDryRun);

enum class UndoResult : std::uint8_t {
    undone,
    nothingToUndo,  // no header is kept
};

// Puts the kept header back, and takes it away from beside the file. Throws FileError, also where the file has changed
// since its repair, and OutputError.
UndoResult undoRepair(const std::string& path, bool isDryRun);

}  // namespace kpx::tool
