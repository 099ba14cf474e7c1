// The operations of avx2Operations.h, with the same names and rules, on a pair of 128-bit NEON registers. Every aarch64
// processor has NEON.
#pragma once

#include <arm_neon.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#define KPX_TARGET
#define KPX_INLINE [[gnu::always_inline]] inline

namespace {

// A register that converts to and from the vector types of the operations.
class Lane {
public:
    Lane() = default;
    KPX_INLINE Lane(uint8x16_t a) : m_bytes(a) {}
    KPX_INLINE Lane(int8x16_t a) : m_bytes(vreinterpretq_u8_s8(a)) {}
    KPX_INLINE Lane(uint16x8_t a) : m_bytes(vreinterpretq_u8_u16(a)) {}
    KPX_INLINE Lane(int16x8_t a) : m_bytes(vreinterpretq_u8_s16(a)) {}
    KPX_INLINE Lane(uint32x4_t a) : m_bytes(vreinterpretq_u8_u32(a)) {}
    KPX_INLINE Lane(int32x4_t a) : m_bytes(vreinterpretq_u8_s32(a)) {}
    KPX_INLINE Lane(uint64x2_t a) : m_bytes(vreinterpretq_u8_u64(a)) {}
    KPX_INLINE Lane(float32x4_t a) : m_bytes(vreinterpretq_u8_f32(a)) {}

    KPX_INLINE operator uint8x16_t() const { return m_bytes; }
    KPX_INLINE operator int8x16_t() const { return vreinterpretq_s8_u8(m_bytes); }
    KPX_INLINE operator uint16x8_t() const { return vreinterpretq_u16_u8(m_bytes); }
    KPX_INLINE operator int16x8_t() const { return vreinterpretq_s16_u8(m_bytes); }
    KPX_INLINE operator uint32x4_t() const { return vreinterpretq_u32_u8(m_bytes); }
    KPX_INLINE operator int32x4_t() const { return vreinterpretq_s32_u8(m_bytes); }
    KPX_INLINE operator uint64x2_t() const { return vreinterpretq_u64_u8(m_bytes); }
    KPX_INLINE operator float32x4_t() const { return vreinterpretq_f32_u8(m_bytes); }
    KPX_INLINE operator float16x8_t() const { return vreinterpretq_f16_u8(m_bytes); }

private:
    uint8x16_t m_bytes;
};

struct Wide {
    Lane lane[2];
};

KPX_INLINE Wide twice(Lane a) {
    return {{a, a}};
}

KPX_INLINE Wide loadLanes(const void* from0, const void* from1) {
    return {{vld1q_u8(static_cast<const std::uint8_t*>(from0)), vld1q_u8(static_cast<const std::uint8_t*>(from1))}};
}
KPX_INLINE Wide load(const void* from) {
    return loadLanes(from, static_cast<const std::uint8_t*>(from) + 16);
}
KPX_INLINE Wide loadTwice(const void* from) {
    return twice(vld1q_u8(static_cast<const std::uint8_t*>(from)));
}
KPX_INLINE Wide loadHalves(const unsigned char* from) {
    const Lane both = vld1q_u8(from);
    return {{vzip1q_u64(both, both), vzip2q_u64(both, both)}};
}
KPX_INLINE Wide spread64(std::uint64_t value) {
    return twice(vdupq_n_u64(value));
}
KPX_INLINE Wide spread32(int value) {
    return twice(vdupq_n_s32(value));
}
KPX_INLINE Wide spread16(int value) {
    return twice(vdupq_n_u16(static_cast<std::uint16_t>(value)));
}
KPX_INLINE Wide spread8(int value) {
    return twice(vdupq_n_u8(static_cast<std::uint8_t>(value)));
}
KPX_INLINE Wide zero() {
    return twice(vdupq_n_u8(0));
}

KPX_INLINE void fetch(const void* from) {
    __builtin_prefetch(from);
}

KPX_INLINE Lane pickFour(const unsigned char* table, const unsigned char* indices) {
    std::uint32_t words[4];
    for (std::size_t i = 0; i < 4; ++i) std::memcpy(&words[i], table + std::size_t{4} * indices[i], sizeof words[i]);
    return vld1q_u32(words);
}
KPX_INLINE Wide pickWords(const unsigned char* table, const unsigned char* indices) {
    return {{pickFour(table, indices), pickFour(table, indices + 4)}};
}
KPX_INLINE void storeLanes(void* to0, void* to1, Wide a) {
    vst1q_u8(static_cast<std::uint8_t*>(to0), a.lane[0]);
    vst1q_u8(static_cast<std::uint8_t*>(to1), a.lane[1]);
}
KPX_INLINE void store(void* to, Wide a) {
    storeLanes(to, static_cast<std::uint8_t*>(to) + 16, a);
}

KPX_INLINE Wide operator&(Wide a, Wide b) {
    return {{vandq_u8(a.lane[0], b.lane[0]), vandq_u8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide operator|(Wide a, Wide b) {
    return {{vorrq_u8(a.lane[0], b.lane[0]), vorrq_u8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide operator^(Wide a, Wide b) {
    return {{veorq_u8(a.lane[0], b.lane[0]), veorq_u8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide add16(Wide a, Wide b) {
    return {{vaddq_u16(a.lane[0], b.lane[0]), vaddq_u16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide sub16(Wide a, Wide b) {
    return {{vsubq_u16(a.lane[0], b.lane[0]), vsubq_u16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide mulLow16(Wide a, Wide b) {
    return {{vmulq_u16(a.lane[0], b.lane[0]), vmulq_u16(a.lane[1], b.lane[1])}};
}
// The high halves are the odd words of the products.
KPX_INLINE Lane mulHigh16(Lane a, Lane b) {
    const Lane low = vmull_u16(vget_low_u16(a), vget_low_u16(b));
    return vuzp2q_u16(low, Lane(vmull_high_u16(a, b)));
}
KPX_INLINE Wide mulHigh16(Wide a, Wide b) {
    return {{mulHigh16(a.lane[0], b.lane[0]), mulHigh16(a.lane[1], b.lane[1])}};
}
// The instruction doubles the product and returns its high half. It would saturate if both are -32768.
KPX_INLINE Wide mulRound16(Wide a, Wide b) {
    return {{vqrdmulhq_s16(a.lane[0], b.lane[0]), vqrdmulhq_s16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Lane mulAddUnsigned8(Lane a, Lane b) {
    return vpaddq_u16(vmull_u8(vget_low_u8(a), vget_low_u8(b)), vmull_high_u8(a, b));
}
KPX_INLINE Wide mulAddUnsigned8(Wide a, Wide b) {
    return {{mulAddUnsigned8(a.lane[0], b.lane[0]), mulAddUnsigned8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Lane mulAddSigned8(Lane a, Lane b) {
    return vpaddq_s16(vmull_s8(vget_low_s8(a), vget_low_s8(b)), vmull_high_s8(a, b));
}
KPX_INLINE Wide mulAddSigned8(Wide a, Wide b) {
    return {{mulAddSigned8(a.lane[0], b.lane[0]), mulAddSigned8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Lane mulAddSigned16(Lane a, Lane b) {
    return vpaddq_s32(vmull_s16(vget_low_s16(a), vget_low_s16(b)), vmull_high_s16(a, b));
}
KPX_INLINE Wide mulAddSigned16(Wide a, Wide b) {
    return {{mulAddSigned16(a.lane[0], b.lane[0]), mulAddSigned16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide abs16(Wide a) {
    return {{vabsq_s16(a.lane[0]), vabsq_s16(a.lane[1])}};
}
// Multiplies by the sign: -1, 0 or 1.
KPX_INLINE Lane sign16(Lane a, Lane b) {
    return vmulq_s16(a, vmaxq_s16(vminq_s16(b, vdupq_n_s16(1)), vdupq_n_s16(-1)));
}
KPX_INLINE Wide sign16(Wide a, Wide b) {
    return {{sign16(a.lane[0], b.lane[0]), sign16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide min16(Wide a, Wide b) {
    return {{vminq_u16(a.lane[0], b.lane[0]), vminq_u16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide maxSigned8(Wide a, Wide b) {
    return {{vmaxq_s8(a.lane[0], b.lane[0]), vmaxq_s8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide equal16(Wide a, Wide b) {
    return {{vceqq_u16(a.lane[0], b.lane[0]), vceqq_u16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide greater16(Wide a, Wide b) {
    return {{vcgtq_s16(a.lane[0], b.lane[0]), vcgtq_s16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide choose(Wide a, Wide b, Wide mask) {
    return {{vbslq_u8(mask.lane[0], b.lane[0], a.lane[0]), vbslq_u8(mask.lane[1], b.lane[1], a.lane[1])}};
}
template <int bits>
KPX_INLINE Wide shiftRight16(Wide a) {
    return {{vshrq_n_u16(a.lane[0], bits), vshrq_n_u16(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftLeft16(Wide a) {
    return {{vshlq_n_u16(a.lane[0], bits), vshlq_n_u16(a.lane[1], bits)}};
}
// The instruction returns 0 for every order of 16 or more.
KPX_INLINE Wide shuffle8(Wide a, Wide order) {
    return {{vqtbl1q_u8(a.lane[0], order.lane[0]), vqtbl1q_u8(a.lane[1], order.lane[1])}};
}
KPX_INLINE Wide swapHalves(Wide a) {
    return {{vextq_u8(a.lane[0], a.lane[0], 8), vextq_u8(a.lane[1], a.lane[1], 8)}};
}
KPX_INLINE Wide highHalf(Wide a) {
    return {{vextq_u8(a.lane[0], vdupq_n_u8(0), 8), vextq_u8(a.lane[1], vdupq_n_u8(0), 8)}};
}
template <int h>
KPX_INLINE Wide spreadHalf(Wide a) {
    return twice(vdupq_laneq_u64(a.lane[h / 2], h % 2));
}
KPX_INLINE Wide crossHalves(Wide a) {
    return {{vzip1q_u64(a.lane[0], a.lane[1]), vzip2q_u64(a.lane[0], a.lane[1])}};
}
KPX_INLINE Lane packBytes(Lane a, Lane b) {
    return vqmovun_high_s16(vqmovun_s16(a), b);
}
KPX_INLINE Wide packBytes(Wide a, Wide b) {
    return {{packBytes(a.lane[0], b.lane[0]), packBytes(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow8(Wide a, Wide b) {
    return {{vzip1q_u8(a.lane[0], b.lane[0]), vzip1q_u8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh8(Wide a, Wide b) {
    return {{vzip2q_u8(a.lane[0], b.lane[0]), vzip2q_u8(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow16(Wide a, Wide b) {
    return {{vzip1q_u16(a.lane[0], b.lane[0]), vzip1q_u16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh16(Wide a, Wide b) {
    return {{vzip2q_u16(a.lane[0], b.lane[0]), vzip2q_u16(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow32(Wide a, Wide b) {
    return {{vzip1q_u32(a.lane[0], b.lane[0]), vzip1q_u32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh32(Wide a, Wide b) {
    return {{vzip2q_u32(a.lane[0], b.lane[0]), vzip2q_u32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackLow64(Wide a, Wide b) {
    return {{vzip1q_u64(a.lane[0], b.lane[0]), vzip1q_u64(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide unpackHigh64(Wide a, Wide b) {
    return {{vzip2q_u64(a.lane[0], b.lane[0]), vzip2q_u64(a.lane[1], b.lane[1])}};
}
KPX_INLINE Lane packWords(Lane a, Lane b) {
    return vqmovun_high_s32(vqmovun_s32(a), b);
}
KPX_INLINE Wide packWords(Wide a, Wide b) {
    return {{packWords(a.lane[0], b.lane[0]), packWords(a.lane[1], b.lane[1])}};
}
KPX_INLINE Lane packSignedWords(Lane a, Lane b) {
    return vqmovn_high_s32(vqmovn_s32(a), b);
}
KPX_INLINE Wide packSignedWords(Wide a, Wide b) {
    return {{packSignedWords(a.lane[0], b.lane[0]), packSignedWords(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide add32(Wide a, Wide b) {
    return {{vaddq_u32(a.lane[0], b.lane[0]), vaddq_u32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Lane mulAddHigh32(Lane a, Lane b, Lane c) {
    const Lane low = vmlal_u32(c, vget_low_u32(a), vget_low_u32(b));
    return vuzp2q_u32(low, Lane(vmlal_high_u32(c, a, b)));
}
KPX_INLINE Wide mulAddHigh32(Wide a, Wide b, Wide c) {
    return {{mulAddHigh32(a.lane[0], b.lane[0], c.lane[0]), mulAddHigh32(a.lane[1], b.lane[1], c.lane[1])}};
}
KPX_INLINE Wide greater32(Wide a, Wide b) {
    return {{vcgtq_s32(a.lane[0], b.lane[0]), vcgtq_s32(a.lane[1], b.lane[1])}};
}
KPX_INLINE Wide equal32(Wide a, Wide b) {
    return {{vceqq_u32(a.lane[0], b.lane[0]), vceqq_u32(a.lane[1], b.lane[1])}};
}
template <int bits>
KPX_INLINE Wide shiftRight32(Wide a) {
    return {{vshrq_n_u32(a.lane[0], bits), vshrq_n_u32(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftRightSigned32(Wide a) {
    return {{vshrq_n_s32(a.lane[0], bits), vshrq_n_s32(a.lane[1], bits)}};
}
template <int bits>
KPX_INLINE Wide shiftLeft32(Wide a) {
    return {{vshlq_n_u32(a.lane[0], bits), vshlq_n_u32(a.lane[1], bits)}};
}
KPX_INLINE Wide shiftLeft32(Wide a, int bits) {
    const int32x4_t counts = vdupq_n_s32(bits);
    return {{vshlq_u32(a.lane[0], counts), vshlq_u32(a.lane[1], counts)}};
}
KPX_INLINE Wide scaledFloats(Wide a, Wide factors) {
    return {
        {vmulq_f32(vcvtq_f32_s32(a.lane[0]), factors.lane[0]), vmulq_f32(vcvtq_f32_s32(a.lane[1]), factors.lane[1])}};
}
KPX_INLINE Wide scaledFloats(Wide a, float factor) {
    return scaledFloats(a, twice(vdupq_n_f32(factor)));
}
KPX_INLINE Wide floatQuotients(float dividend, Wide a) {
    const float32x4_t dividends = vdupq_n_f32(dividend);
    return {{vdivq_f32(dividends, vcvtq_f32_s32(a.lane[0])), vdivq_f32(dividends, vcvtq_f32_s32(a.lane[1]))}};
}
KPX_INLINE Wide truncatedFloats(Wide a) {
    return {{vcvtq_s32_f32(a.lane[0]), vcvtq_s32_f32(a.lane[1])}};
}

constexpr bool hasHalfConversion = true;
KPX_INLINE void storeFiniteHalfs(unsigned char* to0, unsigned char* to1, Wide halfs) {
    const auto floats = [](float16x8_t lane) -> Wide {
        return {{vcvt_f32_f16(vget_low_f16(lane)), vcvt_high_f32_f16(lane)}};
    };
    store(to0, floats(halfs.lane[0]));
    store(to1, floats(halfs.lane[1]));
}

// Texels are picked byte by byte.
struct TexelIndices {
    Wide block;
};
KPX_INLINE TexelIndices texelIndices(Wide block) {
    return {block};
}
template <int r>
KPX_INLINE Wide pickTexels(Wide palette, TexelIndices indices) {
    // Shifts the two bits of column c in the row's byte to bits 2 and 3.
    constexpr std::int8_t shifts[16] = {2, 2, 2, 2, 0, 0, 0, 0, -2, -2, -2, -2, -4, -4, -4, -4};
    const int8x16_t toFourfold = vld1q_s8(shifts);
    const auto rowByte = [](uint8x16_t block) { return vdupq_laneq_u8(block, 4 + r); };
    const Wide fourfold = {
        {vshlq_u8(rowByte(indices.block.lane[0]), toFourfold), vshlq_u8(rowByte(indices.block.lane[1]), toFourfold)}};
    return shuffle8(palette, (fourfold & spread8(0x0C)) | spread32(0x03020100));
}

}  // namespace
