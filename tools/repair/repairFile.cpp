// The plan of a repair in words, and the writing of the repaired file.
#include "tools/repair/repairFile.h"

#include <algorithm>
#include <iterator>

#include "explain/causes.h"
#include "explain/conversionMends.h"
#include "explain/otherFile.h"
#include "tools/files/PendingFile.h"
#include "tools/repair/ddsCopy.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

std::string nothingText(const FileFacts& facts) {
    std::string other = otherFileText(facts);
    if (!other.empty()) return other;
    return startsAsDds(facts) ? "needs no repair" : "does not start with \"DDS\"";
}

// For a file that neither a repair nor a recoding helps.
RepairPlan unhelpful(const FileFacts& facts, Repair repair, const Repair& recoding) {
    // A change that would make a decoded picture black is no repair.
    const bool isDecoded = judge(facts).result == Result::decoded || repair.verdict.result == Result::decoded;
    if (isDecoded) {
        const RepairResult result = startsAsDds(facts) ? RepairResult::nothingToRepair : RepairResult::unreadable;
        return {result, facts, std::move(repair), nothingText(facts), {}};
    }
    std::vector<Finding> causes = causesOf(repair.facts, repair.verdict);
    const auto obstacle = conversionObstacle(facts, recoding);
    if (obstacle) causes.push_back(*obstacle);
    std::string reason = "cannot be repaired.";
    for (const Finding& cause : causes) reason += " " + cause.sentence;
    const bool isBlack = repair.verdict.result == Result::black;
    return {isBlack ? RepairResult::black : RepairResult::unreadable, facts, std::move(repair), reason,
            std::move(causes)};
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
    constexpr const char* names[] = {"repaired", "recoded", "nothing-to-repair", "black", "unreadable"};
    static_assert(std::size(names) == static_cast<std::size_t>(RepairResult::unreadable) + 1);
    return names[static_cast<std::size_t>(result)];
}

RepairPlan planRepair(const FileFacts& facts, bool mayRecode) {
    Repair repair = repairOf(facts);
    if (repair.helps()) return {RepairResult::repaired, facts, std::move(repair), "", {}};
    Repair recoding = repairOf(facts, true);
    if (recoding.helps() && mayRecode) return {RepairResult::recoded, facts, std::move(recoding), "", {}};
    RepairPlan plan = unhelpful(facts, std::move(repair), recoding);
    if (recoding.helps()) plan.reason += repairHint(facts);
    return plan;
}

std::uint64_t repairedBytes(const RepairPlan& plan, std::uint64_t mostPictures) {
    const Repair& repair = plan.repair;
    if (!repair.converted) {
        const std::uint64_t present = plan.facts.fileBytes - repair.dataStart;
        return mostPictures == UINT64_MAX ? present : std::min(present, bytesOfPictures(repair, mostPictures));
    }
    std::uint64_t bytes = 0, visited = 0;
    forEachWholeSurface(*repair.converted, [&](const Surface& surface) {
        bytes += repair.converted->conversion->convertedRowBytes(surface.width) * surface.height;
        return ++visited < mostPictures;
    });
    return bytes;
}

void writeRepaired(const OpenFile& input, const RepairPlan& plan, int descriptor, std::uint64_t mostPictures) {
    const Repair& repair = plan.repair;
    const std::vector<unsigned char> header = headerBytes(repair.facts);
    if (repair.converted) return writeConverted(input, *repair.converted, header, descriptor, mostPictures);
    const ByteRange data{repair.dataStart, repairedBytes(plan, mostPictures)};
    writeParts(input, {&data, 1}, header, descriptor);
}

void writeRepaired(const OpenFile& input, const RepairPlan& plan, const std::string& output, Existing existing) {
    try {
        PendingFile pending(output, permissionsOfCopy(input), existing);
        if (pending.replaces(input.status())) throw OutputError("is the input itself");
        writeRepaired(input, plan, pending.descriptor());
        pending.commit();
    } catch (const OutputError& error) {
        throw OutputError(error.what(), output, error.code());
    }
}

}  // namespace kpx::tool
