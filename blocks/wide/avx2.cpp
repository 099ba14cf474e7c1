// The kernel set for AVX2: the wide kernels over its operations. Everything is local to this file.
#include <cpuid.h>

#include "blocks/wide/avx2Operations.h"
// After the operations, which define the target that each kernel is compiled for.
#include "blocks/wide/kernelSet.h"

namespace kpx {

namespace {

// Half float conversion came before AVX2 in every processor, but has a flag of its own, which not every compiler's
// builtin knows. Virtual machines take long over the question: it is asked once.
bool convertsHalfs() {
    static const bool answer = [] {
        unsigned eax = 0;
        unsigned ebx = 0;
        unsigned ecx = 0;
        unsigned edx = 0;
        return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_F16C) != 0;
    }();
    return answer;
}

}  // namespace

constinit const KernelSet avx2Kernels =
    makeWideSet("avx2", [] { return __builtin_cpu_supports("avx2") != 0 && convertsHalfs(); });

}  // namespace kpx
