// The kernel set for NEON. Everything is local to this file.
#include "blocks/wide/neonOperations.h"
// Must follow the operations, which define the target of the kernels.
#include "blocks/wide/kernelSet.h"

namespace kpx {

constinit const KernelSet neonKernels = makeWideSet("neon", [] { return true; });

}  // namespace kpx
