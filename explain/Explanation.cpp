// Gathers what the other files of this folder say of one file.
#include "explain/Explanation.h"

#include "explain/causes.h"
#include "explain/conversionMends.h"
#include "explain/formatNames.h"
#include "explain/mends.h"
#include "explain/surprises.h"
#include "explain/text.h"

namespace kpx {
namespace {

// Luminance is read by a code that does not stand in the file.
bool isLuminance(const Explanation& file) {
    const Format* format = file.verdict.format;
    return format != nullptr && format->namedBy == NamedBy::code &&
           format->id != file.facts.header.header.ddspf.dwFourCC;
}

std::string undecodedName(const Explanation& file) {
    if (file.verdict.loader == Loader::dx10 && file.verdict.refusal != Refusal::dx10HeaderCut) {
        return "DXGI " + dxgiText(file.facts.dx10Header.dxgiFormat);
    }
    const std::uint32_t code = file.facts.header.header.ddspf.dwFourCC;
    return code == 0 ? "none" : "code " + namedCode(code);
}

}  // namespace

Explanation explain(const FileFacts& facts) {
    const Verdict verdict = judge(facts);
    Repair repair = repairOf(facts);
    const bool isMended = repair.helps();
    Repair conversion = isMended ? Repair() : repairOf(facts, true);
    std::vector<Finding> findings = causesOf(facts, verdict);
    if (const auto obstacle = isMended ? std::nullopt : conversionObstacle(facts, conversion))
        findings.push_back(*obstacle);
    for (const Finding& surprise : surprisesOf(facts, verdict)) findings.push_back(surprise);
    // What repair changes in a file that is decoded makes another picture of it.
    if (isMended && gradeOf(findings) < Grade::wrong)
        findings.push_back({"named-wrongly", "The header names another format than that of the data.", Grade::wrong});
    const Grade grade = gradeOf(findings);
    return {facts,
            verdict,
            contentsOf(facts, verdict),
            std::move(findings),
            grade,
            isMended ? std::move(repair.mends) : std::vector<Remark>(),
            !isMended && conversion.helps() ? std::move(conversion.mends) : std::vector<Remark>()};
}

std::string formatName(const Explanation& file) {
    const Format* format = file.verdict.format;
    if (format == nullptr) return undecodedName(file);
    if (!isLuminance(file)) return formatText(*format);
    return textOf("luminance of ", file.facts.header.header.ddspf.dwRGBBitCount, " bits, read as ", format->name);
}

std::string namedFormat(const Explanation& file) {
    const Format* format = file.verdict.format;
    if (format == nullptr || format->namedBy != NamedBy::masks) return formatName(file);
    const DDS_PIXELFORMAT& header = file.facts.header.header.ddspf;
    return textOf(formatName(file), " (", hex(header.dwRBitMask), " ", hex(header.dwGBitMask), " ",
                  hex(header.dwBBitMask), " ", hex(header.dwABitMask), ", ", header.dwRGBBitCount, " bits)");
}

std::string sameAs(const Explanation& file) {
    const bool hasOther = file.verdict.format != nullptr && !isLuminance(file);
    return hasOther ? otherName(*file.verdict.format) : "";
}

}  // namespace kpx
