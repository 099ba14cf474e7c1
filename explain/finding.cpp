// The names of the grades, and the worst of them.
#include "explain/finding.h"

#include <algorithm>
#include <iterator>

namespace kpx {

const char* gradeName(Grade grade) {
    constexpr const char* names[] = {"right", "noted", "suspect", "wrong", "black", "unreadable"};
    static_assert(std::size(names) == static_cast<std::size_t>(Grade::unreadable) + 1);
    return names[static_cast<std::size_t>(grade)];
}

Grade gradeOf(const std::vector<Finding>& findings) {
    Grade grade = Grade::right;
    for (const Finding& finding : findings) grade = std::max(grade, finding.severity);
    return grade;
}

}  // namespace kpx
