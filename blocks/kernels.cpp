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

// Chosen at load time. A static that is initialised on first use takes a lock: if another thread forked in that moment,
// the child would wait for the lock forever.
[[maybe_unused]] const KernelSet& chosenAtLoad = bestKernels();

}  // namespace

MaskField makeMaskField(std::uint32_t mask) {
    MaskField field{};
    field.mask = mask;
    field.fitsWord = mask == 0;
    if (mask == 0) return field;
    // The low 8 bits of a large mask are ignored. Shifting mask and pixel by the same number of bits keeps the
    // quotient.
    const std::uint32_t counted = mask > 0x01000000U ? mask & ~0xFFU : mask;
    field.lift = static_cast<std::uint8_t>(std::countl_zero(counted));
    field.field = counted << field.lift;

    // Claim: floor(q) = (p x m + a) >> 55, with the field f, a lifted pixel p, q = 255 x p / f, the multiplier m and
    // the addend a.
    // 1. p <= f and 2^31 <= f < 2^32. p and f are multiples of 2^8, since at most 24 bits count. So q is a multiple of
    //    2^8 / f: unless q is whole, the next whole number is at least 2^8 / f > 2^-24 above it.
    // 2. m is the whole number nearest to 255 x 2^55 / f, at most 1/2 away. So p x m / 2^55 differs from q by at most
    //    p / 2^56 <= f / 2^56 < 2^-24.
    // 3. If m was rounded up, a = 0 and q <= p x m / 2^55 < q + 2^-24. By step 1, the whole part is the same.
    // 4. If m was rounded down, a is the remainder 255 x 2^55 - m x f <= f / 2. Then
    //    p x m + a = 2^55 x q + a x (1 - p / f). This is at least 2^55 x q, and at most f / 2 < 2^31 = 2^55 x 2^-24
    //    more. By step 1, the whole part is the same.
    // 5. The sum is below 2^63, since q <= 255.
    const std::uint64_t dividend = std::uint64_t{255} << 55;
    const std::uint64_t below = dividend / field.field;
    const std::uint64_t remainder = dividend % field.field;
    const bool roundedUp = remainder > field.field / 2;
    field.multiplier = static_cast<std::uint32_t>(below + (roundedUp ? 1 : 0));
    field.addend = static_cast<std::uint32_t>(roundedUp ? 0 : remainder);

    // If the field has bits in its upper half only, 16-bit words may do. Let f be that half of the field, h that of the
    // lifted pixel, d the field shifted down to bit 0, and g the greatest common divisor of 255 and d.
    // 1. q = 255 x h / f is a multiple of g / d, since h / f = k / d for a whole k.
    // 2. The multiplier m = ceil(255 x 2^bits / f) exceeds 255 x 2^bits / f by e / f, where
    //    e = m x f - 255 x 2^bits < f.
    // 3. So h x m / 2^bits exceeds q by h x e / f / 2^bits <= e / 2^bits.
    // 4. That keeps the whole part if e / 2^bits < g / d, that is if e x d < 2^bits x g. If d < 2^7 it always holds,
    //    because e < 2^16 and bits >= 23.
    if ((field.field & 0xFFFF) != 0) return field;
    const std::uint64_t f = field.field >> 16;
    const std::uint64_t d = counted >> std::countr_zero(counted);
    const int bits = f > 255 * 256 ? 24 : 23;  // as many as leave the multiplier in 16 bits
    const std::uint64_t due = std::uint64_t{255} << bits;
    const std::uint64_t rounded = (due + f - 1) / f;
    field.fitsWord = (rounded * f - due) * d < std::gcd(std::uint64_t{255}, d) << bits;
    field.wordMultiplier = static_cast<std::uint16_t>(rounded);
    field.wordScale = static_cast<std::uint16_t>(1U << (32 - bits));
    return field;
}

}  // namespace kpx
