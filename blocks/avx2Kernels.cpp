// The wide kernels for processors with AVX2. They use neither pdep nor pext, which some of these processors run as
// slow microcode: fields are gathered by byte shuffles and multiplications instead.
#include "blocks/wideAvx2.h"
//
#include "blocks/wideKernels.h"

namespace kpx {

constinit const KernelSet avx2Kernels = makeWideSet("avx2", [] { return __builtin_cpu_supports("avx2") != 0; });

}  // namespace kpx
