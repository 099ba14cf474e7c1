// All that is to be said of a file: what it is, what becomes of it and why, and what helps.
#pragma once

#include <string>
#include <vector>

#include "explain/findings.h"
#include "explain/repairs.h"
#include "explain/surfaces.h"

namespace kpx {

struct Explanation {
    FileFacts facts;
    Verdict verdict;
    Contents contents;
    std::vector<Finding> findings;  // why there is no picture, then what may surprise in one
    Grade grade;                    // the worst of the findings
    std::vector<Remark> repairs;    // what `repair` would change; nothing if it does not help
    std::vector<Remark> recodings;  // what `recode` would change if repair does not help
};

Explanation explain(const FileFacts& facts);

// Returns what the grade says of the file: "decodes correctly" to "cannot be opened".
const char* verdictText(Grade grade);
// Returns what helps, a clause: the command, or the advice of the worst findings. Empty if nothing is known.
std::string remedyText(const Explanation& file);
// Returns the file in one line, without its name: what it is, whether it decodes correctly, and what to do.
std::string summaryOf(const Explanation& file);

// Returns a name that is the same for all files of a format, for grouping: "BC1 (DXT1)", "BC7 sRGB (DXGI 99)" or
// "R8G8B8A8". The name is the same whichever way the file names the format; "none" if it names none.
std::string formatLabel(const Explanation& file);
// Returns what the file calls its format, decoded or not, with masks if they name it.
std::string namedFormat(const Explanation& file);
// Returns the other name of the format; empty if there is none.
std::string sameAs(const Explanation& file);

}  // namespace kpx
