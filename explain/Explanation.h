// All that is to be said of a file on disk: what it is, what becomes of it and why.
#pragma once

#include <string>
#include <vector>

#include "explain/contents.h"
#include "explain/finding.h"
#include "explain/mends.h"

namespace kpx {

struct Explanation {
    FileFacts facts;
    Verdict verdict;
    Contents contents;
    std::vector<Finding> findings;    // why there is no picture, then what may surprise in one
    Grade grade;                      // the worst of the findings
    std::vector<Remark> mends;        // that repair would make; none where it does not help
    std::vector<Remark> conversions;  // that recode would make where repair does not help
};

Explanation explain(const FileFacts& facts);

// The format that the file names, decoded or not.
std::string formatName(const Explanation& file);
// The same, with the masks where they name it.
std::string namedFormat(const Explanation& file);
// The other name of the format; empty where there is none.
std::string sameAs(const Explanation& file);

}  // namespace kpx
