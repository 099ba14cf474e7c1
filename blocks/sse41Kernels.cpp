// The wide kernels for processors with SSE4.1.
#include "blocks/wideSse41.h"
//
#include "blocks/wideKernels.h"

namespace kpx {

constinit const KernelSet sse41Kernels = makeWideSet("sse41", [] { return __builtin_cpu_supports("sse4.1") != 0; });

}  // namespace kpx
