// The kernel set for NEON: the wide kernels over its operations. Everything is local to this file.
#include "blocks/wide/neonOperations.h"
// After the operations, which define the target that each kernel is compiled for.
#include "blocks/wide/kernelSet.h"

namespace kpx {

constinit const KernelSet neonKernels = makeWideSet("neon", [] { return true; });

}  // namespace kpx
