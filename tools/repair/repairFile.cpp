// The words of a repair, and the writing of its copy.
#include "tools/repair/repairFile.h"

#include <algorithm>

#include "explain/causes.h"
#include "explain/conversionMends.h"
#include "explain/otherFile.h"
#include "tools/files/PendingFile.h"
#include "tools/repair/ddsCopy.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/explanationJson.h"

namespace kpx::tool {
namespace {

std::string nothingText(const FileFacts& facts) {
    std::string other = otherFileText(facts);
    if (!other.empty()) return other;
    return startsAsDds(facts) ? "has nothing to mend: it is decoded as it is" : "does not start with \"DDS\"";
}

// Of a file of which neither mends nor a conversion make one that is decoded.
RepairReport unhelpful(const FileFacts& facts, Repair repair, const Repair& conversion) {
    // A mend that would make a decoded picture black is none.
    const bool isDecoded = judge(facts).result == Result::decoded || repair.verdict.result == Result::decoded;
    if (isDecoded) {
        const bool isDds = startsAsDds(facts);
        return {isDds ? RepairResult::nothingToMend : RepairResult::refused,
                facts,
                std::move(repair),
                nothingText(facts),
                {}};
    }
    const bool isBlack = repair.verdict.result == Result::black;
    std::vector<Finding> causes = causesOf(repair.facts, repair.verdict);
    const auto obstacle = conversionObstacle(facts, conversion);
    if (obstacle) causes.push_back(*obstacle);
    std::string reason = isBlack ? "cannot be mended and comes out as a black picture." : "cannot be mended.";
    for (const Finding& cause : causes) reason += " " + cause.sentence;
    return {isBlack ? RepairResult::black : RepairResult::refused, facts, std::move(repair), reason, std::move(causes)};
}

// Of the first pictures of the repaired file, and of what its loader reads of the first.
std::uint64_t bytesOfPictures(const Repair& repair, std::uint64_t mostPictures) {
    std::uint64_t bytes = repair.verdict.bytesExpected, visited = 0;
    const SurfaceLayout layout = surfaceLayout(repair.facts, repair.verdict);
    forEachWholeSurface(layout, [&](const Surface& surface) {
        bytes = std::max(bytes, surface.start + surface.bytes - layout.headerBytes);
        return ++visited < mostPictures;
    });
    return bytes;
}

}  // namespace

const char* nameOf(RepairResult result) {
    constexpr const char* names[] = {"mended", "converted", "nothing-to-mend", "black", "refused"};
    return names[static_cast<std::size_t>(result)];
}

RepairReport planRepair(const FileFacts& facts, bool mayConvert) {
    Repair repair = repairOf(facts);
    if (repair.helps()) return {RepairResult::mended, facts, std::move(repair), "", {}};
    Repair conversion = repairOf(facts, true);
    if (conversion.helps() && mayConvert) return {RepairResult::converted, facts, std::move(conversion), "", {}};
    RepairReport report = unhelpful(facts, std::move(repair), conversion);
    report.isConvertible = conversion.helps();
    if (report.isConvertible) report.reason += repairHint(facts);
    return report;
}

std::uint64_t repairedBytes(const RepairReport& report, std::uint64_t mostPictures) {
    const Repair& repair = report.repair;
    if (!repair.converted) {
        const std::uint64_t present = report.facts.fileBytes - repair.dataStart;
        return mostPictures == UINT64_MAX ? present : std::min(present, bytesOfPictures(repair, mostPictures));
    }
    std::uint64_t bytes = 0, visited = 0;
    forEachWholeSurface(*repair.converted, [&](const Surface& surface) {
        bytes += repair.converted->conversion->convertedRowBytes(surface.width) * surface.height;
        return ++visited < mostPictures;
    });
    return bytes;
}

void writeRepaired(const OpenFile& input, const RepairReport& report, int descriptor, std::uint64_t mostPictures) {
    const Repair& repair = report.repair;
    const std::vector<unsigned char> header = headerBytes(repair.facts);
    if (repair.converted) return writeConverted(input, *repair.converted, header, descriptor, mostPictures);
    const ByteRange data{repair.dataStart, repairedBytes(report, mostPictures)};
    writeParts(input, {&data, 1}, header, descriptor);
}

void writeRepairedCopy(const OpenFile& input, const RepairReport& report, const std::string& output) {
    PendingFile pending(output, permissionsOfCopy(input));
    if (pending.replaces(input.status())) throw OutputError("is the input itself");
    writeRepaired(input, report, pending.descriptor());
    pending.commit();
}

Json repairAsJson(const std::string& input, const std::string& output, const RepairReport& report) {
    Json object = {{"file", input},
                   {"result", nameOf(report.result)},
                   {"mends", remarksAsJson(report.mends())},
                   {"causes", remarksAsJson(report.causes)},
                   {"convertible", report.isConvertible}};
    if (!report.reason.empty()) object["reason"] = report.reason;
    if (!output.empty() && report.helps()) object["output"] = output;
    return object;
}

}  // namespace kpx::tool
