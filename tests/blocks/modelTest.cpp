// Worked values of the published formats, through the slow model and through every kernel level; and the model's own
// tables and generators, on which the comparisons of the other tests rest.
#include <gtest/gtest.h>

#include <bit>
#include <set>

#include "tests/model/bitReader.h"
#include "tests/model/floatModel.h"
#include "tests/model/packers.h"
#include "tests/model/publishedTables.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/decoders.h"

using namespace testing_support;
using kpx::BlockKernel;
using model::packBC6H;
using model::packBC7;
using model::PackedBlock;
using model::Texel;

namespace {

using Bytes = std::vector<unsigned char>;

template <typename T>
Tile repeated(const std::vector<T>& palette) {
    std::array<T, 16> texels{};
    for (std::size_t t = 0; t < 16; ++t) texels[t] = palette[t % palette.size()];
    return bytesOf(texels);
}

// Texels of alpha, red, green and blue, over and over.
Tile texels(const std::vector<Texel>& palette) {
    return repeated(palette);
}

Tile greys(const Bytes& values) {
    std::vector<Texel> palette;
    for (const unsigned char v : values) palette.push_back({255, v, v, v});
    return repeated(palette);
}

Tile redAndGreen(const Bytes& reds, const Bytes& greens) {
    std::vector<Texel> palette;
    for (std::size_t i = 0; i < reds.size(); ++i) palette.push_back({255, reds[i], greens[i], 0});
    return repeated(palette);
}

Tile lights(const std::vector<float>& values) {
    std::vector<std::array<float, 4>> palette;
    for (const float v : values) palette.push_back({v, v, v, 1.0F});
    return repeated(palette);
}

Tile light(float red, float green, float blue) {
    return repeated(std::vector<std::array<float, 4>>{{red, green, blue, 1.0F}});
}

Tile withAlpha(Tile tile, const Bytes& alphas) {
    for (std::size_t t = 0; t < 16; ++t) tile[4 * t] = alphas[t % alphas.size()];
    return tile;
}

// The indices 0 to 3 in every row.
Bytes colourBlock(int colour0, int colour1) {
    Bytes block(8, 0xE4);
    block[0] = static_cast<unsigned char>(colour0);
    block[1] = static_cast<unsigned char>(colour0 >> 8);
    block[2] = static_cast<unsigned char>(colour1);
    block[3] = static_cast<unsigned char>(colour1 >> 8);
    return block;
}

// A single channel: texel t has index t mod 8.
Bytes countingBlock(unsigned char e0, unsigned char e1) {
    return {e0, e1, 0x88, 0xC6, 0xFA, 0x88, 0xC6, 0xFA};
}

Bytes join(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

struct Worked {
    const char* what;
    BlockKernel kernel;
    Bytes block;
    Tile expected;
};

const Bytes redOverBlue = colourBlock(0xF800, 0x001F);
const Bytes blueOverRed = colourBlock(0x001F, 0xF800);
const Bytes black(8);
constexpr Texel red{255, 255, 0, 0};
constexpr Texel blue{255, 0, 0, 255};

std::vector<Worked> workedBC1to3() {
    const Tile fourColours = texels({blue, red, {255, 85, 0, 170}, {255, 170, 0, 85}});
    // Red 4, green 32, blue 16 over red 0, green 16, blue 0.
    const Bytes dark = colourBlock(0x2410, 0x0200);
    const Bytes nibbles = {0x10, 0xF8, 0, 0, 0, 0, 0, 0xF0};
    return {
        {"four colours", BlockKernel::bc1, redOverBlue, texels({red, blue, {255, 170, 0, 85}, {255, 85, 0, 170}})},
        {"three colours", BlockKernel::bc1, blueOverRed, texels({blue, red, {255, 127, 0, 127}, {0, 0, 0, 0}})},
        {"equal colours", BlockKernel::bc1, colourBlock(0xFFFF, 0xFFFF),
         withAlpha(texels({{0, 255, 255, 255}, {0, 255, 255, 255}, {0, 255, 255, 255}, {0, 0, 0, 0}}),
                   {255, 255, 255, 0})},
        {"widened colours", BlockKernel::bc1, dark,
         texels({{255, 32, 129, 131}, {255, 0, 64, 0}, {255, 21, 107, 87}, {255, 10, 85, 43}})},
        {"nothing", BlockKernel::bc1, black, greys({0})},
        {"indices run by column, then row",
         BlockKernel::bc1,
         {0x00, 0xF8, 0x1F, 0x00, 0x01, 0x10, 0x00, 0x40},
         texels({blue, red, red, red, red, red, blue, red, red, red, red, red, red, red, red, blue})},
        {"nibbles of alpha", BlockKernel::bc2, join(nibbles, blueOverRed),
         withAlpha(fourColours, {0, 17, 136, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255})},
        {"six alphas between", BlockKernel::bc3, join(countingBlock(200, 100), blueOverRed),
         withAlpha(fourColours, {200, 100, 185, 171, 157, 142, 128, 114})},
        {"four alphas between", BlockKernel::bc3, join(countingBlock(0, 255), black),
         withAlpha(greys({0}), {0, 255, 51, 102, 153, 204, 0, 255})},
        {"equal alphas", BlockKernel::bc3, join(countingBlock(100, 100), black), withAlpha(greys({0}), {100})},
        {"divided by half alpha", BlockKernel::bc3Premultiplied, join(countingBlock(128, 128), dark),
         texels({{128, 64, 255, 255}, {128, 0, 128, 0}, {128, 42, 214, 174}, {128, 20, 170, 86}})},
        {"divided by 15 alphas and by 0", BlockKernel::bc2Premultiplied, join(nibbles, dark),
         texels({{0, 32, 129, 131},
                 {17, 0, 255, 0},
                 {136, 39, 201, 163},
                 {255, 10, 85, 43},
                 {0, 32, 129, 131},
                 {0, 0, 64, 0},
                 {0, 21, 107, 87},
                 {0, 10, 85, 43},
                 {0, 32, 129, 131},
                 {0, 0, 64, 0},
                 {0, 21, 107, 87},
                 {0, 10, 85, 43},
                 {0, 32, 129, 131},
                 {0, 0, 64, 0},
                 {0, 21, 107, 87},
                 {255, 10, 85, 43}})},
    };
}

std::vector<Worked> workedBC4and5() {
    return {
        {"falling", BlockKernel::bc4Unsigned, countingBlock(255, 0), greys({255, 0, 218, 182, 145, 109, 72, 36})},
        {"equal", BlockKernel::bc4Unsigned, countingBlock(100, 100), greys({100, 100, 100, 100, 100, 100, 0, 255})},
        {"falling", BlockKernel::bc4Signed, countingBlock(0x7F, 0x81), greys({255, 1, 218, 182, 146, 110, 74, 38})},
        {"rising", BlockKernel::bc4Signed, countingBlock(0x81, 0x7F), greys({1, 255, 52, 103, 153, 204, 0, 255})},
        {"least", BlockKernel::bc4Signed, countingBlock(0x80, 0x80), greys({1, 1, 1, 1, 1, 1, 0, 255})},
        {"small", BlockKernel::bc4Signed, countingBlock(0x10, 0xF0), greys({144, 112, 139, 134, 130, 126, 122, 117})},
        // -127 / 7 truncates towards zero, to -18.
        {"truncated", BlockKernel::bc4Signed, countingBlock(0x00, 0x81), greys({128, 1, 110, 92, 74, 56, 38, 20})},
        {"red and green", BlockKernel::bc5Unsigned, join(countingBlock(255, 0), countingBlock(0x81, 0x7F)),
         redAndGreen({255, 0, 218, 182, 145, 109, 72, 36}, {129, 127, 128, 128, 128, 127, 127, 127})},
        {"red and green", BlockKernel::bc5Signed, join(countingBlock(0x7F, 0x81), countingBlock(0x80, 0x80)),
         redAndGreen({255, 1, 218, 182, 146, 110, 74, 38}, {1, 1, 1, 1, 1, 1, 0, 255})},
    };
}

Bytes bytesOfBlock(const PackedBlock& block) {
    return {block.begin(), block.end()};
}

constexpr float most = 65504.0F;

std::vector<Worked> workedBC6H() {
    const PackedBlock sign = {3, 0x40, 0, 1, 4};
    model::Bc6hFields wrapping;
    wrapping.mode = 12;
    wrapping.endpoints[0] = {0x7FF, 0, 5};
    wrapping.endpoints[1] = {1, -1, -5};
    wrapping.indices.fill(15);
    wrapping.indices[0] = 0;
    // One region holds 0, the other goes to the largest value; its anchor, texel 2, has index 3 for 7.
    model::Bc6hFields regions;
    regions.mode = 10;
    regions.partition = 17;
    regions.endpoints[3].fill(63);
    regions.indices.fill(7);
    std::vector<Worked> worked = {
        {"white",
         BlockKernel::bc6hUnsigned,
         {3, 0, 0, 0, 0xF8, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255},
         lights({0.765625F, most, most, most, most, most, most, most, most, most, most, most, most, most, most, most})},
        {"the sign", BlockKernel::bc6hSigned, bytesOfBlock(sign), lights({-most})},
        {"no sign", BlockKernel::bc6hUnsigned, bytesOfBlock(sign), lights({1.5146484375F})},
        {"zero", BlockKernel::bc6hUnsigned, bytesOfBlock({3}), lights({0.0F})},
        {"two regions", BlockKernel::bc6hUnsigned, bytesOfBlock(packBC6H(regions)),
         lights({0, most, 0.26953125F, most, 0, 0, 0, most, 0, 0, 0, 0, 0, 0, 0, 0})},
        {"high bits of mode 14 come highest first", BlockKernel::bc6hUnsigned,
         bytesOfBlock({0x0F, 0, 0, 0, 0x80, 0, 0x04, 0, 0x01}), light(1.5F, 0x1.Cp-8F, 496 * 0x1p-24F)},
        {"high bits of mode 13 come highest first", BlockKernel::bc6hUnsigned,
         bytesOfBlock({0x0B, 0, 0, 0, 0, 0x08, 0x40}), light(1539 / 1024.0F, 1795 / 262144.0F, 0.0F)},
        // Endpoint 1 is endpoint 0 plus a signed delta, modulo the precision: 0x7FF to 0, 0 to 0x7FF, 5 to 0.
        {"deltas wrap", BlockKernel::bc6hUnsigned, bytesOfBlock(packBC6H(wrapping)), {}},
    };
    std::vector<std::array<float, 4>> wrapped(16, {0.0F, most, 0.0F, 1.0F});
    wrapped[0] = {most, 0.0F, 85 * 0x1p-24F, 1.0F};
    worked.back().expected = repeated(wrapped);
    for (const int reserved : {0x13, 0x17, 0x1B, 0x1F}) {
        const Bytes block = bytesOfBlock(model::packReservedBC6H(reserved, true));
        worked.push_back({"reserved", BlockKernel::bc6hUnsigned, block, lights({0.0F})});
        worked.push_back({"reserved", BlockKernel::bc6hSigned, block, lights({0.0F})});
    }
    return worked;
}

Bytes bc7Block(int mode, const std::array<int, 4>& endpoint, int pBit, int rotation = 0) {
    model::Bc7Fields fields;
    fields.mode = mode;
    fields.rotation = rotation;
    fields.endpoints.fill(endpoint);
    fields.pBits.fill(pBit);
    return bytesOfBlock(packBC7(fields));
}

// Rows 0 and 1 are one subset, rows 2 and 3 the other.
Bytes bc7Halves(int mode, const std::array<int, 6>& pBits, int index) {
    model::Bc7Fields fields;
    fields.mode = mode;
    fields.partition = 13;
    fields.pBits = pBits;
    for (std::size_t t = 0; t < 16; ++t) fields.primary[t] = t / 4 % 2 == 0 ? 0 : index;
    return bytesOfBlock(packBC7(fields));
}

// Weight 21 of the 2-bit index 1, weight 27 of the 3-bit index 3.
Bytes bc7Selection(int selection) {
    model::Bc7Fields fields;
    fields.mode = 4;
    fields.selection = selection;
    fields.endpoints[1] = {31, 31, 31, 63};
    fields.primary.fill(1);
    fields.secondary.fill(3);
    return bytesOfBlock(packBC7(fields));
}

std::vector<Worked> workedBC7() {
    const auto all = [](unsigned char value) { return greys({value}); };
    const auto clear = [](unsigned char value) { return texels({{0, value, value, value}}); };
    return {
        {"mode 6",
         BlockKernel::bc7,
         {0x40, 0xC0, 0x1F, 0xF0, 0x07, 0xFC, 0xFF, 0x7F, 0x11, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE},
         withAlpha(greys({0, 16, 36, 52, 68, 84, 104, 120, 135, 151, 171, 187, 203, 219, 239, 255}),
                   {254, 254, 254, 254, 254, 254, 254, 254, 255, 255, 255, 255, 255, 255, 255, 255})},
        {"mode 4",
         BlockKernel::bc7,
         {0x10, 0xE0, 0x83, 0x0F, 0x3E, 0xF0, 0xCB, 0xC9, 0xC9, 0xC9, 0x89, 0xC6, 0xFA, 0x88, 0xC6, 0xFA},
         withAlpha(greys({0, 84, 171, 255}), {0, 36, 72, 108, 147, 183, 219, 255})},
        {"nothing", BlockKernel::bc7, Bytes(16), all(0)},
        {"no mode", BlockKernel::bc7, {0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0}, all(0)},
        {"colour by the first indices", BlockKernel::bc7, bc7Selection(0), withAlpha(greys({84}), {108})},
        {"colour by the second indices", BlockKernel::bc7, bc7Selection(1), withAlpha(greys({108}), {84})},
        {"no rotation", BlockKernel::bc7, bc7Block(5, {10, 20, 30, 77}, 0, 0), texels({{77, 20, 40, 60}})},
        {"red and alpha", BlockKernel::bc7, bc7Block(5, {10, 20, 30, 77}, 0, 1), texels({{20, 77, 40, 60}})},
        {"green and alpha", BlockKernel::bc7, bc7Block(5, {10, 20, 30, 77}, 0, 2), texels({{40, 20, 77, 60}})},
        {"blue and alpha", BlockKernel::bc7, bc7Block(5, {10, 20, 30, 77}, 0, 3), texels({{60, 20, 40, 77}})},
        {"5 bits", BlockKernel::bc7, bc7Block(2, {0x1F, 0x1F, 0x1F, 0}, 0), all(255)},
        {"5 bits", BlockKernel::bc7, bc7Block(2, {0x10, 0x10, 0x10, 0}, 0), all(132)},
        {"5 bits and p", BlockKernel::bc7, bc7Block(7, {0x10, 0x10, 0x10, 0}, 0), clear(130)},
        {"6 bits and p", BlockKernel::bc7, bc7Block(1, {0x20, 0x20, 0x20, 0}, 0), all(129)},
        {"4 bits and p", BlockKernel::bc7, bc7Block(0, {0x0F, 0x0F, 0x0F, 0}, 1), all(255)},
        {"7 bits and p", BlockKernel::bc7, bc7Block(3, {0x40, 0x40, 0x40, 0}, 1), all(129)},
        {"7 bits", BlockKernel::bc7, bc7Block(5, {0x40, 0x40, 0x40, 0}, 0), clear(129)},
        // The 7-bit value 1 widens to 2.
        {"a p-bit for each subset", BlockKernel::bc7, bc7Halves(1, {0, 1}, 7),
         greys({0, 0, 0, 0, 0, 0, 0, 0, 2, 2, 2, 2, 2, 2, 2, 2})},
        // Texel 15 is an anchor: its index is 1, not 3.
        {"a p-bit for each endpoint", BlockKernel::bc7, bc7Halves(3, {0, 1, 1, 0}, 3),
         greys({0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 1})},
    };
}

// The tiles of many copies of a block, which the kernels decode several at a time.
std::vector<Tile> decodedBy(const kpx::KernelSet& set, const Decoder& decoder, const Bytes& block) {
    constexpr std::size_t copies = 19;
    Bytes blocks;
    for (std::size_t i = 0; i < copies; ++i) blocks = join(blocks, block);
    const std::size_t tileBytes = 4 * decoder.texelBytes;
    Bytes image(4 * copies * tileBytes);
    set.strips[static_cast<std::size_t>(decoder.kernel)](blocks.data(), copies, image.data(), copies * tileBytes);
    std::vector<Tile> tiles(copies);
    for (std::size_t i = 0; i < 4 * copies; ++i) {
        const auto row = image.begin() + static_cast<std::ptrdiff_t>(i * tileBytes);
        tiles[i % copies].insert(tiles[i % copies].end(), row, row + static_cast<std::ptrdiff_t>(tileBytes));
    }
    return tiles;
}

}  // namespace

TEST(WorkedBlocks, ComeOutOfTheModelAndOfEveryKernel) {
    for (const auto& worked : {workedBC1to3(), workedBC4and5(), workedBC6H(), workedBC7()}) {
        for (const Worked& each : worked) {
            const Decoder& decoder = decoderOf(each.kernel);
            ASSERT_EQ(decoder.kernel, each.kernel);
            SCOPED_TRACE(testing::Message() << decoder.name << ", " << each.what);
            EXPECT_EQ(decoder.model(each.block), each.expected);
            for (const kpx::KernelSet* set : kpx::kernelSets()) {
                if (!set->runsHere()) continue;
                for (const Tile& tile : decodedBy(*set, decoder, each.block))
                    ASSERT_EQ(tile, each.expected) << set->name;
            }
        }
    }
}

TEST(WorkedFloats, ComeOutOfTheModelAndOfEveryKernel) {
    constexpr float tiny = 0x1p-15F;
    const std::pair<std::uint16_t, float> halves[] = {
        {0x3C00, 1.0F},     {0xC000, -2.0F},    {0x3555, 0.333251953125F}, {0x0400, 0x1p-14F},
        {0x0001, 0x1p-24F}, {0x0000, 0.0F},     {0x8000, -0.0F},           {0x7BFF, 65504.0F},
        {0x7C00, 65536.0F}, {0x7E00, 98304.0F}, {0x7FFF, 131008.0F},       {0xFC00, -65536.0F}};
    using Rgb = std::array<float, 3>;
    const struct {
        std::uint32_t word;
        Rgb (*model)(std::uint32_t word);
        void (*kpx::KernelSet::*kernel)(const unsigned char* words, std::size_t count, float* out);
        Rgb rgb;
    } words[] = {
        {0x000003C0, model::unpackR11G11B10, &kpx::KernelSet::r11g11b10ToFloats, {1.0F, tiny, tiny}},
        {0, model::unpackR11G11B10, &kpx::KernelSet::r11g11b10ToFloats, {tiny, tiny, tiny}},
        {0x78000000, model::unpackR11G11B10, &kpx::KernelSet::r11g11b10ToFloats, {tiny, tiny, 1.0F}},
        {0x001E0000, model::unpackR11G11B10, &kpx::KernelSet::r11g11b10ToFloats, {tiny, 1.0F, tiny}},
        {0xFFFFFFFF, model::unpackR11G11B10, &kpx::KernelSet::r11g11b10ToFloats, {130048.0F, 130048.0F, 129024.0F}},
        {0x80000100, model::unpackR9G9B9E5, &kpx::KernelSet::r9g9b9e5ToFloats, {1.0F, 0.0F, 0.0F}},
        {0x80020000, model::unpackR9G9B9E5, &kpx::KernelSet::r9g9b9e5ToFloats, {0.0F, 1.0F, 0.0F}},
        {0x84000000, model::unpackR9G9B9E5, &kpx::KernelSet::r9g9b9e5ToFloats, {0.0F, 0.0F, 1.0F}},
        {0, model::unpackR9G9B9E5, &kpx::KernelSet::r9g9b9e5ToFloats, {0.0F, 0.0F, 0.0F}},
        {0xFFFFFFFF, model::unpackR9G9B9E5, &kpx::KernelSet::r9g9b9e5ToFloats, {65408.0F, 65408.0F, 65408.0F}},
        {0x00000001, model::unpackR9G9B9E5, &kpx::KernelSet::r9g9b9e5ToFloats, {0x1p-24F, 0.0F, 0.0F}},
    };
    for (const kpx::KernelSet* set : kpx::kernelSets()) {
        if (!set->runsHere()) continue;
        for (const auto& [half, value] : halves) {
            float widened = 7.0F;
            set->halfsToFloats(reinterpret_cast<const unsigned char*>(&half), 1, &widened);
            EXPECT_EQ(std::bit_cast<std::uint32_t>(widened), std::bit_cast<std::uint32_t>(value)) << half;
            EXPECT_EQ(std::bit_cast<std::uint32_t>(model::halfToFloat(half)), std::bit_cast<std::uint32_t>(value));
        }
        for (const auto& each : words) {
            Rgb rgb{};
            (set->*each.kernel)(reinterpret_cast<const unsigned char*>(&each.word), 1, rgb.data());
            EXPECT_EQ(rgb, each.rgb) << std::hex << each.word;
            EXPECT_EQ(each.model(each.word), each.rgb) << std::hex << each.word;
        }
    }
}

// Every subset has one anchor, which lies in it.
TEST(PublishedTables, AnchorsAndPartitionsAgree) {
    for (int subsets = 2; subsets <= 3; ++subsets) {
        for (int p = 0; p < 64; ++p) {
            std::array<int, 3> anchors{};
            for (int t = 0; t < 16; ++t)
                if (model::isAnchor(subsets, p, t)) ++anchors[static_cast<std::size_t>(model::subsetOf(subsets, p, t))];
            EXPECT_EQ(anchors, (std::array<int, 3>{1, 1, subsets == 3 ? 1 : 0})) << subsets << ' ' << p;
            EXPECT_EQ(model::subsetOf(subsets, p, 0), 0) << subsets << ' ' << p;
        }
    }
}

// The fields of every mode fill the block without a gap or an overlap: packing what was unpacked gives the block back.
TEST(PublishedTables, FieldsOfBC6HFillTheBlock) {
    model::Random random(1);
    for (const model::Bc6hMode& mode : model::bc6hModes) {
        PackedBlock block = model::randomBlock(random);
        block[0] = static_cast<unsigned char>((block[0] >> mode.modeBits << mode.modeBits) | mode.value);
        model::BitReader bits(block, mode.modeBits);
        model::Bc6hFields fields;
        fields.mode = mode.number;
        for (const model::Bc6hField& f : mode.fields)
            fields.endpoints[static_cast<std::size_t>(f.endpoint)][static_cast<std::size_t>(f.channel)] |=
                std::int64_t{bits.take(f.high - f.low + 1)} << f.low;
        if (mode.regions == 2) fields.partition = bits.take(5);
        for (int t = 0; t < 16; ++t)
            fields.indices[static_cast<std::size_t>(t)] =
                bits.take((mode.regions == 2 ? 3 : 4) - (model::isAnchor(mode.regions, fields.partition, t) ? 1 : 0));
        EXPECT_EQ(packBC6H(fields), block) << "mode " << mode.number;
    }
}

TEST(RandomBlocks, ReachEveryShape) {
    model::Random random(2);
    std::set<std::array<int, 2>> bc7Headers;
    for (const PackedBlock& block : model::everyBC7Shape(random)) {
        const int mode = std::countr_zero(block[0]);
        const model::Bc7Mode shape = mode == 8 ? model::Bc7Mode{} : model::bc7Modes[static_cast<std::size_t>(mode)];
        const int headerBits = shape.partitionBits + shape.rotationBits + shape.selectionBits;
        bc7Headers.insert({mode, model::bitsOf(block, mode == 8 ? 0 : mode + 1, headerBits)});
    }
    // Partitions of modes 0 to 3, rotations and selections of 4, rotations of 5, mode 6, partitions of 7, reserved.
    EXPECT_EQ(bc7Headers.size(), 16U + 3 * 64 + 8 + 4 + 1 + 64 + 1);

    std::set<std::array<int, 2>> bc6hHeaders;
    for (const PackedBlock& block : model::everyBC6HShape(random)) {
        const int mode = model::bitsOf(block, 0, block[0] % 4 < 2 ? 2 : 5);
        bc6hHeaders.insert({mode, mode % 4 == 3 ? 0 : model::bitsOf(block, 77, 5)});
    }
    EXPECT_EQ(bc6hHeaders.size(), 10U * 32 + 4 + 4);
}
