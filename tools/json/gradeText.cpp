// The worst findings, and the command that helps.
#include "tools/json/gradeText.h"

#include <algorithm>

#include "explain/otherFile.h"
#include "explain/text.h"
#include "tools/json/formatLabel.h"

namespace kpx::tool {
namespace {

constexpr const char* notDds = "is not a DDS file: it does not start with \"DDS\"";

// "" or a sentence after a space.
std::string remedyText(const Explanation& file, const std::string& advice) {
    if (!file.mends.empty()) return " `kpximage repair` fixes it.";
    if (!file.conversions.empty()) return " `kpximage recode` converts it.";
    if (advice.empty()) return {};
    std::string sentence = " " + advice + ".";
    sentence[1] = static_cast<char>(std::toupper(static_cast<unsigned char>(sentence[1])));
    return sentence;
}

}  // namespace

Outcome outcomeOf(Grade grade, bool isStrict) {
    if (grade == Grade::unreadable) return Outcome::failed;
    return grade >= (isStrict ? Grade::suspect : Grade::wrong) ? Outcome::bad : Outcome::done;
}

GradeText gradeText(const Explanation& file) {
    const std::string other = otherFileText(file.facts);
    if (!other.empty()) return {other, other};
    if (!startsAsDds(file.facts)) return {notDds, notDds};
    std::string sentences, kinds, advice;
    for (const Finding& finding : file.findings) {
        if (finding.severity != file.grade) continue;
        std::string kind = finding.id;
        std::replace(kind.begin(), kind.end(), '-', ' ');
        sentences += " " + finding.sentence;
        kinds += (kinds.empty() ? "" : ", ") + kind;
        if (*finding.advice != '\0') advice = finding.advice;
    }
    const char* verdict = file.grade == Grade::unreadable ? "cannot be opened"
                          : file.grade == Grade::black    ? "cannot be decoded"
                          : file.grade == Grade::wrong    ? "decodes wrongly"
                                                          : "may decode wrongly";
    const std::string remedy = remedyText(file, advice);
    const std::string format = file.grade == Grade::black ? ", " + formatLabel(file) : "";
    return {textOf(verdict, ":", sentences, remedy), textOf(verdict, format, ": ", kinds, ".", remedy)};
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
