// Makes an object for a file, with objects for its header and its picture.
#include "tools/json/fileJson.h"

#include "explain/names.h"
#include "tools/terminal/characters.h"

namespace kpx::tool {
namespace {

Json remarksAsJson(const std::vector<Remark>& remarks) {
    Json array = Json::array();
    for (const Remark& remark : remarks) array.push_back({{"id", remark.id}, {"sentence", remark.sentence}});
    return array;
}

Json headerAsJson(const Explanation& file) {
    const DDS_HEADER& header = file.facts.header.header;
    Json object = {{"name", namedFormat(file)},
                   {"sameAs", sameAs(file)},
                   {"headerFlags", header.dwFlags},
                   {"pixelFormatFlags", header.ddspf.dwFlags},
                   {"code", codeText(header.ddspf.dwFourCC)},
                   {"width", header.dwWidth},
                   {"height", header.dwHeight},
                   {"mipmaps", file.contents.levels},
                   {"faces", file.contents.faces},
                   {"slices", file.contents.slices},
                   {"elements", file.contents.elements}};
    if (file.contents.alphaMode != nullptr) {
        object["dxgiFormat"] = file.facts.dx10Header.dxgiFormat;
        object["alphaMode"] = file.contents.alphaMode;
    }
    return object;
}

Json pictureAsJson(const Verdict& verdict) {
    return {{"loader", loaderName(verdict.loader)},
            {"decoder", loaderName(verdict.decoder)},
            {"layout", layoutRow(verdict.layout).name},
            {"width", verdict.width},
            {"height", verdict.height},
            {"colourChannels", verdict.colourChannels()},
            {"matteChannels", verdict.hasAlpha ? 1 : 0},
            {"bits", verdict.bits},
            {"float", layoutRow(verdict.layout).isFloat},
            {"wholeRows", verdict.wholeRows}};
}

}  // namespace

Json findingsAsJson(const std::vector<Finding>& findings) {
    Json array = Json::array();
    for (const Finding& finding : findings) {
        array.push_back(
            {{"id", finding.id}, {"severity", gradeName(finding.severity)}, {"sentence", finding.sentence}});
        if (*finding.advice != '\0') array.back()["advice"] = finding.advice;
    }
    return array;
}

std::string jsonText(const Json& object) {
    constexpr const char* digits = "0123456789abcdef";
    std::string line;
    forEachCharacter(
        object.dump(-1, ' ', false, Json::error_handler_t::replace), [&](std::string_view character, char32_t code) {
            if (!isUnsafe(code)) return static_cast<void>(line.append(character));
            line += {'\\', 'u', digits[code >> 12], digits[code >> 8 & 15], digits[code >> 4 & 15], digits[code & 15]};
        });
    return line;
}

Json fileAsJson(const std::string& name, const Explanation& file) {
    Json object = {{"file", name},
                   {"grade", gradeName(file.grade)},
                   {"summary", summaryOf(file)},
                   {"fileBytes", file.facts.fileBytes}};
    const bool isRead = file.grade != Grade::unreadable;
    if (isRead) object["format"] = formatLabel(file);
    object["findings"] = findingsAsJson(file.findings);
    object["repairs"] = remarksAsJson(file.repairs);
    object["recodings"] = remarksAsJson(file.recodings);
    if (!isRead) return object;
    object["bytesPresent"] = file.verdict.bytesPresent;
    object["bytesExpected"] = file.verdict.bytesExpected;
    object["header"] = headerAsJson(file);
    object["picture"] = pictureAsJson(file.verdict);
    return object;
}

Json repairAsJson(const std::string& input, const std::string& output, const RepairPlan& plan, bool isDryRun) {
    Json object = {{"file", input},
                   {"result", nameOf(plan.result)},
                   {"changes", remarksAsJson(plan.changes())},
                   {"findings", findingsAsJson(plan.causes)},
                   {"dryRun", isDryRun}};
    if (!plan.reason.empty()) object["reason"] = plan.reason;
    if (!output.empty() && plan.helps()) object["output"] = output;
    return object;
}

}  // namespace kpx::tool
