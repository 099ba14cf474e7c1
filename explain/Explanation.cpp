// Gathers what the other files of this folder say of one file, and sums it up.
#include "explain/Explanation.h"

#include <iterator>
#include <utility>

#include "explain/text.h"

namespace kpx {

Explanation explain(const FileFacts& facts) {
    const Verdict verdict = judge(facts);
    Repair repair = repairOf(facts);
    Explanation file{facts, verdict, contentsOf(facts, verdict), causesOf(facts, verdict), Grade::right, {}, {}};
    if (repair.helps()) {
        file.repairs = std::move(repair.changes);
    } else {
        Repair recoding = repairOf(facts, true);
        if (const auto obstacle = recodingObstacle(facts, recoding)) file.findings.push_back(*obstacle);
        if (recoding.helps()) file.recodings = std::move(recoding.changes);
    }
    for (const Finding& surprise : surprisesOf(facts, verdict)) file.findings.push_back(surprise);
    // What repair changes in a file that is decoded makes another picture of it.
    if (!file.repairs.empty() && gradeOf(file.findings) < Grade::wrong)
        file.findings.push_back({"named-wrongly", "The format in the header is not that of the data.", Grade::wrong});
    file.grade = gradeOf(file.findings);
    return file;
}

const char* verdictText(Grade grade) {
    constexpr const char* texts[] = {"decodes correctly", "decodes correctly", "may decode wrongly",
                                     "decodes wrongly",   "cannot be decoded", "cannot be opened"};
    static_assert(std::size(texts) == static_cast<std::size_t>(Grade::unreadable) + 1);
    return texts[static_cast<std::size_t>(grade)];
}

std::string remedyText(const Explanation& file) {
    if (!file.repairs.empty()) return "`kpximage repair` fixes it";
    if (!file.recodings.empty()) return "`kpximage recode` converts it";
    std::string advice;
    for (const Finding& finding : file.findings) {
        if (finding.severity != file.grade || *finding.advice == '\0') continue;
        // The obstacle to a recoding comes last and has the better advice.
        if (advice.empty() || file.grade == Grade::black) advice = finding.advice;
    }
    return advice;
}

std::string summaryOf(const Explanation& file) {
    const std::string notDds = notDdsText(file.facts);
    if (!notDds.empty()) return textOf("It ", notDds, ".");
    std::string text;
    if (file.verdict.result != Result::refused) {
        const DDS_HEADER& header = file.facts.header.header;
        const std::string more = contentsText(file.contents), format = formatLabel(file);
        text = textOf(header.dwWidth, " x ", header.dwHeight, ", ", format == "none" ? "no format named" : format,
                      more.empty() ? "" : ", ", more, ". ");
    }
    text += textOf("It ", verdictText(file.grade));
    const std::string remedy = remedyText(file);
    if (file.grade == Grade::noted) return text + "; the notes say how its values are read.";
    return text + (remedy.empty() ? "" : ": " + remedy) + ".";
}

}  // namespace kpx
