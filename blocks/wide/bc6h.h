// Decodes BC6H. All endpoint fields of a block are gathered in words, each channel gets a palette of sixteen half
// floats, and texels are picked from it byte by byte. One template is instantiated for each row of the mode table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "blocks/bcIndices.h"
#include "blocks/bcTables.h"
#include "blocks/wide/bc6hTables.h"
#include "blocks/wide/lanes.h"
#include "blocks/wide/modes.h"

namespace {

constexpr std::size_t pixelBytes = 16;
constexpr std::size_t floatTileBytes = 4 * pixelBytes;

// Sign-extends numbers that have no bits above the top bit. A top of 0 changes nothing.
KPX_INLINE Wide signExtend(Wide value, Wide top) {
    return sub16(value ^ top, top);
}

// Returns the endpoints as stored. Lane n has the two endpoints of region n, each as R, G, B and an unused word.
template <int mode>
KPX_INLINE Wide gatherEndpoints(const unsigned char* block) {
    constexpr const kpx::Bc6FieldLayout& layout = kpx::bc6Wide<mode>;
    const Wide lanes = loadTwice(block);
    Wide ends = zero();
    for (int i = 0; i < layout.passes; ++i) {
        const kpx::Bc6Pass& pass = layout.pass[i];
        const Wide lowered = mulHigh16(shuffle8(lanes, load(&pass.bytes)), load(&pass.lower));
        ends = ends | mulLow16(lowered & load(&pass.stored), load(&pass.place));
    }
    return ends;
}

// Returns the endpoints, sign-extended and with the transform reversed.
template <int mode, bool isSigned>
KPX_INLINE Wide bc6Endpoints(const unsigned char* block) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    constexpr const kpx::Bc6FieldLayout& layout = kpx::bc6Wide<mode>;
    const Wide top = spread16(1 << (row.precision - 1));
    Wide ends = gatherEndpoints<mode>(block);
    if constexpr (isSigned || row.transformed) ends = signExtend(ends, load(&layout.deltaTop));
    if constexpr (row.transformed) {
        const Wide base = spreadHalf<0>(ends) & load(&layout.isDelta);
        ends = add16(ends, base) & spread16((1 << row.precision) - 1);
    }
    if constexpr (isSigned) ends = signExtend(ends, row.transformed ? top : top & load(&layout.isBase));
    return ends;
}

// Widens endpoint channels to 16 bits by the published ((value << 16) + 0x8000) >> precision.
template <int precision, bool isSigned>
KPX_INLINE Wide unquantize(Wide value) {
    if constexpr (precision >= (isSigned ? 16 : 15)) {
        return value;
    } else if constexpr (isSigned) {
        constexpr int maximum = (1 << (precision - 1)) - 1;
        const Wide magnitude = abs16(value);
        const Wide widened = add16(shiftLeft16<16 - precision>(magnitude), spread16(1 << (15 - precision)));
        const Wide most = choose(widened, spread16(0x7FFF), greater16(magnitude, spread16(maximum - 1)));
        return sign16(most, value);
    } else {
        const Wide widened = add16(shiftLeft16<16 - precision>(value), spread16(1 << (15 - precision)));
        const Wide most = widened | equal16(value, spread16((1 << precision) - 1));
        return most & greater16(value, zero());
    }
}

// Interpolation weights 64 - w and w, first for entries 0 to 3 and 8 to 11 of a palette, then for 4 to 7 and 12 to 15,
// so that packing puts all in order. Palettes of eight entries are repeated, for the second region.
struct PaletteWeights {
    kpx::WideWords pairs[2];
};
template <std::size_t entries>
constexpr PaletteWeights paletteWeights(const std::uint16_t (&weights)[entries]) {
    PaletteWeights all{};
    for (std::size_t i = 0; i < 16; ++i) {
        const std::size_t word = i / 8 * 8 + i % 4 * 2;
        const std::uint16_t w = weights[i % entries];
        all.pairs[i / 4 % 2].word[word] = static_cast<std::uint16_t>(64 - w);
        all.pairs[i / 4 % 2].word[word + 1] = w;
    }
    return all;
}
constexpr PaletteWeights paletteWeights3 = paletteWeights(kpx::bcWeights3);
constexpr PaletteWeights paletteWeights4 = paletteWeights(kpx::bcWeights4);

// Returns the sixteen values of a channel as half floats. Unsigned values are scaled by 31 / 64, signed ones by 31
// / 32. The high word of a product is taken, which truncates as the format requires.
template <bool isSigned>
KPX_INLINE Wide makePalette(Wide pairs, const PaletteWeights& weights) {
    if constexpr (isSigned) {
        const Wide first = add32(mulAddSigned16(pairs, load(&weights.pairs[0])), spread32(32));
        const Wide second = add32(mulAddSigned16(pairs, load(&weights.pairs[1])), spread32(32));
        const Wide values = packSignedWords(shiftRightSigned32<6>(first), shiftRightSigned32<6>(second));
        const Wide halfs = mulHigh16(abs16(values), spread16(31 << 11));
        return halfs | (sign16(halfs, values) & spread16(0x8000));
    } else {
        // The multiplication is signed, so bc6hTile subtracted 0x8000 from the endpoints; base adds 64 x 0x8000 again.
        const Wide base = spread32((64 << 15) + 32);
        const Wide first = add32(mulAddSigned16(pairs, load(&weights.pairs[0])), base);
        const Wide second = add32(mulAddSigned16(pairs, load(&weights.pairs[1])), base);
        return mulHigh16(packWords(shiftRight32<6>(first), shiftRight32<6>(second)), spread16(31 << 10));
    }
}

// Returns one channel of all texels: rows 0 and 1 in lane 0, rows 2 and 3 in lane 1.
template <bool isSigned, int channel>
KPX_INLINE Wide pickChannel(Wide ends, const PaletteWeights& weights, Wide indices) {
    constexpr std::uint8_t c = 2 * channel;
    constexpr LaneBytes pair{{c, c + 1, c + 8, c + 9, c, c + 1, c + 8, c + 9,  //
                              c, c + 1, c + 8, c + 9, c, c + 1, c + 8, c + 9}};
    constexpr LaneBytes apart{{0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15}};
    constexpr LaneBytes together{{0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15}};
    const Wide palette = makePalette<isSigned>(shuffle8(ends, loadTwice(&pair)), weights);
    // Lane 0 gets the low bytes of all entries, lane 1 the high bytes, so that one index vector picks both.
    const Wide bytes = crossHalves(shuffle8(palette, loadTwice(&apart)));
    return shuffle8(crossHalves(shuffle8(bytes, indices)), loadTwice(&together));
}

// Returns the palette index of each texel, in both lanes.
template <int regions>
KPX_INLINE Wide bc6Indices(std::uint64_t high) {
    if constexpr (regions == 1) {
        const Wide nibbles = spread64(kpx::wholeIndices<1, 4>(high >> 1, 0));
        return unpackLow8(nibbles & spread8(15), shiftRight16<4>(nibbles) & spread8(15));
    } else {
        const std::size_t partition = high >> 13 & 31;
        const std::uint64_t bits = kpx::wholeIndices<2, 3>(high >> 18, partition);
        const Wide words = shiftRight16<13>(gather(spread64(bits), kpx::bc6Indices3));
        const Wide eights = shiftLeft16<3>(loadTwice(kpx::bcPartitions[0][partition]));
        return crossHalves(packBytes(words, words)) | eights;
    }
}

template <int mode, bool isSigned>
KPX_INLINE void bc6hTile(const unsigned char* block, unsigned char* out, std::size_t rowBytes) {
    constexpr const kpx::Bc6Mode& row = kpx::bc6Modes[mode];
    Wide ends = unquantize<row.precision, isSigned>(bc6Endpoints<mode, isSigned>(block));
    if constexpr (!isSigned) ends = ends ^ spread16(0x8000);
    constexpr const PaletteWeights& weights = row.regions == 2 ? paletteWeights3 : paletteWeights4;
    const Wide indices = bc6Indices<row.regions>(load64(block + 8));
    const Wide r = pickChannel<isSigned, 0>(ends, weights, indices);
    const Wide g = pickChannel<isSigned, 1>(ends, weights, indices);
    const Wide b = pickChannel<isSigned, 2>(ends, weights, indices);

    // Only a signed endpoint of 16 bits can become 0xFC00, which is -65536.0 here and minus infinity in IEEE 754.
    constexpr bool finite = !(isSigned && row.precision == 16);
    const Wide one = spread16(0x3C00);
    for (std::size_t i = 0; i < 2; ++i) {
        const Wide rg = i == 0 ? unpackLow16(r, g) : unpackHigh16(r, g);
        const Wide ba = i == 0 ? unpackLow16(b, one) : unpackHigh16(b, one);
        unsigned char* const upper = out + i * rowBytes;
        unsigned char* const lower = upper + 2 * rowBytes;
        storeAsFloats<finite>(upper, lower, unpackLow32(rg, ba));
        storeAsFloats<finite>(upper + 2 * pixelBytes, lower + 2 * pixelBytes, unpackHigh32(rg, ba));
    }
}

KPX_INLINE void bc6hReservedTile(const unsigned char*, unsigned char* out, std::size_t rowBytes) {
    const float black[4] = {0.0F, 0.0F, 0.0F, 1.0F};
    for (std::size_t t = 0; t < 16; ++t) std::memcpy(out + t / 4 * rowBytes + t % 4 * pixelBytes, black, pixelBytes);
}

template <bool isSigned, std::size_t... modes>
constexpr auto makeBc6hDecoders(std::index_sequence<modes...>) {
    struct {
        ModeDecoder runs[sizeof...(modes) + 1];
    } table{{runOf<bc6hTile<static_cast<int>(modes), isSigned>, floatTileBytes>...,
             runOf<bc6hReservedTile, floatTileBytes>}};
    return table;
}
template <bool isSigned>
constexpr auto bc6hDecoders = makeBc6hDecoders<isSigned>(std::make_index_sequence<14>());

// The row of bc6Modes for the low five bits of a block. The first two modes use only the low two bits. Reserved blocks
// have 14.
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
    decodeByModes<15, floatTileBytes>(blocks, count, out, rowBytes, bc6hDecoders<isSigned>.runs,
                                      [](unsigned char first) { return bc6ModeRows.row[first & 31]; });
}

}  // namespace
