// The plan of loading, and its result.
#include "explain/verdict.h"

#include <iterator>

namespace kpx {

const char* resultName(Result result) {
    constexpr const char* names[] = {"decoded", "black", "refused"};
    static_assert(std::size(names) == static_cast<std::size_t>(Result::refused) + 1);
    return names[static_cast<std::size_t>(result)];
}

Verdict judge(const FileFacts& facts) {
    if (facts.fileBytes < sizeof facts.header) {
        Verdict verdict{};
        verdict.refusal = Refusal::headerCut;
        verdict.result = Result::refused;
        return verdict;
    }
    const LoadPlan plan = planLoad(facts.header.header, facts.dx10Header, facts.bytesAfterHeader());
    return {plan, plan.refusal == Refusal::none ? Result::decoded : Result::black};
}

}  // namespace kpx
