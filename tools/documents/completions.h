// Completion of the program's command line in shells.
#pragma once

#include <ostream>

#include "tools/documents/commandTree.h"

namespace kpx::tool {

void writeBashCompletion(std::ostream& out, const ProgramFacts& program);
void writeZshCompletion(std::ostream& out, const ProgramFacts& program);
void writeFishCompletion(std::ostream& out, const ProgramFacts& program);

}  // namespace kpx::tool
