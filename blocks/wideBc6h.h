// BC6H: endpoints of one block in words, a palette two entries at a time, and pixels copied from it. Each mode is an
// instance of the same routine over its row of the mode table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "blocks/bc6hLayout.h"
#include "blocks/bcTables.h"
#include "blocks/wideLanes.h"
#include "blocks/wideModes.h"
#include "blocks/wideTables.h"

namespace {

constexpr std::size_t pixelBytes = 16;
constexpr std::size_t floatTileBytes = 4 * pixelBytes;

// The bits of one run, in their place.
template <kpx::Bc6Run run>
KPX_INLINE std::int32_t runBits(std::uint64_t low, std::uint64_t high) {
    constexpr std::uint32_t mask = (1U << run.count) - 1;
    std::uint64_t from = 0;
    if constexpr (run.firstBit >= 64) {
        from = high >> (run.firstBit - 64);
    } else {
        from = low >> run.firstBit;
        if constexpr (run.firstBit + run.count > 64) from |= high << (64 - run.firstBit);
    }
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(from) & mask) << run.shift);
}

// One endpoint channel of a mode, from all its runs.
template <int mode, int field, std::size_t... runs>
KPX_INLINE std::int32_t fieldBits(std::uint64_t low, std::uint64_t high, std::index_sequence<runs...>) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    return (0 | ... | (row.runs[runs].field == field ? runBits<row.runs[runs]>(low, high) : 0));
}

constexpr std::size_t runCount(const kpx::Bc6Mode& mode) {
    std::size_t count = 0;
    while (mode.runs[count].count != 0) ++count;
    return count;
}

// Endpoints first and first + 1 as stored, one a lane: R, G, B and 0.
template <int mode, int first>
KPX_INLINE Wide gatherEndpoints(std::uint64_t low, std::uint64_t high) {
    constexpr auto runs = std::make_index_sequence<runCount(kpx::bc6Modes[mode])>();
    constexpr int field = 3 * first;
    // From registers: words that went through memory one by one could not be loaded as a vector without a long wait.
    return fromWords(fieldBits<mode, field>(low, high, runs), fieldBits<mode, field + 1>(low, high, runs),
                     fieldBits<mode, field + 2>(low, high, runs), fieldBits<mode, field + 3>(low, high, runs),
                     fieldBits<mode, field + 4>(low, high, runs), fieldBits<mode, field + 5>(low, high, runs));
}

// The top bits of four channels of given widths; a width of 0 has none.
constexpr std::int32_t topBit(int width) {
    return width == 0 ? 0 : static_cast<std::int32_t>(1U << (width - 1));
}
KPX_INLINE Wide topBits(int r0, int g0, int b0, int r1, int g1, int b1) {
    return fromWords(topBit(r0), topBit(g0), topBit(b0), topBit(r1), topBit(g1), topBit(b1));
}
// Numbers without bits above the top bit, read as two's complement.
KPX_INLINE Wide signExtend(Wide value, Wide top) {
    return sub32(value ^ top, top);
}

struct EndpointPairs {
    Wide region[2];
};

// All endpoints of a block, sign-extended and with the transform undone.
template <int mode, bool isSigned>
KPX_INLINE EndpointPairs bc6Endpoints(std::uint64_t low, std::uint64_t high) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    constexpr int r = row.deltaBits[0];
    constexpr int g = row.deltaBits[1];
    constexpr int b = row.deltaBits[2];
    constexpr int whole = isSigned ? row.precision : 0;
    Wide first = gatherEndpoints<mode, 0>(low, high);
    Wide second = row.regions == 2 ? gatherEndpoints<mode, 2>(low, high) : zero();
    if constexpr (isSigned || row.transformed) {
        first = signExtend(first, topBits(whole, whole, whole, r, g, b));
        second = signExtend(second, topBits(r, g, b, r, g, b));
    }
    if constexpr (row.transformed) {
        const Wide mask = spread32(static_cast<std::int32_t>((1U << row.precision) - 1));
        second = add32(second, spreadLane<0>(first)) & mask;
        first = add32(first, raiseLane(first)) & mask;
        if constexpr (isSigned) {
            const Wide top = topBits(whole, whole, whole, whole, whole, whole);
            first = signExtend(first, top);
            second = signExtend(second, top);
        }
    }
    return {{first, second}};
}

// Two endpoints' channels widened to 16 bits, or to 15 bits and a sign.
template <int precision, bool isSigned>
KPX_INLINE Wide unquantize(Wide value) {
    if constexpr (precision >= (isSigned ? 16 : 15)) return value;
    if constexpr (!isSigned) {
        const Wide widened = shiftRight32<precision>(add32(shiftLeft32<16>(value), spread32(0x8000)));
        const Wide most = choose(widened, spread32(0xFFFF), equal32(value, spread32((1 << precision) - 1)));
        return choose(most, zero(), equal32(value, zero()));
    }
    constexpr int maximum = (1 << (precision - 1)) - 1;
    const Wide magnitude = abs32(value);
    const Wide widened = shiftRight32<precision - 1>(add32(shiftLeft32<15>(magnitude), spread32(0x4000)));
    const Wide most = choose(widened, spread32(0x7FFF), greater32(magnitude, spread32(maximum - 1)));
    return sign32(most, value);
}

// Interpolated values as the bits of floats: scaled by 31 / 64 or 31 / 32 to half floats and widened. Half floats
// below 0x400 are subnormal: whole multiples of 2^-24.
template <bool isSigned>
KPX_INLINE Wide finishColours(Wide values) {
    const Wide magnitude = isSigned ? abs32(values) : values;
    const Wide by31 = sub32(shiftLeft32<5>(magnitude), magnitude);
    const Wide half = isSigned ? shiftRight32<5>(by31) : shiftRight32<6>(by31);
    const Wide normal = add32(shiftLeft32<13>(half), spread32(112 << 23));
    const Wide bits = choose(normal, scaledFloats(half, 0x1p-24F), greater32(spread32(0x400), half));
    if (!isSigned) return bits;
    const Wide negative = greater32(zero(), values) & greater32(half, zero());
    return bits | (negative & spread32(static_cast<int>(0x80000000U)));
}

// Interpolation weights of two entries of a palette, each in all words of its lane.
struct PairWeights {
    alignas(32) std::int32_t word[8];
};
template <std::size_t entries>
struct PaletteWeights {
    PairWeights pairs[entries / 2];
};
template <std::size_t entries>
constexpr PaletteWeights<entries> paletteWeights(const std::uint16_t (&weights)[entries]) {
    PaletteWeights<entries> all{};
    for (std::size_t i = 0; i < entries; ++i) {
        for (std::size_t k = 0; k < 4; ++k) all.pairs[i / 2].word[i % 2 * 4 + k] = weights[i];
    }
    return all;
}
constexpr auto paletteWeights3 = paletteWeights(kpx::bcWeights3);
constexpr auto paletteWeights4 = paletteWeights(kpx::bcWeights4);

// The colours of one region between the endpoints of two lanes; alpha is 1.0.
template <bool isSigned, std::size_t entries>
KPX_INLINE void makePalette(Wide ends, const PaletteWeights<entries>& weights, float (*palette)[4]) {
    alignas(16) constexpr std::uint32_t alphaMask[4] = {0, 0, 0, 0xFFFFFFFF};
    const Wide e0 = spreadLane<0>(ends);
    const Wide difference = sub32(spreadLane<1>(ends), e0);
    // (64 - w) x e0 + w x e1 + 32 = 64 x e0 + 32 + w x (e1 - e0)
    const Wide base = add32(shiftLeft32<6>(e0), spread32(32));
    for (std::size_t i = 0; i < entries / 2; ++i) {
        const Wide values = shiftRightSigned32<6>(add32(base, mulLow32(difference, load(&weights.pairs[i]))));
        store(palette[2 * i], choose(finishColours<isSigned>(values), spread32(0x3F800000), loadTwice(alphaMask)));
    }
}

template <int mode, bool isSigned>
KPX_INLINE void bc6hTile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    alignas(32) float palette[16][4];
    const std::uint64_t high = load64(block + 8);
    const EndpointPairs ends = bc6Endpoints<mode, isSigned>(load64(block), high);

    constexpr int width = row.regions == 2 ? 3 : 4;
    constexpr std::uint64_t indexMask = (1U << width) - 1;
    std::uint64_t indices = high >> (row.regions == 2 ? 18 : 1);
    indices += indices & ~(indexMask >> 1);
    const std::uint8_t* regions = nullptr;
    if constexpr (row.regions == 2) {
        const std::size_t partition = high >> 13 & 31;
        indices += indices & kpx::twoSubsets3.rows[partition][0];
        regions = kpx::bcPartitions[0][partition];
        makePalette<isSigned>(unquantize<row.precision, isSigned>(ends.region[0]), paletteWeights3, palette);
        makePalette<isSigned>(unquantize<row.precision, isSigned>(ends.region[1]), paletteWeights3, palette + 8);
    } else {
        makePalette<isSigned>(unquantize<row.precision, isSigned>(ends.region[0]), paletteWeights4, palette);
    }
    for (std::size_t t = 0; t < 16; ++t) {
        std::size_t entry = indices >> (width * t) & indexMask;
        if constexpr (row.regions == 2) entry += 8 * std::size_t{regions[t]};
        std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, palette[entry], pixelBytes);
    }
}

KPX_INLINE void bc6hReservedTile(const unsigned char*, unsigned char* out, std::size_t rowBytes) {
    const float black[4] = {0.0F, 0.0F, 0.0F, 1.0F};
    for (std::size_t t = 0; t < 16; ++t) std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, black, pixelBytes);
}

template <bool isSigned, std::size_t... modes>
constexpr auto makeBc6hRuns(std::index_sequence<modes...>) {
    struct {
        ModeRun runs[sizeof...(modes) + 1];
    } table{{runOf<bc6hTile<static_cast<int>(modes), isSigned>, floatTileBytes>...,
             runOf<bc6hReservedTile, floatTileBytes>}};
    return table;
}
template <bool isSigned>
constexpr auto bc6hRuns = makeBc6hRuns<isSigned>(std::make_index_sequence<14>());

// Rows of bc6Modes by the low five bits of a block, of which the first two modes take two; 14 for reserved blocks.
struct Bc6ModeRows {
    std::uint8_t row[32];
};
constexpr Bc6ModeRows bc6ModeRows = [] {
    Bc6ModeRows rows{};
    for (unsigned value = 0; value < 32; ++value) {
        const unsigned low = value & 3;
        const unsigned high = value >> 2;
        rows.row[value] = static_cast<std::uint8_t>(low < 2 ? low : low == 2 ? 2 + high : high < 4 ? 10 + high : 14);
    }
    return rows;
}();

template <bool isSigned>
KPX_TARGET void bc6hStrip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    decodeByModes<15, floatTileBytes>(blocks, count, out, rowBytes, bc6hRuns<isSigned>.runs,
                                      [](unsigned char first) { return bc6ModeRows.row[first & 31]; });
}

}  // namespace
