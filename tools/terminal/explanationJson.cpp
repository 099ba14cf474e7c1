// An object a record: the file, its header, its picture.
#include "tools/terminal/explanationJson.h"

#include "explain/contents.h"
#include "explain/formatNames.h"
#include "explain/summary.h"

namespace kpx::tool {

namespace {

// The findings that say why there is no picture, or the others.
Json findingsAsJson(const Explanation& file, bool areCauses) {
    std::vector<Finding> findings;
    for (const Finding& finding : file.findings) {
        if ((finding.severity >= Grade::black) == areCauses) findings.push_back(finding);
    }
    return remarksAsJson(findings);
}

Json headerAsJson(const Explanation& file) {
    const DDS_HEADER& header = file.facts.header.header;
    Json object = {{"format", namedFormat(file)},
                   {"sameAs", sameAs(file)},
                   {"headerFlags", header.dwFlags},
                   {"pixelFormatFlags", header.ddspf.dwFlags},
                   {"code", codeText(header.ddspf.dwFourCC)},
                   {"width", header.dwWidth},
                   {"height", header.dwHeight},
                   {"levels", file.contents.levels},
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

Json explanationAsJson(const std::string& name, const Explanation& file) {
    Json object = {{"file", name},
                   {"summary", summaryOf(file)},
                   {"verdict", resultName(file.verdict.result)},
                   {"causes", findingsAsJson(file, true)},
                   {"surprises", findingsAsJson(file, false)},
                   {"mends", remarksAsJson(file.mends)},
                   {"conversions", remarksAsJson(file.conversions)},
                   {"fileBytes", file.facts.fileBytes}};
    if (file.verdict.result == Result::refused) return object;
    object["bytesPresent"] = file.verdict.bytesPresent;
    object["bytesExpected"] = file.verdict.bytesExpected;
    object["header"] = headerAsJson(file);
    object["picture"] = pictureAsJson(file.verdict);
    return object;
}

}  // namespace kpx::tool
