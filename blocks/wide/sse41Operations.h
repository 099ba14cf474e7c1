// The operations of avx2Operations.h, with the same names and rules, on a pair of 128-bit registers, for processors
// with SSE4.1.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#define KPX_TARGET [[gnu::target("sse4.1")]]
#define KPX_INLINE [[gnu::target("sse4.1"), gnu::always_inline]] inline

namespace {

struct Wide {
    __m128i lane[2];
};

KPX_INLINE Wide twice(__m128i a) {
    return {{a, a}};
}

KPX_INLINE Wide load(const void* from) {
    const auto* lanes = static_cast<const __m128i*>(from);
    return {{_mm_loadu_si128(lanes), _mm_loadu_si128(lanes + 1)}};
}
KPX_INLINE Wide loadHalves(const unsigned char* from) {
    const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    return {{_mm_unpacklo_epi64(both, both), _mm_unpackhi_epi64(both, both)}};
}
KPX_INLINE Wide loadTwice(const void* from) {
    return twice(_mm_loadu_si128(static_cast<const __m128i*>(from)));
}
KPX_INLINE Wide loadLanes(const void* from0, const void* from1) {
    return {{_mm_loadu_si128(static_cast<const __m128i*>(from0)), _mm_loadu_si128(static_cast<const __m128i*>(from1))}};
}
KPX_INLINE Wide spread64(std::uint64_t value) {
    return twice(_mm_set1_epi64x(static_cast<long long>(value)));
}
KPX_INLINE Wide spread32(int value) {
    return twice(_mm_set1_epi32(value));
}
KPX_INLINE Wide spread16(int value) {
    return twice(_mm_set1_epi16(static_cast<short>(value)));
}
KPX_INLINE Wide spread8(int value) {
    return twice(_mm_set1_epi8(static_cast<char>(value)));
}
KPX_INLINE Wide zero() {
    return twice(_mm_setzero_si128());
}

KPX_INLINE void fetch(const void* from) {
    _mm_prefetch(static_cast<const char*>(from), _MM_HINT_T0);
}

KPX_INLINE __m128i pickFour(const unsigned char* table, const unsigned char* indices) {
    const auto word = [table](unsigned char index) {
        int value;
        std::memcpy(&value, table + std::size_t{4} * index, sizeof value);
        return value;
    };
    return _mm_setr_epi32(word(indices[0]), word(indices[1]), word(indices[2]), word(indices[3]));
}
KPX_INLINE Wide pickWords(const unsigned char* table, const unsigned char* indices) {
    return {{pickFour(table, indices), pickFour(table, indices + 4)}};
}
KPX_INLINE void storeLanes(void* to0, void* to1, Wide a) {
    _mm_storeu_si128(static_cast<__m128i*>(to0), a.lane[0]);
    _mm_storeu_si128(static_cast<__m128i*>(to1), a.lane[1]);
}
KPX_INLINE void store(void* to, Wide a) {
    storeLanes(to, static_cast<__m128i*>(to) + 1, a);
}

KPX_INLINE Wide operator&(Wide a, Wide b) {
    return {{_mm_and_si128(a.lane[0], b.lane[0]), _mm_and_si128(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide operator|(Wide a, Wide b) {
    return {{_mm_or_si128(a.lane[0], b.lane[0]), _mm_or_si128(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide operator^(Wide a, Wide b) {
    return {{_mm_xor_si128(a.lane[0], b.lane[0]), _mm_xor_si128(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide add16(Wide a, Wide b) {
    return {{_mm_add_epi16(a.lane[0], b.lane[0]), _mm_add_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide sub16(Wide a, Wide b) {
    return {{_mm_sub_epi16(a.lane[0], b.lane[0]), _mm_sub_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide mulLow16(Wide a, Wide b) {
    return {{_mm_mullo_epi16(a.lane[0], b.lane[0]), _mm_mullo_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide mulHigh16(Wide a, Wide b) {
    return {{_mm_mulhi_epu16(a.lane[0], b.lane[0]), _mm_mulhi_epu16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide mulRound16(Wide a, Wide b) {
    return {{_mm_mulhrs_epi16(a.lane[0], b.lane[0]), _mm_mulhrs_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide mulAddUnsigned8(Wide a, Wide b) {
    return {{_mm_maddubs_epi16(a.lane[0], b.lane[0]), _mm_maddubs_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide mulAddSigned8(Wide a, Wide b) {
    return mulAddUnsigned8(a, b);
}
KPX_INLINE Wide mulAddSigned16(Wide a, Wide b) {
    return {{_mm_madd_epi16(a.lane[0], b.lane[0]), _mm_madd_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide sign16(Wide a, Wide b) {
    return {{_mm_sign_epi16(a.lane[0], b.lane[0]), _mm_sign_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide min16(Wide a, Wide b) {
    return {{_mm_min_epu16(a.lane[0], b.lane[0]), _mm_min_epu16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide maxSigned8(Wide a, Wide b) {
    return {{_mm_max_epi8(a.lane[0], b.lane[0]), _mm_max_epi8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide equal16(Wide a, Wide b) {
    return {{_mm_cmpeq_epi16(a.lane[0], b.lane[0]), _mm_cmpeq_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide greater16(Wide a, Wide b) {
    return {{_mm_cmpgt_epi16(a.lane[0], b.lane[0]), _mm_cmpgt_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide packBytes(Wide a, Wide b) {
    return {{_mm_packus_epi16(a.lane[0], b.lane[0]), _mm_packus_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow8(Wide a, Wide b) {
    return {{_mm_unpacklo_epi8(a.lane[0], b.lane[0]), _mm_unpacklo_epi8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh8(Wide a, Wide b) {
    return {{_mm_unpackhi_epi8(a.lane[0], b.lane[0]), _mm_unpackhi_epi8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow16(Wide a, Wide b) {
    return {{_mm_unpacklo_epi16(a.lane[0], b.lane[0]), _mm_unpacklo_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh16(Wide a, Wide b) {
    return {{_mm_unpackhi_epi16(a.lane[0], b.lane[0]), _mm_unpackhi_epi16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide add32(Wide a, Wide b) {
    return {{_mm_add_epi32(a.lane[0], b.lane[0]), _mm_add_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE __m128i mulAddHigh32(__m128i a, __m128i b, __m128i c) {
    const __m128i even = _mm_add_epi64(_mm_mul_epu32(a, b), c);
    const __m128i odd = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(a, 32), b), c);
    return _mm_blend_epi16(_mm_srli_epi64(even, 32), odd, 0xCC);
}
KPX_INLINE Wide mulAddHigh32(Wide a, Wide b, Wide c) {
    return {{mulAddHigh32(a.lane[0], b.lane[0], c.lane[0]), mulAddHigh32(a.lane[1], b.lane[1], c.lane[1])}};
}
KPX_INLINE Wide greater32(Wide a, Wide b) {
    return {{_mm_cmpgt_epi32(a.lane[0], b.lane[0]), _mm_cmpgt_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow32(Wide a, Wide b) {
    return {{_mm_unpacklo_epi32(a.lane[0], b.lane[0]), _mm_unpacklo_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh32(Wide a, Wide b) {
    return {{_mm_unpackhi_epi32(a.lane[0], b.lane[0]), _mm_unpackhi_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow64(Wide a, Wide b) {
    return {{_mm_unpacklo_epi64(a.lane[0], b.lane[0]), _mm_unpacklo_epi64(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh64(Wide a, Wide b) {
    return {{_mm_unpackhi_epi64(a.lane[0], b.lane[0]), _mm_unpackhi_epi64(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide packWords(Wide a, Wide b) {
    return {{_mm_packus_epi32(a.lane[0], b.lane[0]), _mm_packus_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide packSignedWords(Wide a, Wide b) {
    return {{_mm_packs_epi32(a.lane[0], b.lane[0]), _mm_packs_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide crossHalves(Wide a) {
    return {{_mm_unpacklo_epi64(a.lane[0], a.lane[1]), _mm_unpackhi_epi64(a.lane[0], a.lane[1])}};
}
KPX_INLINE Wide equal32(Wide a, Wide b) {
    return {{_mm_cmpeq_epi32(a.lane[0], b.lane[0]), _mm_cmpeq_epi32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide abs16(Wide a) {
    return {{_mm_abs_epi16(a.lane[0]), _mm_abs_epi16(a.lane[1])}};
}
KPX_INLINE Wide shuffle8(Wide a, Wide order) {
    return {{_mm_shuffle_epi8(a.lane[0], order.lane[0]), _mm_shuffle_epi8(a.lane[1], order.lane[1])}};
}
KPX_INLINE Wide choose(Wide a, Wide b, Wide mask) {
    return {{_mm_blendv_epi8(a.lane[0], b.lane[0], mask.lane[0]), _mm_blendv_epi8(a.lane[1], b.lane[1], mask.lane[1])}};
}
KPX_INLINE Wide swapHalves(Wide a) {
    return {{_mm_shuffle_epi32(a.lane[0], 0x4E), _mm_shuffle_epi32(a.lane[1], 0x4E)}};
}
KPX_INLINE Wide highHalf(Wide a) {
    return {{_mm_srli_si128(a.lane[0], 8), _mm_srli_si128(a.lane[1], 8)}};
}
template <int bits>
KPX_INLINE Wide shiftRight16(Wide a) {
    return {{_mm_srli_epi16(a.lane[0], bits), _mm_srli_epi16(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftLeft16(Wide a) {
    return {{_mm_slli_epi16(a.lane[0], bits), _mm_slli_epi16(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftRight32(Wide a) {
    return {{_mm_srli_epi32(a.lane[0], bits), _mm_srli_epi32(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftRightSigned32(Wide a) {
    return {{_mm_srai_epi32(a.lane[0], bits), _mm_srai_epi32(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftLeft32(Wide a) {
    return {{_mm_slli_epi32(a.lane[0], bits), _mm_slli_epi32(a.lane[1], bits)}};
}
template <int h>
KPX_INLINE Wide spreadHalf(Wide a) {
    const __m128i lane = a.lane[h / 2];
    return twice(h % 2 == 0 ? _mm_unpacklo_epi64(lane, lane) : _mm_unpackhi_epi64(lane, lane));
}
KPX_INLINE Wide shiftLeft32(Wide a, int bits) {
    const __m128i count = _mm_cvtsi32_si128(bits);
    return {{_mm_sll_epi32(a.lane[0], count), _mm_sll_epi32(a.lane[1], count)}};
}
KPX_INLINE __m128i scaledFloats(__m128i a, __m128i factors) {
    return _mm_castps_si128(_mm_mul_ps(_mm_cvtepi32_ps(a), _mm_castsi128_ps(factors)));
}
KPX_INLINE Wide scaledFloats(Wide a, Wide factors) {
    return {{scaledFloats(a.lane[0], factors.lane[0]), scaledFloats(a.lane[1], factors.lane[1])}};
}
KPX_INLINE Wide scaledFloats(Wide a, float factor) {
    return scaledFloats(a, twice(_mm_castps_si128(_mm_set1_ps(factor))));
}
KPX_INLINE __m128i floatQuotients(float dividend, __m128i a) {
    return _mm_castps_si128(_mm_div_ps(_mm_set1_ps(dividend), _mm_cvtepi32_ps(a)));
}
KPX_INLINE Wide floatQuotients(float dividend, Wide a) {
    return {{floatQuotients(dividend, a.lane[0]), floatQuotients(dividend, a.lane[1])}};
}
KPX_INLINE Wide truncatedFloats(Wide a) {
    return {{_mm_cvttps_epi32(_mm_castsi128_ps(a.lane[0])), _mm_cvttps_epi32(_mm_castsi128_ps(a.lane[1]))}};
}

constexpr bool hasHalfConversion = false;
[[maybe_unused]] KPX_INLINE void storeFiniteHalfs(unsigned char*, unsigned char*, Wide) {}

// SSE4.1 cannot permute words by a register, so texels are picked byte by byte.
struct TexelIndices {
    Wide fourfold;  // 4 x index of each texel, as bytes
};
KPX_INLINE TexelIndices texelIndices(Wide block) {
    const Wide rows01 = twice(_mm_setr_epi8(4, -1, 4, -1, 4, -1, 4, -1, 5, -1, 5, -1, 5, -1, 5, -1));
    const Wide rows23 = twice(_mm_setr_epi8(6, -1, 6, -1, 6, -1, 6, -1, 7, -1, 7, -1, 7, -1, 7, -1));
    // Multiplying shifts the two bits of column c to the top of a word.
    const Wide lift = twice(_mm_setr_epi16(1 << 14, 1 << 12, 1 << 10, 1 << 8, 1 << 14, 1 << 12, 1 << 10, 1 << 8));
    const Wide low = shiftRight16<14>(mulLow16(shuffle8(block, rows01), lift));
    const Wide high = shiftRight16<14>(mulLow16(shuffle8(block, rows23), lift));
    return {shiftLeft16<2>(packBytes(low, high))};
}
template <int r>
KPX_INLINE Wide pickTexels(Wide palette, TexelIndices indices) {
    constexpr char i = 4 * r;
    const Wide fourTimes = twice(
        _mm_setr_epi8(i, i, i, i, i + 1, i + 1, i + 1, i + 1, i + 2, i + 2, i + 2, i + 2, i + 3, i + 3, i + 3, i + 3));
    const Wide bytes = shuffle8(indices.fourfold, fourTimes) | spread32(0x03020100);
    return shuffle8(palette, bytes);
}

}  // namespace
