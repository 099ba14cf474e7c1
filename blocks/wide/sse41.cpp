// The kernel set for SSE4.1. Everything is local to this file.
#include "blocks/wide/sse41Operations.h"
// Must follow the operations, which define the target of the kernels.
#include "blocks/wide/kernelSet.h"

namespace kpx {

constinit const KernelSet sse41Kernels = makeWideSet("sse41", [] { return __builtin_cpu_supports("sse4.1") != 0; });

}  // namespace kpx
