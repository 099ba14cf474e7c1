// The operations of the wide kernels for processors with AVX2: two 128-bit lanes in one register. Operations work
// within lanes unless stated otherwise. Everything is local to the including source, so that the linker cannot merge
// code that needs AVX2 into other sources.
//
// pdep and pext are not used, since some of these processors implement them in slow microcode. Byte shuffles and
// multiplications gather bit fields instead.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "blocks/littleEndian.h"

#define KPX_TARGET [[gnu::target("avx2,f16c")]]
// Every function that takes or returns vectors is inlined: g++ 12 clears the upper half of a vector returned by a
// function for a wider target.
#define KPX_INLINE [[gnu::target("avx2,f16c"), gnu::always_inline]] inline

namespace {

struct Wide {
    __m256i v;
};

// Load 32 bytes; 16 bytes, of which each lane gets 8 in both of its halves; and 16 bytes into both lanes.
KPX_INLINE Wide load(const void* from) {
    return {_mm256_loadu_si256(static_cast<const __m256i*>(from))};
}
KPX_INLINE Wide loadHalves(const unsigned char* from) {
    const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    return {_mm256_permute4x64_epi64(_mm256_castsi128_si256(both), 0x50)};
}
KPX_INLINE Wide loadTwice(const void* from) {
    return {_mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(from)))};
}
// Loads 16 bytes for each lane.
KPX_INLINE Wide loadLanes(const void* from0, const void* from1) {
    const __m256i low = _mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(from0)));
    return {_mm256_inserti128_si256(low, _mm_loadu_si128(static_cast<const __m128i*>(from1)), 1)};
}
KPX_INLINE Wide spread64(std::uint64_t value) {
    return {_mm256_set1_epi64x(static_cast<long long>(value))};
}
KPX_INLINE Wide spread32(int value) {
    return {_mm256_set1_epi32(value)};
}
KPX_INLINE Wide spread16(int value) {
    return {_mm256_set1_epi16(static_cast<short>(value))};
}
KPX_INLINE Wide spread8(int value) {
    return {_mm256_set1_epi8(static_cast<char>(value))};
}
KPX_INLINE Wide zero() {
    return {_mm256_setzero_si256()};
}

// Prefetches the cache line at an address, which may be invalid.
KPX_INLINE void fetch(const void* from) {
    _mm_prefetch(static_cast<const char*>(from), _MM_HINT_T0);
}

// Returns four 32-bit words of a table, indexed by the lowest bytes of a number.
KPX_INLINE __m128i pickFour(const unsigned char* table, std::uint64_t indices) {
    const auto word = [&](int i) { return static_cast<int>(kpx::load32(table + 4 * (indices >> (8 * i) & 0xFF))); };
    return _mm_setr_epi32(word(0), word(1), word(2), word(3));
}
// Returns eight 32-bit words of a table, indexed by bytes. A gather instruction takes twice the time on AMD's Zen
// processors: 0.52 instead of 0.21 to 0.26 ns per word.
KPX_INLINE Wide pickWords(const unsigned char* table, const unsigned char* indices) {
    const std::uint64_t eight = kpx::load64(indices);
    const __m256i low = _mm256_castsi128_si256(pickFour(table, eight));
    return {_mm256_inserti128_si256(low, pickFour(table, eight >> 32), 1)};
}
KPX_INLINE void store(void* to, Wide a) {
    _mm256_storeu_si256(static_cast<__m256i*>(to), a.v);
}
KPX_INLINE void storeLanes(void* to0, void* to1, Wide a) {
    _mm_storeu_si128(static_cast<__m128i*>(to0), _mm256_castsi256_si128(a.v));
    _mm_storeu_si128(static_cast<__m128i*>(to1), _mm256_extracti128_si256(a.v, 1));
}

KPX_INLINE Wide operator&(Wide a, Wide b) {
    return {_mm256_and_si256(a.v, b.v)};
}
KPX_INLINE Wide operator|(Wide a, Wide b) {
    return {_mm256_or_si256(a.v, b.v)};
}
KPX_INLINE Wide operator^(Wide a, Wide b) {
    return {_mm256_xor_si256(a.v, b.v)};
}
KPX_INLINE Wide add16(Wide a, Wide b) {
    return {_mm256_add_epi16(a.v, b.v)};
}
KPX_INLINE Wide sub16(Wide a, Wide b) {
    return {_mm256_sub_epi16(a.v, b.v)};
}
KPX_INLINE Wide mulLow16(Wide a, Wide b) {
    return {_mm256_mullo_epi16(a.v, b.v)};
}
// Returns a x b >> 16, unsigned.
KPX_INLINE Wide mulHigh16(Wide a, Wide b) {
    return {_mm256_mulhi_epu16(a.v, b.v)};
}
// Returns (a x b + 0x4000) >> 15, signed. Requires: not both are -32768.
KPX_INLINE Wide mulRound16(Wide a, Wide b) {
    return {_mm256_mulhrs_epi16(a.v, b.v)};
}
// Multiply bytes and add neighbouring products. Requires: the sums fit a signed word. The bytes are unsigned, those of
// b at most 127; or signed, those of a not negative.
KPX_INLINE Wide mulAddUnsigned8(Wide a, Wide b) {
    return {_mm256_maddubs_epi16(a.v, b.v)};
}
KPX_INLINE Wide mulAddSigned8(Wide a, Wide b) {
    return {_mm256_maddubs_epi16(a.v, b.v)};
}
// Multiplies signed words and adds neighbouring products.
KPX_INLINE Wide mulAddSigned16(Wide a, Wide b) {
    return {_mm256_madd_epi16(a.v, b.v)};
}
KPX_INLINE Wide abs16(Wide a) {
    return {_mm256_abs_epi16(a.v)};
}
// Returns a with the sign of b; 0 where b is 0.
KPX_INLINE Wide sign16(Wide a, Wide b) {
    return {_mm256_sign_epi16(a.v, b.v)};
}
KPX_INLINE Wide min16(Wide a, Wide b) {
    return {_mm256_min_epu16(a.v, b.v)};
}
KPX_INLINE Wide maxSigned8(Wide a, Wide b) {
    return {_mm256_max_epi8(a.v, b.v)};
}
KPX_INLINE Wide equal16(Wide a, Wide b) {
    return {_mm256_cmpeq_epi16(a.v, b.v)};
}
KPX_INLINE Wide greater16(Wide a, Wide b) {
    return {_mm256_cmpgt_epi16(a.v, b.v)};
}
// Returns b where the mask is set, else a. Requires: all bits of a byte of the mask are equal.
KPX_INLINE Wide choose(Wide a, Wide b, Wide mask) {
    return {_mm256_blendv_epi8(a.v, b.v, mask.v)};
}
template <int bits>
KPX_INLINE Wide shiftRight16(Wide a) {
    return {_mm256_srli_epi16(a.v, bits)};
}
template <int bits>
KPX_INLINE Wide shiftLeft16(Wide a) {
    return {_mm256_slli_epi16(a.v, bits)};
}
// Sets byte i of a lane to its byte order[i], or to 0 if order[i] has its top bit set. Requires: all others are
// below 16.
KPX_INLINE Wide shuffle8(Wide a, Wide order) {
    return {_mm256_shuffle_epi8(a.v, order.v)};
}
KPX_INLINE Wide swapHalves(Wide a) {
    return {_mm256_shuffle_epi32(a.v, 0x4E)};
}
KPX_INLINE Wide highHalf(Wide a) {
    return {_mm256_srli_si256(a.v, 8)};
}
// Copies half h (8 bytes; 0 to 3 over both lanes) into every half of every lane.
template <int h>
KPX_INLINE Wide spreadHalf(Wide a) {
    return {_mm256_permute4x64_epi64(a.v, h * 0x55)};
}
// Swaps the high half of lane 0 with the low half of lane 1.
KPX_INLINE Wide crossHalves(Wide a) {
    return {_mm256_permute4x64_epi64(a.v, 0xD8)};
}
KPX_INLINE Wide packBytes(Wide a, Wide b) {
    return {_mm256_packus_epi16(a.v, b.v)};
}
KPX_INLINE Wide unpackLow8(Wide a, Wide b) {
    return {_mm256_unpacklo_epi8(a.v, b.v)};
}
KPX_INLINE Wide unpackHigh8(Wide a, Wide b) {
    return {_mm256_unpackhi_epi8(a.v, b.v)};
}
KPX_INLINE Wide unpackLow16(Wide a, Wide b) {
    return {_mm256_unpacklo_epi16(a.v, b.v)};
}
KPX_INLINE Wide unpackHigh16(Wide a, Wide b) {
    return {_mm256_unpackhi_epi16(a.v, b.v)};
}

KPX_INLINE Wide unpackLow32(Wide a, Wide b) {
    return {_mm256_unpacklo_epi32(a.v, b.v)};
}
KPX_INLINE Wide unpackHigh32(Wide a, Wide b) {
    return {_mm256_unpackhi_epi32(a.v, b.v)};
}
KPX_INLINE Wide unpackLow64(Wide a, Wide b) {
    return {_mm256_unpacklo_epi64(a.v, b.v)};
}
KPX_INLINE Wide unpackHigh64(Wide a, Wide b) {
    return {_mm256_unpackhi_epi64(a.v, b.v)};
}
KPX_INLINE Wide packWords(Wide a, Wide b) {
    return {_mm256_packus_epi32(a.v, b.v)};
}
KPX_INLINE Wide packSignedWords(Wide a, Wide b) {
    return {_mm256_packs_epi32(a.v, b.v)};
}

KPX_INLINE Wide add32(Wide a, Wide b) {
    return {_mm256_add_epi32(a.v, b.v)};
}
// Returns (a x b + c) >> 32 of unsigned 32-bit words. Requires: all words of b are equal, and all 64-bit words of c.
KPX_INLINE Wide mulAddHigh32(Wide a, Wide b, Wide c) {
    const __m256i even = _mm256_add_epi64(_mm256_mul_epu32(a.v, b.v), c.v);
    const __m256i odd = _mm256_add_epi64(_mm256_mul_epu32(_mm256_srli_epi64(a.v, 32), b.v), c.v);
    return {_mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xAA)};
}
KPX_INLINE Wide greater32(Wide a, Wide b) {
    return {_mm256_cmpgt_epi32(a.v, b.v)};
}
template <int bits>
KPX_INLINE Wide shiftRight32(Wide a) {
    return {_mm256_srli_epi32(a.v, bits)};
}
template <int bits>
KPX_INLINE Wide shiftRightSigned32(Wide a) {
    return {_mm256_srai_epi32(a.v, bits)};
}
template <int bits>
KPX_INLINE Wide shiftLeft32(Wide a) {
    return {_mm256_slli_epi32(a.v, bits)};
}
KPX_INLINE Wide shiftLeft32(Wide a, int bits) {
    return {_mm256_sllv_epi32(a.v, _mm256_set1_epi32(bits))};
}
KPX_INLINE Wide equal32(Wide a, Wide b) {
    return {_mm256_cmpeq_epi32(a.v, b.v)};
}
// Vectors of floats have the type of their bits.
// Returns whole numbers times floats.
KPX_INLINE Wide scaledFloats(Wide a, Wide factors) {
    return {_mm256_castps_si256(_mm256_mul_ps(_mm256_cvtepi32_ps(a.v), _mm256_castsi256_ps(factors.v)))};
}
KPX_INLINE Wide scaledFloats(Wide a, float factor) {
    return scaledFloats(a, {_mm256_castps_si256(_mm256_set1_ps(factor))});
}
// Returns a float divided by whole numbers.
KPX_INLINE Wide floatQuotients(float dividend, Wide a) {
    return {_mm256_castps_si256(_mm256_div_ps(_mm256_set1_ps(dividend), _mm256_cvtepi32_ps(a.v)))};
}
KPX_INLINE Wide truncatedFloats(Wide a) {
    return {_mm256_cvttps_epi32(_mm256_castsi256_ps(a.v))};
}

// Widens the half floats of each lane. Not for exponent 31, which would become infinity.
constexpr bool hasHalfConversion = true;
KPX_INLINE void storeFiniteHalfs(unsigned char* to0, unsigned char* to1, Wide halfs) {
    _mm256_storeu_ps(reinterpret_cast<float*>(to0), _mm256_cvtph_ps(_mm256_castsi256_si128(halfs.v)));
    _mm256_storeu_ps(reinterpret_cast<float*>(to1), _mm256_cvtph_ps(_mm256_extracti128_si256(halfs.v, 1)));
}

// The sixteen 2-bit indices in bytes 4 to 7 of each lane, prepared for picking texels from palettes of four.
struct TexelIndices {
    __m256i bits;
};
KPX_INLINE TexelIndices texelIndices(Wide block) {
    return {_mm256_shuffle_epi32(block.v, 0x55)};
}
// Returns row r (0 to 3) of each lane's tile, picked from the lane's four texels.
template <int r>
KPX_INLINE Wide pickTexels(Wide palette, TexelIndices indices) {
    const __m256i shifts =
        _mm256_setr_epi32(8 * r, 8 * r + 2, 8 * r + 4, 8 * r + 6, 8 * r, 8 * r + 2, 8 * r + 4, 8 * r + 6);
    // The permutation uses only the two low bits of each word.
    const __m256i control = _mm256_srlv_epi32(indices.bits, shifts);
    return {_mm256_castps_si256(_mm256_permutevar_ps(_mm256_castsi256_ps(palette.v), control))};
}

}  // namespace
