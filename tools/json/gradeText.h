// What a grade means to the user: a message and the exit status.
#pragma once

#include <string>

#include "explain/Explanation.h"
#include "tools/terminal/Outcome.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {

// Returns the outcome of a file of this grade.
Outcome outcomeOf(Grade grade, bool isStrict);

struct GradeText {
    std::string sentence;  // without the file's name
    std::string group;     // the same for many files, without numbers
};

// Returns why a file is suspect, wrong, black or unreadable, and what helps.
GradeText gradeText(const Explanation& file);

// Reports why a file is suspect, wrong, black or unreadable, and what helps; nothing for better ones. For a suspect
// file it is a note unless the file counts as bad.
void warnOfGrade(const Explanation& file, Report& report, bool isStrict = false);

}  // namespace kpx::tool
