// Repairs files in place; the original of each is kept as FILE.orig.
#pragma once

#include <string>

#include "tools/repair/repairFile.h"

namespace kpx::tool {

// Where the original is kept.
inline constexpr const char* originalEnding = ".orig";

// Replaces a file by its repaired copy, if repair helps and this is no dry run. The original is kept first, beside the
// file that a link points to. At any moment the file is the old one or the new one. Throws FileError, also if another
// original is kept already, and OutputError.
RepairPlan repairInPlace(const std::string& path, bool isDryRun);

// Puts the original back, unless this is a dry run. Returns false if none is kept. Throws FileError and OutputError.
bool undoRepair(const std::string& path, bool isDryRun);

}  // namespace kpx::tool
