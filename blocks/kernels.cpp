// The list of kernel sets and the choice among them.
#include "blocks/kernels.h"

#include <bit>
#include <numeric>

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
    MaskField field{};
    field.mask = mask;
    if (mask == 0) return field;
    // The low 8 bits of a large mask do not count. Moved up by n bits, mask and pixel have the quotient that they had.
    const std::uint32_t counted = mask > 0x01000000U ? mask & ~0xFFU : mask;
    field.lift = static_cast<std::uint8_t>(std::countl_zero(counted));
    field.field = counted << field.lift;

    // 255 x p / f for p <= f, where 2^31 <= f < 2^32 and both are multiples of 2^8, so that quotients are multiples of
    // 2^8 / f. With m the whole number next to 255 x 2^55 / f, p x m / 2^55 is off by p / 2^56 < f / 2^56 at most,
    // which is less than 2^8 / f. With m rounded up, the product cannot reach the next multiple, and truncates as it
    // should. With m rounded down, the division's remainder is added, which is what the product lacks for p = f: less
    // than f / 2, no more than 2^8 / f again. The sum stays below 2^63.
    const std::uint64_t dividend = std::uint64_t{255} << 55;
    const std::uint64_t below = dividend / field.field;
    const std::uint64_t remainder = dividend % field.field;
    const bool roundedUp = remainder > field.field / 2;
    field.multiplier = static_cast<std::uint32_t>(below + (roundedUp ? 1 : 0));
    field.addend = static_cast<std::uint32_t>(roundedUp ? 0 : remainder);

    // 255 x q / d = q + q x (255 - d) / d for the byte d >= 128. Rounding the factor up adds less than q / 2^16, which
    // is less than 1 / d.
    if (field.fitsByte()) {
        const std::uint32_t d = field.field >> 24;
        field.byteMultiplier = static_cast<std::uint16_t>((((255 - d) << 16) + d - 1) / d);
    }

    // Moved down until its last bit is bit 0, the field is d and q of it is taken: 255 x q / d is a multiple of g / d,
    // where g is the common divisor of 255 and d. The multiplier for 2^24, rounded up, exceeds its due by e / d, and
    // the product by q x e / d, which is too little where d x e < g x 2^24; with d below 2^12 it always is, as e < d.
    // The product is then below 255 x 2^24 + 2^24.
    field.shift = static_cast<std::uint8_t>(std::countr_zero(counted));
    field.shifted = counted >> field.shift;
    const std::uint64_t d = field.shifted;
    const std::uint64_t due = std::uint64_t{255} << 24;
    const std::uint64_t rounded = (due + d - 1) / d;
    if ((rounded * d - due) * d < std::gcd(std::uint64_t{255}, d) << 24) {
        field.shortMultiplier = static_cast<std::uint32_t>(rounded);
    }
    return field;
}

}  // namespace kpx
