// The line is put together of what the other files of this folder have found.
#include "explain/summary.h"

#include <algorithm>

#include "explain/otherFile.h"
#include "explain/text.h"

namespace kpx {
namespace {

std::string whatItIs(const Explanation& file) {
    const DDS_HEADER& header = file.facts.header.header;
    const std::string more = contentsText(file.contents);
    const std::string format = formatName(file);
    return textOf(header.dwWidth, " x ", header.dwHeight, ", ", format == "none" ? "no format named" : format,
                  more.empty() ? "" : ", ", more, ". ");
}

std::string mendText(const Explanation& file) {
    if (!file.mends.empty()) return "`kpximage repair` fixes it.";
    if (!file.conversions.empty()) return "`kpximage recode` converts it.";
    return {};
}

// The first of the worst findings; null if there are none.
const Finding* worstOf(const std::vector<Finding>& findings) {
    const auto isBetter = [](const Finding& a, const Finding& b) { return a.severity < b.severity; };
    const auto worst = std::max_element(findings.begin(), findings.end(), isBetter);
    return worst == findings.end() ? nullptr : &*worst;
}

std::string decodedText(const Explanation& file) {
    const std::string mend = mendText(file);
    if (!mend.empty()) return "It decodes, but looks wrong: " + mend;
    const Finding* worst = worstOf(file.findings);
    if (worst == nullptr) return "It decodes correctly.";
    if (worst->severity == Grade::noted) return "It decodes correctly; the notes say how its values are read.";
    return textOf("It decodes, ", worst->severity == Grade::wrong ? "but looks" : "and may look", " wrong",
                  *worst->advice == '\0' ? "" : ": ", worst->advice, ".");
}

// The advice of the last finding that has some: an obstacle to the conversion comes after the causes.
const char* adviceOn(const Explanation& file) {
    const char* advice = "";
    for (const Finding& finding : file.findings) {
        if (*finding.advice != '\0') advice = finding.advice;
    }
    return advice;
}

std::string blackText(const Explanation& file) {
    const std::string mend = mendText(file);
    return textOf("It cannot be decoded and opens as a black picture of 64 x 64: ",
                  mend.empty() ? textOf("no mend is known; ", adviceOn(file), ".") : mend);
}

}  // namespace

std::string summaryOf(const Explanation& file) {
    const std::string other = otherFileText(file.facts);
    if (!other.empty()) return textOf("No DDS file: it ", other, ".");
    if (!startsAsDds(file.facts)) return "No DDS file: it does not start with \"DDS\".";
    switch (file.verdict.result) {
        case Result::refused:
            return textOf("It is refused: ", adviceOn(file), ".");
        case Result::black:
            return whatItIs(file) + blackText(file);
        case Result::decoded:
            break;
    }
    return whatItIs(file) + decodedText(file);
}

}  // namespace kpx
