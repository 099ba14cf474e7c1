// The list of kernel sets and the choice among them.
#include "blocks/kernels.h"

#include <bit>
#include <numeric>

namespace kpx {
namespace {

constexpr const KernelSet* sets[] = {
    &plainKernels,
#if defined(__x86_64__)
    &sse41Kernels,
    &avx2Kernels,
#elif defined(__aarch64__)
    &neonKernels,
#endif
};

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

namespace {

// Chosen when the program or plug-in is loaded: a child of fork would wait for ever for a thread that was choosing.
[[maybe_unused]] const KernelSet& chosenAtLoad = bestKernels();

}  // namespace

MaskField makeMaskField(std::uint32_t mask) {
    MaskField field{};
    field.mask = mask;
    field.fitsHalf = mask == 0;
    if (mask == 0) return field;
    // The low 8 bits of a large mask do not count. Moved up by n bits, mask and pixel have the quotient that they had.
    const std::uint32_t counted = mask > 0x01000000U ? mask & ~0xFFU : mask;
    field.lift = static_cast<std::uint8_t>(std::countl_zero(counted));
    field.field = counted << field.lift;

    // 255 x p / f for p <= f, where 2^31 <= f < 2^32 and both are multiples of 2^8, so that quotients are multiples of
    // 2^8 / f. With m the whole number next to 255 x 2^55 / f, p x m / 2^55 is off by p / 2^56 < f / 2^56 at most,
    // which is less than 2^8 / f. With m rounded up, the product cannot reach the next multiple, and truncates as it
    // should. With m rounded down, the division's remainder is added, at most f / 2: it is what the product lacks for
    // p = f, and over 2^55 less than 2^8 / f again. The sum stays below 2^63.
    const std::uint64_t dividend = std::uint64_t{255} << 55;
    const std::uint64_t below = dividend / field.field;
    const std::uint64_t remainder = dividend % field.field;
    const bool roundedUp = remainder > field.field / 2;
    field.multiplier = static_cast<std::uint32_t>(below + (roundedUp ? 1 : 0));
    field.addend = static_cast<std::uint32_t>(roundedUp ? 0 : remainder);

    // In the upper half alone the field is f of 16 bits. With d the field moved down until its last bit is bit 0, and g
    // the common divisor of 255 and d, 255 x h / f is a multiple of g / d. The multiplier, rounded up, exceeds
    // 255 x 2^bits / f by e / f; the product then exceeds its due by h x e / f <= e, which is less than 2^bits x g / d
    // where e x d is less than 2^bits x g. With d below 2^7 it is: e < f < 2^16.
    if ((field.field & 0xFFFF) != 0) return field;
    const std::uint64_t f = field.field >> 16;
    const std::uint64_t d = counted >> std::countr_zero(counted);
    const int bits = f > 255 * 256 ? 24 : 23;  // as many as leave the multiplier in 16 bits
    const std::uint64_t due = std::uint64_t{255} << bits;
    const std::uint64_t rounded = (due + f - 1) / f;
    field.fitsHalf = (rounded * f - due) * d < std::gcd(std::uint64_t{255}, d) << bits;
    field.halfMultiplier = static_cast<std::uint16_t>(rounded);
    field.halfScale = static_cast<std::uint16_t>(1U << (32 - bits));
    return field;
}

}  // namespace kpx
