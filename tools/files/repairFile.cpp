// The words of a repair, and the writing of its copy.
#include "tools/files/repairFile.h"

#include "explain/otherFile.h"
#include "tools/files/ddsCopy.h"
#include "tools/terminal/explanationJson.h"

namespace kpx::tool {
namespace {

constexpr const char* resultNames[] = {"mended", "nothing-to-mend", "black", "refused"};

std::string nothingText(const FileFacts& facts) {
    const std::string other = otherFileText(facts);
    if (!other.empty()) return other;
    return startsAsDds(facts) ? "has nothing to mend: it is decoded as it is" : "does not start with \"DDS\"";
}

RepairReport reportOf(const FileFacts& facts) {
    Repair repair = repairOf(facts);
    if (repair.helps()) {
        std::vector<Remark> mends = repair.mends;
        return {RepairResult::mended, std::move(mends), "", std::move(repair)};
    }
    // A mend that would make a decoded picture black is none.
    const bool isDecoded = judge(facts).result == Result::decoded;
    if (isDecoded || repair.verdict.result == Result::decoded)
        return {RepairResult::nothingToMend, {}, nothingText(facts), std::move(repair)};
    const std::string why = causeText(repair.facts, repair.verdict);
    if (repair.verdict.result == Result::refused)
        return {RepairResult::refused, {}, "cannot be mended. " + why, std::move(repair)};
    return {RepairResult::black, {}, "cannot be mended and comes out as a black picture. " + why, std::move(repair)};
}

}  // namespace

RepairReport reportRepair(const std::string& input) {
    return reportOf(readFacts(input));
}

RepairReport repairFile(const std::string& input, const std::string& output) {
    const FileFacts facts = readFacts(input);
    RepairReport report = reportOf(facts);
    if (report.result != RepairResult::mended) return report;
    const ByteRange data{report.repair.dataStart, facts.fileBytes - report.repair.dataStart};
    writeCopy(input, {&data, 1}, headerBytes(report.repair.facts), output);
    return report;
}

Json repairAsJson(const std::string& input, const std::string& output, const RepairReport& report) {
    Json object = {{"file", input},
                   {"result", resultNames[static_cast<std::size_t>(report.result)]},
                   {"mends", remarksAsJson(report.mends)}};
    if (!report.reason.empty()) object["reason"] = report.reason;
    if (!output.empty() && report.result == RepairResult::mended) object["output"] = output;
    return object;
}

}  // namespace kpx::tool
