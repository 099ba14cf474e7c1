// The plain kernels, which define the results of every set. They are written to be read.
#include <cstring>
#include <type_traits>

#include "blocks/bc1.h"
#include "blocks/bc2.h"
#include "blocks/bc3.h"
#include "blocks/bc4.h"
#include "blocks/bc5.h"
#include "blocks/bc6h.h"
#include "blocks/bc7.h"
#include "blocks/half.h"
#include "blocks/kernels.h"
#include "blocks/littleEndian.h"

namespace kpx {
namespace {

// Makes a strip kernel of a routine for one block of blockBytes bytes. A texel is one colour or four floats.
template <typename Unit, std::size_t blockBytes, auto decodeBlock>
void strip(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes) {
    constexpr std::size_t unitsPerTexel = std::is_same_v<Unit, float> ? 4 : 1;
    auto* const units = reinterpret_cast<Unit*>(out);
    for (std::size_t i = 0; i < count; ++i) {
        decodeBlock(blocks + i * blockBytes, units + i * 4 * unitsPerTexel, rowBytes / sizeof(Unit));
    }
}

template <bool isSigned>
void bc4(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    decompressBC4Block(block, out, stride, isSigned);
}
template <bool isSigned>
void bc5(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    decompressBC5Block(block, out, stride, isSigned);
}
template <bool isSigned>
void bc6h(const unsigned char* block, float* out, std::size_t stride) {
    decompressBC6HBlock(block, out, stride, isSigned);
}
void bc1(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    decompressColourBlock(block, out, stride, 1);
}
template <short premultiplied>
void bc2(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    decompressNonInterpAlphaBlock(block, out, stride, premultiplied);
}
template <short premultiplied>
void bc3(const unsigned char* block, A8R8G8B8Colour* out, std::size_t stride) {
    decompressInterpAlphaBlock(block, out, stride, premultiplied);
}

template <typename Unit, int units>
void split(const PixelRow& row, Unit* const* rows) {
    const auto* pixels = reinterpret_cast<const Unit*>(row.pixels);
    for (int unit = 0; unit < units; ++unit) {
        Unit* out = rows[unit];
        if (out == nullptr) continue;
        for (std::size_t x = 0; x < row.count; ++x) out[x] = pixels[x * units + static_cast<std::size_t>(unit)];
    }
}

void extractMasks(const PixelRow& row, std::size_t bytesPerPixel, const MaskField* fields, std::size_t fieldCount,
                  unsigned char* const* rows) {
    const std::size_t valueBytes = bytesPerPixel < 4 ? bytesPerPixel : 4;
    for (std::size_t x = 0; x < row.count; ++x) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, row.pixels + x * bytesPerPixel, valueBytes);
        for (std::size_t f = 0; f < fieldCount; ++f) {
            const std::uint32_t mask = fields[f].mask;
            rows[f][x] = static_cast<unsigned char>(mask == 0 ? 0 : scaleMasked(pixel, mask));
        }
    }
}

template <std::size_t units>
void join(const unsigned char* const* rows, std::size_t count, unsigned char* pixels) {
    for (std::size_t x = 0; x < count; ++x) {
        for (std::size_t unit = 0; unit < units; ++unit) pixels[x * units + unit] = rows[unit][x];
    }
}

void pickByteEntries(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                     unsigned char* pixels) {
    for (std::size_t x = 0; x < count; ++x) std::memcpy(pixels + 4 * x, entries + 4 * indices[x], 4);
}

void pickNibbleEntries(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                       unsigned char* pixels) {
    for (std::size_t x = 0; x < count; ++x) {
        const int index = x % 2 == 0 ? indices[x / 2] & 15 : indices[x / 2] >> 4;
        std::memcpy(pixels + 4 * x, entries + 4 * index, 4);
    }
}

void expandPairs(const unsigned char* pairs, std::size_t count, bool greenFirst, unsigned char* pixels) {
    const std::size_t red = greenFirst ? 1 : 0;
    for (std::size_t x = 0; x < count; ++x) {
        const unsigned char* pair = pairs + x / 2 * 4;
        pixels[3 * x] = pair[red];
        pixels[3 * x + 1] = pair[x % 2 * 2 + 1 - red];
        pixels[3 * x + 2] = pair[2 + red];
    }
}

void halfsToFloats(const unsigned char* halfs, std::size_t count, float* out) {
    for (std::size_t i = 0; i < count; ++i) out[i] = halfToFloat(load16(halfs + 2 * i));
}

void r11g11b10ToFloats(const unsigned char* words, std::size_t count, float* out) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t word = load32(words + 4 * i);
        out[3 * i] = packedToFloat(word >> 6 & 31, word & 63, 6);
        out[3 * i + 1] = packedToFloat(word >> 17 & 31, word >> 11 & 63, 6);
        out[3 * i + 2] = packedToFloat(word >> 27, word >> 22 & 31, 5);
    }
}

void r9g9b9e5ToFloats(const unsigned char* words, std::size_t count, float* out) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t word = load32(words + 4 * i);
        for (unsigned channel = 0; channel < 3; ++channel) {
            out[3 * i + channel] = sharedExponentToFloat(word >> 27, word >> (9 * channel) & 511);
        }
    }
}

void highBytes(const unsigned char* values, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i) out[i] = values[2 * i + 1];
}

void snormToUnorm(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const int s = static_cast<std::int8_t>(bytes[i]);
        bytes[i] = static_cast<unsigned char>(s == -128 ? 0 : (s + 127) * 255 / 254);
    }
}

}  // namespace

template <std::size_t blockBytes, auto decode>
constexpr StripKernel texels = strip<A8R8G8B8Colour, blockBytes, decode>;

constinit const KernelSet plainKernels = {
    .name = "plain",
    .runsHere = [] { return true; },
    .strips = {{BlockKernel::bc1, texels<8, bc1>},
               {BlockKernel::bc2, texels<16, bc2<0>>},
               {BlockKernel::bc2Premultiplied, texels<16, bc2<1>>},
               {BlockKernel::bc3, texels<16, bc3<0>>},
               {BlockKernel::bc3Premultiplied, texels<16, bc3<1>>},
               {BlockKernel::bc4Unsigned, texels<8, bc4<false>>},
               {BlockKernel::bc4Signed, texels<8, bc4<true>>},
               {BlockKernel::bc5Unsigned, texels<16, bc5<false>>},
               {BlockKernel::bc5Signed, texels<16, bc5<true>>},
               {BlockKernel::bc6hUnsigned, strip<float, 16, bc6h<false>>},
               {BlockKernel::bc6hSigned, strip<float, 16, bc6h<true>>},
               {BlockKernel::bc7, texels<16, decompressBC7Block>}},
    .splitBytes2 = split<unsigned char, 2>,
    .splitBytes3 = split<unsigned char, 3>,
    .splitBytes4 = split<unsigned char, 4>,
    .splitFloats2 = split<float, 2>,
    .splitFloats3 = split<float, 3>,
    .splitFloats4 = split<float, 4>,
    .extractMasks = extractMasks,
    .joinBytes3 = join<3>,
    .joinBytes4 = join<4>,
    .pickByteEntries = pickByteEntries,
    .pickNibbleEntries = pickNibbleEntries,
    .expandPairs = expandPairs,
    .halfsToFloats = halfsToFloats,
    .r11g11b10ToFloats = r11g11b10ToFloats,
    .r9g9b9e5ToFloats = r9g9b9e5ToFloats,
    .highBytes = highBytes,
    .snormToUnorm = snormToUnorm,
};

}  // namespace kpx
