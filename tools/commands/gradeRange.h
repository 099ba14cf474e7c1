// The grades that commands take.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

#include "explain/finding.h"

namespace kpx::tool {

// Turns the name of a grade into the grade.
inline CLI::CheckedTransformer toGrade() {
    std::map<std::string, Grade> grades;
    for (int i = 0; i <= static_cast<int>(Grade::unreadable); ++i) grades[gradeName(Grade(i))] = Grade(i);
    return CLI::CheckedTransformer(grades);
}

}  // namespace kpx::tool
