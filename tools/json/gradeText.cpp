// The worst findings, and the command that helps.
#include "tools/json/gradeText.h"

#include <algorithm>
#include <cctype>

#include "explain/text.h"

namespace kpx::tool {

Outcome outcomeOf(Grade grade, bool isStrict) {
    if (grade == Grade::unreadable) return Outcome::failed;
    return grade >= (isStrict ? Grade::suspect : Grade::wrong) ? Outcome::bad : Outcome::done;
}

GradeText gradeText(const Explanation& file) {
    const std::string notDds = notDdsText(file.facts);
    if (!notDds.empty()) return {notDds, notDds};
    std::string sentences, kinds, remedy = remedyText(file);
    for (const Finding& finding : file.findings) {
        if (finding.severity != file.grade) continue;
        sentences += " " + finding.sentence;
        kinds += (kinds.empty() ? "" : ", ") + finding.id;
    }
    std::replace(kinds.begin(), kinds.end(), '-', ' ');
    if (!remedy.empty()) {
        remedy[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(remedy[0])));
        remedy = textOf(" ", remedy, ".");
    }
    const char* verdict = verdictText(file.grade);
    const std::string format = file.grade == Grade::black ? ", " + formatLabel(file) : "";
    return {textOf(verdict, ".", sentences, remedy), textOf(verdict, format, ": ", kinds, ".", remedy)};
}

void warnOfGrade(const Explanation& file, Report& report, bool isStrict) {
    if (file.grade < Grade::suspect) return;
    const GradeText text = gradeText(file);
    if (outcomeOf(file.grade, isStrict) == Outcome::done)
        report.note(text.sentence, text.group);
    else
        report.warn(text.sentence, text.group);
}

}  // namespace kpx::tool
