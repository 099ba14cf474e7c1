// The kernel set for AVX2. Everything is local to this file.
#include <cpuid.h>

#include "blocks/wide/avx2Operations.h"
// Must follow the operations, which define the target of the kernels.
#include "blocks/wide/kernelSet.h"

namespace kpx {

namespace {

// Every processor with AVX2 converts half floats, but the flag is separate, and not every compiler's builtin knows it.
// Asked only once, because cpuid is slow in virtual machines.
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
