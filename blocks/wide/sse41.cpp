// The kernel set for SSE4.1: the wide kernels over its operations. Everything is local to this file.
#include "blocks/wide/sse41Operations.h"
// After the operations, which define the target that each kernel is compiled for.
#include "blocks/wide/kernelSet.h"

namespace kpx {

constinit const KernelSet sse41Kernels = makeWideSet("sse41", [] { return __builtin_cpu_supports("sse4.1") != 0; });

}  // namespace kpx
