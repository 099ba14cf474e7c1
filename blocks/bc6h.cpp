// BC6H blocks, by the published format of Direct3D 11.
#include "blocks/bc6h.h"

#include <algorithm>
#include <cstdlib>

#include "blocks/bcIndices.h"
#include "blocks/bcTables.h"
#include "blocks/half.h"
#include "blocks/littleEndian.h"

namespace kpx {
namespace {

struct BlockBits {
    std::uint64_t lo, hi;

    // Returns bits first to first + count - 1; count is 1 to 10.
    int field(unsigned first, unsigned count) const {
        const std::uint64_t from = first >= 64  ? hi >> (first - 64)
                                   : first == 0 ? lo
                                                : lo >> first | hi << (64 - first);
        return static_cast<int>(from & ((1U << count) - 1));
    }
};

// Returns the mode of a block, which two bits name for modes 1 and 2 and five bits for all others; null if reserved.
const Bc6Mode* modeOf(const BlockBits& bits) {
    const int low = bits.field(0, 2);
    const int high = bits.field(2, 3);
    if (low < 2) return &bc6Modes[low];
    if (low == 2) return &bc6Modes[2 + high];
    return high < 4 ? &bc6Modes[10 + high] : nullptr;
}

}  // namespace

void bc6SignExtend(int* rgb, int bits) {
    for (int channel = 0; channel < 3; ++channel) rgb[channel] = signExtend(rgb[channel], bits);
}

void bc6SignExtend(int* rgb, const int* bits) {
    for (int channel = 0; channel < 3; ++channel) rgb[channel] = signExtend(rgb[channel], bits[channel]);
}

void bc6FinishEndpoints(Bc6Block& fields, bool isSigned) {
    const Bc6Mode& mode = *fields.mode;
    const int deltaBits[3] = {mode.deltaBits[0], mode.deltaBits[1], mode.deltaBits[2]};
    const int last = 2 * mode.regions;
    if (isSigned) bc6SignExtend(fields.endpoints[0], mode.precision);
    if (isSigned || mode.transformed) {
        for (int e = 1; e < last; ++e) bc6SignExtend(fields.endpoints[e], deltaBits);
    }
    if (!mode.transformed) return;
    for (int e = 1; e < last; ++e) {
        for (int channel = 0; channel < 3; ++channel) {
            int& value = fields.endpoints[e][channel];
            value = (value + fields.endpoints[0][channel]) & ((1 << mode.precision) - 1);
        }
        if (isSigned) bc6SignExtend(fields.endpoints[e], mode.precision);
    }
}

int bc6Unquantize(int value, int bits, bool isSigned) {
    if (!isSigned) {
        if (bits >= 15 || value == 0) return value;
        if (value == (1 << bits) - 1) return 0xFFFF;
        return ((value << 16) + 0x8000) >> bits;
    }
    if (bits >= 16 || value == 0) return value;
    const int magnitude = std::abs(value);
    const int widened = magnitude >= (1 << (bits - 1)) - 1 ? 0x7FFF : ((magnitude << 15) + 0x4000) >> (bits - 1);
    return value < 0 ? -widened : widened;
}

int bc6Interpolate(int a, int b, int index, int indexBits) {
    const int w = indexBits == 3 ? bcWeights3[index] : bcWeights4[index];
    return (64 * a + w * (b - a) + 32) >> 6;  // ((64 - w) x a + w x b + 32) >> 6 with one product
}

int bc6FinishUnquantize(int value, bool isSigned) {
    if (!isSigned) return value * 31 >> 6;
    const int magnitude = std::abs(value) * 31 >> 5;
    return value < 0 && magnitude != 0 ? magnitude | 0x8000 : magnitude;
}

namespace {

struct Pixel {
    float rgba[4];
};

// The colours of one region, one per index. The fourth channel is unused; it lets compilers vectorise.
template <int indexBits, bool isSigned>
void makePalette(const Bc6Block& fields, int region, Pixel* palette) {
    int a[4] = {};
    int b[4] = {};
    for (int channel = 0; channel < 3; ++channel) {
        a[channel] = bc6Unquantize(fields.endpoints[2 * region][channel], fields.mode->precision, isSigned);
        b[channel] = bc6Unquantize(fields.endpoints[2 * region + 1][channel], fields.mode->precision, isSigned);
    }
    for (int index = 0; index < 1 << indexBits; ++index) {
        for (int channel = 0; channel < 4; ++channel) {
            const int half = bc6FinishUnquantize(bc6Interpolate(a[channel], b[channel], index, indexBits), isSigned);
            palette[index].rgba[channel] = halfToFloat(static_cast<std::uint16_t>(half));
        }
        palette[index].rgba[3] = 1.0F;
    }
}

template <int regions, int indexBits, bool isSigned>
void decodeTexels(const Bc6Block& fields, float* out, std::size_t stride) {
    Pixel palettes[regions][1 << indexBits];
    for (int region = 0; region < regions; ++region) {
        makePalette<indexBits, isSigned>(fields, region, palettes[region]);
    }
    for (unsigned t = 0; t < 16; ++t) {
        const std::size_t region = regions == 1 ? 0 : bcPartitions[0][fields.partition][t];
        const Pixel& pixel = palettes[region][fields.indices >> (indexBits * t) & ((1U << indexBits) - 1)];
        std::copy_n(pixel.rgba, 4, out + t / 4 * stride + t % 4 * 4);
    }
}

template <bool isSigned>
void decodeBlock(Bc6Block& fields, float* out, std::size_t stride) {
    bc6FinishEndpoints(fields, isSigned);
    if (fields.mode->regions == 2) {
        decodeTexels<2, 3, isSigned>(fields, out, stride);
    } else {
        decodeTexels<1, 4, isSigned>(fields, out, stride);
    }
}

}  // namespace

Bc6Block parseBC6HBlock(const unsigned char* block) {
    const BlockBits bits{load64(block), load64(block + 8)};
    Bc6Block fields{};
    fields.mode = modeOf(bits);
    if (fields.mode == nullptr) return fields;

    for (const Bc6Run* run = fields.mode->runs; run->count != 0; ++run) {
        fields.endpoints[run->field / 3][run->field % 3] |= bits.field(run->firstBit, run->count) << run->shift;
    }
    const bool twoRegions = fields.mode->regions == 2;
    fields.partition = twoRegions ? bits.field(77, 5) : 0;

    fields.indices = twoRegions ? wholeIndices<2, 3>(bits.hi >> 18, static_cast<std::size_t>(fields.partition))
                                : wholeIndices<1, 4>(bits.hi >> 1, 0);
    return fields;
}

void decompressBC6HBlock(const unsigned char* block, float* out, std::size_t stride, bool isSigned) {
    Bc6Block fields = parseBC6HBlock(block);
    if (fields.mode == nullptr) {
        constexpr float black[4] = {0.0F, 0.0F, 0.0F, 1.0F};
        for (std::size_t t = 0; t < 16; ++t) std::copy_n(black, 4, out + t / 4 * stride + t % 4 * 4);
    } else if (isSigned) {
        decodeBlock<true>(fields, out, stride);
    } else {
        decodeBlock<false>(fields, out, stride);
    }
}

}  // namespace kpx
