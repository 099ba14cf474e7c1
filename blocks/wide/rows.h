// Splits rows of pixels into channels, by units and by masks, and joins channels into pixels.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "blocks/kernels.h"
#include "blocks/rowLoops.h"
#include "blocks/wide/lanes.h"

namespace {

// The plain kernels convert the rest of a row after its last whole vector.

// Returns the rest of a row, from pixel x on.
inline kpx::PixelRow restOf(const kpx::PixelRow& row, std::size_t x, std::size_t bytesPerPixel) {
    return {row.pixels + x * bytesPerPixel, row.count - x, row.next};
}

// Prefetches as many bytes of the next row as are read from this row.
template <std::size_t bytes>
KPX_INLINE void fetchNext(const kpx::PixelRow& row, std::size_t at) {
    for (std::size_t line = 0; line < bytes; line += 64) fetch(row.next + at + line);
}

template <typename Unit>
KPX_TARGET void split2(const kpx::PixelRow& row, Unit* const* rows) {
    kpx::splitUnits2(reinterpret_cast<const Unit*>(row.pixels), row.count, rows[0], rows[1]);
}
KPX_TARGET void splitFloats3(const kpx::PixelRow& row, float* const* rows) {
    kpx::splitUnits3(reinterpret_cast<const float*>(row.pixels), row.count, rows[0], rows[1], rows[2]);
}

constexpr std::size_t laneBytes = 16;

// Loads vectors of 16 bytes per lane: lane 0 starts at pixels, lane 1 `apart` bytes later.
template <int vectors>
KPX_INLINE void loadApart(const void* pixels, std::size_t apart, Wide (&to)[vectors]) {
    const auto* from = static_cast<const unsigned char*>(pixels);
    for (std::size_t i = 0; i < vectors; ++i) to[i] = loadLanes(from + i * laneBytes, from + apart + i * laneBytes);
}

// Transposes the 4 by 4 words of each lane.
KPX_INLINE void transpose(Wide (&w)[4]) {
    const Wide low01 = unpackLow32(w[0], w[1]);
    const Wide low23 = unpackLow32(w[2], w[3]);
    const Wide high01 = unpackHigh32(w[0], w[1]);
    const Wide high23 = unpackHigh32(w[2], w[3]);
    w[0] = unpackLow64(low01, low23);
    w[1] = unpackHigh64(low01, low23);
    w[2] = unpackLow64(high01, high23);
    w[3] = unpackHigh64(high01, high23);
}

template <int channels>
KPX_INLINE void splitFourBytes(const kpx::PixelRow& row, unsigned char* const* rows) {
    constexpr LaneBytes byChannel{{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
    std::size_t x = 0;
    for (; x + 32 <= row.count; x += 32) {
        fetchNext<128>(row, 4 * x);
        Wide w[4];
        loadApart(row.pixels + 4 * x, 64, w);
        for (Wide& four : w) four = shuffle8(four, loadTwice(&byChannel));
        transpose(w);
        for (int c = 0; c < channels; ++c) store(rows[c] + x, w[c]);
    }
    unsigned char* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, channels == 4 ? rows[3] + x : nullptr};
    kpx::plainKernels.splitBytes4(restOf(row, x, 4), rest);
}
KPX_TARGET void splitBytes4(const kpx::PixelRow& row, unsigned char* const* rows) {
    if (rows[3] != nullptr) {
        splitFourBytes<4>(row, rows);
    } else {
        splitFourBytes<3>(row, rows);
    }
}

// Returns the shuffle mask that moves the bytes of a channel from a vector to their pixels, of three bytes each.
constexpr LaneBytes threeByteOrder(int vector, int channel) {
    LaneBytes order{};
    for (int i = 0; i < 16; ++i) {
        const int from = 3 * i + channel - 16 * vector;
        order.byte[i] = from >= 0 && from < 16 ? static_cast<std::uint8_t>(from) : zeroByte;
    }
    return order;
}
constexpr LaneBytes threeByteOrders[3][3] = {
    {threeByteOrder(0, 0), threeByteOrder(0, 1), threeByteOrder(0, 2)},
    {threeByteOrder(1, 0), threeByteOrder(1, 1), threeByteOrder(1, 2)},
    {threeByteOrder(2, 0), threeByteOrder(2, 1), threeByteOrder(2, 2)},
};
KPX_TARGET void splitBytes3(const kpx::PixelRow& row, unsigned char* const* rows) {
    std::size_t x = 0;
    for (; x + 32 <= row.count; x += 32) {
        fetchNext<96>(row, 3 * x);
        Wide w[3];
        loadApart(row.pixels + 3 * x, 48, w);
        for (int c = 0; c < 3; ++c) {
            store(rows[c] + x, shuffle8(w[0], loadTwice(&threeByteOrders[0][c])) |
                                   shuffle8(w[1], loadTwice(&threeByteOrders[1][c])) |
                                   shuffle8(w[2], loadTwice(&threeByteOrders[2][c])));
        }
    }
    unsigned char* const rest[3] = {rows[0] + x, rows[1] + x, rows[2] + x};
    kpx::plainKernels.splitBytes3(restOf(row, x, 3), rest);
}

KPX_TARGET void splitFloats4(const kpx::PixelRow& row, float* const* rows) {
    std::size_t x = 0;
    for (; x + 8 <= row.count; x += 8) {
        fetchNext<128>(row, 16 * x);
        Wide w[4];
        loadApart(row.pixels + 16 * x, 64, w);
        transpose(w);
        for (int c = 0; c < 4; ++c) store(rows[c] + x, w[c]);
    }
    float* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x};
    kpx::plainKernels.splitFloats4(restOf(row, x, 16), rest);
}

// Loads 32 pixels of 1 or 2 bytes as 16-bit words. Vector v has pixels 8v to 8v + 7 in lane 0, and 16 + 8v to 23 + 8v
// in lane 1.
template <std::size_t bytesPerPixel>
KPX_INLINE void loadShortPixels(const unsigned char* pixels, Wide (&words)[2]) {
    if constexpr (bytesPerPixel == 1) {
        const Wide bytes = load(pixels);
        words[0] = unpackLow8(bytes, zero());
        words[1] = unpackHigh8(bytes, zero());
    } else {
        loadApart(pixels, 32, words);
    }
}

// Loads 32 pixels of 1 to 4 bytes as 32-bit words. Vector v has pixels 4v to 4v + 3 in lane 0, and those 16 further on
// in lane 1. With three bytes per pixel it reads four bytes past the last pixel.
template <std::size_t bytesPerPixel>
KPX_INLINE void loadPixels(const unsigned char* pixels, Wide (&words)[4]) {
    if constexpr (bytesPerPixel == 4) {
        loadApart(pixels, 64, words);
    } else if constexpr (bytesPerPixel == 3) {
        constexpr LaneBytes toWords{{0, 1, 2, zeroByte, 3, 4, 5, zeroByte, 6, 7, 8, zeroByte, 9, 10, 11, zeroByte}};
        for (std::size_t i = 0; i < 4; ++i) {
            words[i] = shuffle8(loadLanes(pixels + 12 * i, pixels + 48 + 12 * i), loadTwice(&toWords));
        }
    } else {
        Wide halves[2];
        loadShortPixels<bytesPerPixel>(pixels, halves);
        for (int i = 0; i < 2; ++i) {
            words[2 * i] = unpackLow16(halves[i], zero());
            words[2 * i + 1] = unpackHigh16(halves[i], zero());
        }
    }
}
template <std::size_t bytesPerPixel>
constexpr std::size_t pixelsRead = bytesPerPixel == 3 ? 34 : 32;

// kpx::MaskField as vectors. A local copy, because a row may alias the field: the compiler would reload its members
// after every store.
struct WideField {
    int lift;
    bool fitsWord;
    Wide field, multiplier, addend;
    Wide halfLift, halfField, wordMultiplier, wordScale;
};
KPX_INLINE WideField wideField(const kpx::MaskField& field) {
    return {field.lift,
            field.fitsWord,
            spread32(static_cast<int>(field.field)),
            spread32(static_cast<int>(field.multiplier)),
            spread64(field.addend),
            spread16(1 << (field.lift & 15)),
            spread16(static_cast<int>(field.field >> 16)),
            spread16(field.wordMultiplier),
            spread16(field.wordScale)};
}

// Computes the formulas of kpx::MaskField.
KPX_INLINE Wide scaleField(Wide pixel, const WideField& field) {
    const Wide w = shiftLeft32(pixel, field.lift) & field.field;
    return shiftRight32<23>(mulAddHigh32(w, field.multiplier, field.addend));
}
KPX_INLINE Wide scaleWordField(Wide lifted, const WideField& field) {
    return mulHigh16(mulHigh16(lifted & field.halfField, field.wordMultiplier), field.wordScale);
}
KPX_INLINE Wide scaleWordField(Wide pixel0, Wide pixel1, const WideField& field) {
    const Wide lifted =
        packWords(shiftRight32<16>(shiftLeft32(pixel0, field.lift)), shiftRight32<16>(shiftLeft32(pixel1, field.lift)));
    return scaleWordField(lifted, field);
}

// Extracts the rest of a row after its last whole vector.
inline void extractRest(const kpx::PixelRow& row, std::size_t x, std::size_t bytesPerPixel,
                        const kpx::MaskField* fields, std::size_t fieldCount, unsigned char* const* rows) {
    unsigned char* rest[4] = {};
    for (std::size_t f = 0; f < fieldCount; ++f) rest[f] = rows[f] + x;
    kpx::plainKernels.extractMasks(restOf(row, x, bytesPerPixel), bytesPerPixel, fields, fieldCount, rest);
}

template <std::size_t bytesPerPixel>
KPX_TARGET void extractFields(const kpx::PixelRow& row, const kpx::MaskField* fields, std::size_t fieldCount,
                              unsigned char* const* rows) {
    WideField wide[4];
    for (std::size_t f = 0; f < fieldCount; ++f) wide[f] = wideField(fields[f]);
    std::size_t x = 0;
    for (; x + pixelsRead<bytesPerPixel> <= row.count; x += 32) {
        fetchNext<32 * bytesPerPixel>(row, bytesPerPixel * x);
        Wide words[4];
        loadPixels<bytesPerPixel>(row.pixels + bytesPerPixel * x, words);
        for (std::size_t f = 0; f < fieldCount; ++f) {
            const WideField& field = wide[f];
            if (field.fitsWord) {
                const Wide low = scaleWordField(words[0], words[1], field);
                store(rows[f] + x, packBytes(low, scaleWordField(words[2], words[3], field)));
            } else {
                const Wide low = packWords(scaleField(words[0], field), scaleField(words[1], field));
                const Wide high = packWords(scaleField(words[2], field), scaleField(words[3], field));
                store(rows[f] + x, packBytes(low, high));
            }
        }
    }
    extractRest(row, x, bytesPerPixel, fields, fieldCount, rows);
}

template <std::size_t bytesPerPixel>
KPX_TARGET void extractWordFields(const kpx::PixelRow& row, const kpx::MaskField* fields, std::size_t fieldCount,
                                  unsigned char* const* rows) {
    WideField wide[4];
    for (std::size_t f = 0; f < fieldCount; ++f) wide[f] = wideField(fields[f]);
    std::size_t x = 0;
    for (; x + 32 <= row.count; x += 32) {
        fetchNext<32 * bytesPerPixel>(row, bytesPerPixel * x);
        Wide words[2];
        loadShortPixels<bytesPerPixel>(row.pixels + bytesPerPixel * x, words);
        for (std::size_t f = 0; f < fieldCount; ++f) {
            const WideField& field = wide[f];
            store(rows[f] + x, packBytes(scaleWordField(mulLow16(words[0], field.halfLift), field),
                                         scaleWordField(mulLow16(words[1], field.halfLift), field)));
        }
    }
    extractRest(row, x, bytesPerPixel, fields, fieldCount, rows);
}

// Extracts the fields of pixels wider than four bytes. Only the first four count, and are gathered first.
KPX_TARGET void extractFieldsOfWidePixels(const kpx::PixelRow& row, std::size_t bytesPerPixel,
                                          const kpx::MaskField* fields, std::size_t fieldCount,
                                          unsigned char* const* rows) {
    constexpr std::size_t some = 256;
    unsigned char words[4 * some];
    for (std::size_t x = 0; x < row.count; x += some) {
        const std::size_t count = std::min(some, row.count - x);
        for (std::size_t i = 0; i < count; ++i) std::memcpy(words + 4 * i, row.pixels + (x + i) * bytesPerPixel, 4);
        unsigned char* part[4] = {};
        for (std::size_t f = 0; f < fieldCount; ++f) part[f] = rows[f] + x;
        extractFields<4>({words, count, words}, fields, fieldCount, part);
    }
}

using FieldExtraction = void (*)(const kpx::PixelRow& row, const kpx::MaskField* fields, std::size_t fieldCount,
                                 unsigned char* const* rows);
constexpr FieldExtraction byPixelBytes[5] = {nullptr, extractFields<1>, extractFields<2>, extractFields<3>,
                                             extractFields<4>};

void extractMasks(const kpx::PixelRow& row, std::size_t bytesPerPixel, const kpx::MaskField* fields,
                  std::size_t fieldCount, unsigned char* const* rows) {
    const bool areWords = std::all_of(fields, fields + fieldCount, [](const kpx::MaskField& field) {
        return field.mask <= 0xFFFF && field.fitsWord;
    });
    if (bytesPerPixel > 4) {
        extractFieldsOfWidePixels(row, bytesPerPixel, fields, fieldCount, rows);
    } else if (areWords && bytesPerPixel <= 2) {
        (bytesPerPixel == 1 ? extractWordFields<1> : extractWordFields<2>)(row, fields, fieldCount, rows);
    } else {
        byPixelBytes[bytesPerPixel](row, fields, fieldCount, rows);
    }
}

// Returns the shuffle mask that moves the bytes of a row to their places in a vector of pixels of three bytes.
constexpr LaneBytes joinedOrder(int vector, int unit) {
    LaneBytes order{};
    for (int i = 0; i < 16; ++i) {
        const int at = 16 * vector + i;
        order.byte[i] = at % 3 == unit ? static_cast<std::uint8_t>(at / 3) : zeroByte;
    }
    return order;
}
constexpr LaneBytes joinedOrders[3][3] = {
    {joinedOrder(0, 0), joinedOrder(0, 1), joinedOrder(0, 2)},
    {joinedOrder(1, 0), joinedOrder(1, 1), joinedOrder(1, 2)},
    {joinedOrder(2, 0), joinedOrder(2, 1), joinedOrder(2, 2)},
};
KPX_TARGET void joinBytes3(const unsigned char* const* rows, std::size_t count, unsigned char* pixels) {
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        const Wide units[3] = {load(rows[0] + x), load(rows[1] + x), load(rows[2] + x)};
        unsigned char* const to = pixels + 3 * x;
        for (std::size_t v = 0; v < 3; ++v) {
            storeLanes(to + laneBytes * v, to + 48 + laneBytes * v,
                       shuffle8(units[0], loadTwice(&joinedOrders[v][0])) |
                           shuffle8(units[1], loadTwice(&joinedOrders[v][1])) |
                           shuffle8(units[2], loadTwice(&joinedOrders[v][2])));
        }
    }
    const unsigned char* const rest[3] = {rows[0] + x, rows[1] + x, rows[2] + x};
    kpx::plainKernels.joinBytes3(rest, count - x, pixels + 3 * x);
}

// Stores four planes of sixteen bytes per lane as sixteen pixels per lane.
KPX_INLINE void storePixels(unsigned char* to0, unsigned char* to1, Wide a, Wide b, Wide c, Wide d) {
    const Wide ab0 = unpackLow8(a, b);
    const Wide ab1 = unpackHigh8(a, b);
    const Wide cd0 = unpackLow8(c, d);
    const Wide cd1 = unpackHigh8(c, d);
    storeLanes(to0, to1, unpackLow16(ab0, cd0));
    storeLanes(to0 + 16, to1 + 16, unpackHigh16(ab0, cd0));
    storeLanes(to0 + 32, to1 + 32, unpackLow16(ab1, cd1));
    storeLanes(to0 + 48, to1 + 48, unpackHigh16(ab1, cd1));
}
KPX_TARGET void joinBytes4(const unsigned char* const* rows, std::size_t count, unsigned char* pixels) {
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        storePixels(pixels + 4 * x, pixels + 4 * x + 64, load(rows[0] + x), load(rows[1] + x), load(rows[2] + x),
                    load(rows[3] + x));
    }
    const unsigned char* const rest[4] = {rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x};
    kpx::plainKernels.joinBytes4(rest, count - x, pixels + 4 * x);
}

}  // namespace
