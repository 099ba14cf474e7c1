// The plan of a repair in words, and the writing of the repaired file.
#include "tools/repair/repairFile.h"

#include <algorithm>
#include <iterator>

#include "explain/recoding.h"

namespace kpx::tool {
namespace {

// Returns the size of the data of the first pictures of the repaired file, at least what its loader reads of the first.
std::uint64_t bytesOfPictures(const Repair& repair, std::uint64_t maxPictures) {
    std::uint64_t bytes = repair.verdict.bytesExpected, visited = 0;
    const SurfaceLayout layout = surfaceLayout(repair.facts, repair.verdict);
    forEachWholeSurface(layout, [&](const Surface& surface) {
        bytes = std::max(bytes, surface.start + surface.bytes - layout.headerBytes);
        return ++visited < maxPictures;
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
    // A change that would make a decoded picture black is no repair.
    if (judge(facts).result == Result::decoded || repair.verdict.result == Result::decoded) {
        const std::string notDds = notDdsText(facts);
        if (!notDds.empty()) return {RepairResult::unreadable, facts, std::move(repair), notDds, {}};
        return {RepairResult::nothingToRepair, facts, std::move(repair), "needs no repair", {}};
    }
    std::vector<Finding> causes = causesOf(repair.facts, repair.verdict);
    if (const auto obstacle = recodingObstacle(facts, recoding)) causes.push_back(*obstacle);
    std::string reason = mayRecode ? "cannot be recoded." : "cannot be repaired.";
    for (const Finding& cause : causes) reason += " " + cause.sentence;
    if (recoding.helps()) reason += " `kpximage recode` converts it.";
    const bool isBlack = repair.verdict.result == Result::black;
    return {isBlack ? RepairResult::black : RepairResult::unreadable, facts, std::move(repair), reason,
            std::move(causes)};
}

std::uint64_t repairedBytes(const RepairPlan& plan, std::uint64_t maxPictures) {
    const Repair& repair = plan.repair;
    if (!repair.recoded) {
        const std::uint64_t present = plan.facts.fileBytes - repair.dataStart;
        return maxPictures == UINT64_MAX ? present : std::min(present, bytesOfPictures(repair, maxPictures));
    }
    std::uint64_t bytes = 0, visited = 0;
    forEachWholeSurface(*repair.recoded, [&](const Surface& surface) {
        bytes += recodingOf(*repair.recoded->recoded)->recodedRowBytes(surface.width) * surface.height;
        return ++visited < maxPictures;
    });
    return bytes;
}

void writeRepaired(const OpenFile& input, const RepairPlan& plan, int descriptor, std::uint64_t maxPictures) {
    const Repair& repair = plan.repair;
    const std::vector<unsigned char> header = headerBytes(repair.facts);
    if (repair.recoded) return writeRecoded(input, *repair.recoded, header, descriptor, maxPictures);
    writeParts(input, {{repair.dataStart, repairedBytes(plan, maxPictures)}}, header, descriptor);
}

void writeRepaired(const OpenFile& input, const RepairPlan& plan, const std::string& output, Existing existing) {
    writeCopy(input, output, existing, [&](int descriptor) { writeRepaired(input, plan, descriptor); });
}

}  // namespace kpx::tool
