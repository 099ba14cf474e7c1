// Gathers what the other files of this folder say of one file.
#include "explain/Explanation.h"

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
    if (file.verdict.loader == Loader::dx10 && file.verdict.cause != Cause::dx10HeaderCut) {
        return "DXGI " + dxgiText(file.facts.dx10Header.dxgiFormat);
    }
    const std::uint32_t code = file.facts.header.header.ddspf.dwFourCC;
    return code == 0 ? "none" : "code " + namedCode(code);
}

}  // namespace

Explanation explain(const std::string& file) {
    const FileFacts facts = readFacts(file);
    const Verdict verdict = judge(facts);
    const Repair repair = repairOf(facts);
    const bool isMended = repair.helps();
    const Repair conversion = isMended ? Repair() : repairOf(facts, true);
    std::vector<Remark> causes = causesOf(facts, verdict);
    const auto obstacle = isMended ? std::nullopt : conversionObstacle(facts, conversion);
    if (obstacle) causes.push_back(*obstacle);
    return {facts,
            verdict,
            contentsOf(facts, verdict),
            std::move(causes),
            surprisesOf(facts, verdict),
            isMended ? repair.mends : std::vector<Remark>(),
            !isMended && conversion.helps() ? conversion.mends : std::vector<Remark>()};
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
