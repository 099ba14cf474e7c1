// The manual page of the program.
#pragma once

#include <ostream>

#include "tools/documents/commandTree.h"

namespace kpx::tool {

// Writes kpximage(1) in the man macros of roff.
void writeManualPage(std::ostream& out, const ProgramFacts& program);

}  // namespace kpx::tool
