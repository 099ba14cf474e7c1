// The list of kernel sets and the choice among them.
#include "blocks/kernels.h"

#include <bit>

namespace kpx {
namespace {

constexpr const KernelSet* sets[] = {&plainKernels, &sse41Kernels, &avx2Kernels};

const KernelSet& chooseSet() {
    const KernelSet* best = sets[0];
    for (const KernelSet* set : sets) {
        if (set->runsHere()) best = set;
    }
    return *best;
}

}  // namespace

std::span<const KernelSet* const> kernelSets() {
    return sets;
}

const KernelSet& bestKernels() {
    static const KernelSet& best = chooseSet();
    return best;
}

MaskField makeMaskField(std::uint32_t mask) {
    MaskField field{mask, 0, 0, 0};
    if (mask == 0) return field;
    // (w >> 8) / (mask >> 8) of a large mask is the same scaling of a field that starts 8 bits higher.
    const int dropped = mask > 0x01000000U ? 8 : 0;
    const std::uint32_t kept = mask >> dropped;
    const int shift = std::countr_zero(kept);
    const std::uint32_t maximum = kept >> shift;
    if ((maximum & (maximum + 1)) != 0 || maximum > 0xFFF) return field;
    // A contiguous field q of n <= 12 bits: floor(q x 255 / maximum) = q x ceil(255 x 2^24 / maximum) >> 24. Rounding
    // the multiplier up adds less than q / 2^24 < 1 / maximum, which is too little to reach the next integer; the
    // product is below 255 x 2^24 + maximum and fits 32 bits.
    field.multiplier = ((255U << 24) + maximum - 1) / maximum;
    field.fieldShift = static_cast<std::uint8_t>(dropped + shift);
    field.fieldMask = maximum;
    return field;
}

}  // namespace kpx
