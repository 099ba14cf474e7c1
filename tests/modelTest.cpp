// Checks the slow model itself: worked values of every format, headers that choose every loader, and real files.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/model/bitReader.h"
#include "tests/model/blockModel.h"
#include "tests/model/floatModel.h"
#include "tests/model/packers.h"
#include "tests/model/publishedTables.h"
#include "tests/model/randomBlocks.h"
#include "tests/model/readerModel.h"
#include "tests/model/sha256.h"

namespace model {

void PrintTo(const Texel& t, std::ostream* out) {
    *out << '(' << int{t.a} << ", " << int{t.r} << ", " << int{t.g} << ", " << int{t.b} << ')';
}

}  // namespace model

namespace {

using model::PackedBlock;
using model::Result;
using model::Texel;
using Bytes = std::vector<unsigned char>;
using Block8Bytes = std::array<unsigned char, 8>;

template <typename Texels>
Texels filled(typename Texels::value_type texel) {
    Texels texels{};
    texels.fill(texel);
    return texels;
}

// ---- blocks ----

// Indices 0 to 3 in every row.
Block8Bytes bc1Block(int colour0, int colour1) {
    return {static_cast<unsigned char>(colour0 & 255),
            static_cast<unsigned char>(colour0 >> 8),
            static_cast<unsigned char>(colour1 & 255),
            static_cast<unsigned char>(colour1 >> 8),
            0xE4,
            0xE4,
            0xE4,
            0xE4};
}

TEST(BlockModel, BC1Palettes) {
    struct Case {
        int colour0, colour1;
        bool isDXT1;
        std::array<Texel, 4> palette;
    };
    const std::vector<Case> cases = {
        {0xF800, 0x001F, true, {{{255, 255, 0, 0}, {255, 0, 0, 255}, {255, 170, 0, 85}, {255, 85, 0, 170}}}},
        {0x001F, 0xF800, true, {{{255, 0, 0, 255}, {255, 255, 0, 0}, {255, 127, 0, 127}, {0, 0, 0, 0}}}},
        {0x001F, 0xF800, false, {{{255, 0, 0, 255}, {255, 255, 0, 0}, {255, 85, 0, 170}, {255, 170, 0, 85}}}},
        {0xFFFF, 0xFFFF, true, {{{255, 255, 255, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}, {0, 0, 0, 0}}}},
        {0xFFFF,
         0xFFFF,
         false,
         {{{255, 255, 255, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}}}},
        // Red 4, green 32, blue 16 over red 0, green 16, blue 0.
        {0x2410, 0x0200, true, {{{255, 32, 129, 131}, {255, 0, 64, 0}, {255, 21, 107, 87}, {255, 10, 85, 43}}}},
    };
    for (const Case& c : cases) {
        const auto texels = model::decodeBC1(bc1Block(c.colour0, c.colour1), c.isDXT1);
        for (std::size_t t = 0; t < 16; ++t) EXPECT_EQ(texels[t], c.palette[t % 4]) << c.colour0 << " texel " << t;
    }
    EXPECT_EQ(model::decodeBC1(Block8Bytes{}, true), filled<model::Texels>({255, 0, 0, 0}));
}

TEST(BlockModel, BC1IndicesRunByColumnThenRow) {
    Block8Bytes block = bc1Block(0xF800, 0x001F);
    block[4] = 0x01;
    block[5] = 0x10;
    block[6] = 0;
    block[7] = 0x40;
    const auto texels = model::decodeBC1(block, true);
    for (std::size_t t = 0; t < 16; ++t) {
        const bool isBlue = t == 0 || t == 6 || t == 15;
        EXPECT_EQ(texels[t], (isBlue ? Texel{255, 0, 0, 255} : Texel{255, 255, 0, 0})) << t;
    }
}

TEST(BlockModel, AlphaPalettes) {
    struct Case {
        std::uint8_t alpha0, alpha1;
        std::array<int, 8> palette;
    };
    const std::vector<Case> cases = {{255, 0, {255, 0, 218, 182, 145, 109, 72, 36}},
                                     {0, 255, {0, 255, 51, 102, 153, 204, 0, 255}},
                                     {200, 100, {200, 100, 185, 171, 157, 142, 128, 114}},
                                     {100, 100, {100, 100, 100, 100, 100, 100, 100, 100}}};
    for (const Case& c : cases)
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(model::bc3Alpha(c.alpha0, c.alpha1, i), c.palette[static_cast<std::size_t>(i)]) << i;
}

TEST(BlockModel, SingleChannelPalettes) {
    struct Case {
        std::uint8_t e0, e1;
        bool isSigned;
        std::array<int, 8> palette;
    };
    const std::vector<Case> cases = {{255, 0, false, {255, 0, 218, 182, 145, 109, 72, 36}},
                                     {100, 100, false, {100, 100, 100, 100, 100, 100, 0, 255}},
                                     {0x7F, 0x81, true, {255, 1, 218, 182, 146, 110, 74, 38}},
                                     {0x81, 0x7F, true, {1, 255, 52, 103, 153, 204, 0, 255}},
                                     {0x80, 0x80, true, {1, 1, 1, 1, 1, 1, 0, 255}},
                                     {0x10, 0xF0, true, {144, 112, 139, 134, 130, 126, 122, 117}},
                                     // -127 / 7 truncates towards zero, to -18.
                                     {0x00, 0x81, true, {128, 1, 110, 92, 74, 56, 38, 20}}};
    for (const Case& c : cases)
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(model::bc4Value(c.e0, c.e1, i, c.isSigned), c.palette[static_cast<std::size_t>(i)])
                << int{c.e0} << ' ' << i;
}

// An alpha block with the given endpoints whose texel t has index t mod 8.
Block8Bytes countingAlphaBlock(unsigned char e0, unsigned char e1) {
    return {e0, e1, 0x88, 0xC6, 0xFA, 0x88, 0xC6, 0xFA};
}

PackedBlock join(const Block8Bytes& first, const Block8Bytes& second) {
    PackedBlock block{};
    std::copy(first.begin(), first.end(), block.begin());
    std::copy(second.begin(), second.end(), block.begin() + 8);
    return block;
}

TEST(BlockModel, BC2AlphaNibblesAndFourColourMode) {
    const Block8Bytes nibbles = {0x10, 0xF8, 0, 0, 0, 0, 0, 0xF0};
    const auto texels = model::decodeBC2(join(nibbles, bc1Block(0x001F, 0xF800)), false);
    EXPECT_EQ(texels[0], (Texel{0, 0, 0, 255}));
    EXPECT_EQ(texels[1], (Texel{17, 255, 0, 0}));
    EXPECT_EQ(texels[2], (Texel{136, 85, 0, 170}));
    EXPECT_EQ(texels[3], (Texel{255, 170, 0, 85}));
    EXPECT_EQ(texels[14].a, 0);
    EXPECT_EQ(texels[15].a, 255);
}

TEST(BlockModel, BC3AlphaReplacesThatOfTheColourHalf) {
    const PackedBlock block = join(countingAlphaBlock(200, 100), bc1Block(0x001F, 0xF800));
    const auto plain = model::decodeBC3(block, false);
    const auto divided = model::decodeBC3(block, true);
    for (std::size_t t = 0; t < 16; ++t) {
        EXPECT_EQ(plain[t].a, model::bc3Alpha(200, 100, static_cast<int>(t % 8))) << t;
        EXPECT_EQ(divided[t].a, plain[t].a) << t;
        EXPECT_EQ(divided[t].r, model::divideByAlpha(plain[t].r, plain[t].a)) << t;
    }
}

TEST(BlockModel, DivisionByAlpha) {
    struct Case {
        std::uint8_t value, alpha;
        int result;
    };
    for (const Case& c : std::vector<Case>{{64, 128, 128},
                                           {100, 200, 128},
                                           {254, 255, 254},
                                           {0, 255, 0},
                                           {255, 255, 255},
                                           {128, 128, 255},
                                           {200, 3, 255},
                                           {77, 0, 77}})
        EXPECT_EQ(model::divideByAlpha(c.value, c.alpha), c.result) << int{c.value} << '/' << int{c.alpha};
}

TEST(BlockModel, BC4IsGreyAndBC5IsRedGreen) {
    const Block8Bytes falling = countingAlphaBlock(255, 0);
    const Block8Bytes rising = countingAlphaBlock(0x81, 0x7F);
    const auto grey = model::decodeBC4(rising, true);
    const auto pair = model::decodeBC5(join(falling, rising), false);
    for (std::size_t t = 0; t < 16; ++t) {
        const int i = static_cast<int>(t % 8);
        const std::uint8_t v = model::bc4Value(0x81, 0x7F, i, true);
        EXPECT_EQ(grey[t], (Texel{255, v, v, v})) << t;
        const Texel expected = {255, model::bc4Value(255, 0, i, false), model::bc4Value(0x81, 0x7F, i, false), 0};
        EXPECT_EQ(pair[t], expected) << t;
    }
}

TEST(BlockModel, AnchorsAndPartitionsAgree) {
    for (int subsets = 2; subsets <= 3; ++subsets)
        for (int p = 0; p < 64; ++p) {
            // Every subset has one anchor, which lies in it.
            std::array<int, 3> anchors{};
            for (int t = 0; t < 16; ++t)
                if (model::isAnchor(subsets, p, t)) ++anchors[static_cast<std::size_t>(model::subsetOf(subsets, p, t))];
            EXPECT_EQ(anchors, (std::array<int, 3>{1, 1, subsets == 3 ? 1 : 0})) << subsets << ' ' << p;
            EXPECT_EQ(model::subsetOf(subsets, p, 0), 0) << subsets << ' ' << p;
        }
    struct Case {
        int subsets, partition, texel;
        bool anchor;
    };
    for (const Case& c : std::vector<Case>{{1, 5, 0, true},
                                           {1, 5, 15, false},
                                           {2, 17, 2, true},
                                           {2, 17, 1, false},
                                           {2, 0, 15, true},
                                           {2, 16, 15, true},
                                           {2, 18, 8, true},
                                           {2, 34, 6, true},
                                           {3, 0, 3, true},
                                           {3, 0, 15, true},
                                           {3, 0, 8, false},
                                           {3, 1, 8, true},
                                           {3, 2, 8, true},
                                           {3, 59, 13, true},
                                           {3, 61, 12, true},
                                           {3, 63, 8, true},
                                           {2, 63, 15, true},
                                           {2, 18, 15, false},
                                           {3, 63, 15, false}})
        EXPECT_EQ(model::isAnchor(c.subsets, c.partition, c.texel), c.anchor)
            << c.subsets << ' ' << c.partition << ' ' << c.texel;
    EXPECT_STREQ(model::twoSubsetPartitions[13], "0000000011111111");
    EXPECT_STREQ(model::twoSubsetPartitions[17], "0111000100000000");
    EXPECT_STREQ(model::twoSubsetPartitions[63], "0100010001110111");
    EXPECT_STREQ(model::threeSubsetPartitions[0], "0011001102212222");
    EXPECT_STREQ(model::threeSubsetPartitions[1], "0001001122112221");
    EXPECT_STREQ(model::threeSubsetPartitions[63], "0111201122012220");
}

TEST(BlockModel, InterpolationAndSignExtension) {
    struct Case {
        int e0, e1, index, bits, result;
    };
    for (const Case& c : std::vector<Case>{{0, 255, 0, 2, 0},
                                           {0, 255, 1, 2, 84},
                                           {0, 255, 2, 2, 171},
                                           {0, 255, 3, 2, 255},
                                           {0, 255, 4, 3, 147},
                                           {0, 255, 1, 4, 16},
                                           {-32, 0, 8, 4, -15},
                                           {-3, -3, 5, 4, -3}})
        EXPECT_EQ(model::interpolate(c.e0, c.e1, c.index, c.bits), c.result) << c.index << '/' << c.bits;
    EXPECT_EQ(model::signExtend(0x1F, 5), -1);
    EXPECT_EQ(model::signExtend(0x0F, 5), 15);
    EXPECT_EQ(model::signExtend(0x80, 8), -128);
    EXPECT_EQ(model::signExtend(0xFFFFFFFF, 32), -1);
}

std::array<float, 4> opaque(float value) {
    return {value, value, value, 1.0F};
}

TEST(BlockModel, BC6HWorkedBlocks) {
    const PackedBlock white = {3, 0, 0, 0, 0xF8, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    auto expected = filled<model::FloatTexels>(opaque(65504.0F));
    expected[0] = opaque(0.765625F);
    EXPECT_EQ(model::decodeBC6H(white, false), expected);

    const PackedBlock sign = {3, 0x40, 0, 1, 4};
    EXPECT_EQ(model::decodeBC6H(sign, true), filled<model::FloatTexels>(opaque(-65504.0F)));
    EXPECT_EQ(model::decodeBC6H(sign, false), filled<model::FloatTexels>(opaque(1.5146484375F)));
    EXPECT_EQ(model::decodeBC6H(PackedBlock{3}, false), filled<model::FloatTexels>(opaque(0.0F)));
    for (const int reserved : {0x13, 0x17, 0x1B, 0x1F})
        for (const bool isSigned : {false, true})
            EXPECT_EQ(model::decodeBC6H(model::packReservedBC6H(reserved, true), isSigned),
                      filled<model::FloatTexels>(opaque(0.0F)));
}

// Mode 10 stores its endpoints plainly: one region holds 0, the other the largest value.
TEST(BlockModel, BC6HAnchorOfRegion1HasOneBitLess) {
    model::Bc6hFields fields;
    fields.mode = 10;
    fields.partition = 17;
    for (std::size_t c = 0; c < 3; ++c) fields.endpoints[3][c] = 63;
    fields.indices.fill(7);
    const auto texels = model::decodeBC6H(model::packBC6H(fields), false);
    EXPECT_EQ(texels[0], opaque(0.0F));
    EXPECT_EQ(texels[1], opaque(65504.0F));
    EXPECT_EQ(texels[3], opaque(65504.0F));
    // Index 3 has weight 27: (27 * 65535 + 32) >> 6 = 27648, times 31 / 64 = 0x3450.
    EXPECT_EQ(texels[2], opaque(model::halfToFloat(0x3450)));
}

TEST(BlockModel, BC6HHighBitsOfModes13And14AreStoredHighestFirst) {
    model::Bc6hFields fields;
    fields.mode = 14;
    fields.endpoints[0] = {0x8000, 0x4000, 0x0400};
    const PackedBlock block = model::packBC6H(fields);
    // Red 15 to 10 follow the four delta bits at bit 35.
    EXPECT_EQ(model::bitsOf(block, 39, 6), 1);
    EXPECT_EQ(model::bitsOf(block, 49, 6), 2);
    EXPECT_EQ(model::bitsOf(block, 59, 6), 32);
    const auto texels = model::decodeBC6H(block, false);
    EXPECT_EQ(texels[5][0], model::halfToFloat(0x8000 * 31 / 64));
    EXPECT_EQ(texels[5][1], model::halfToFloat(0x4000 * 31 / 64));
    EXPECT_EQ(texels[5][2], model::halfToFloat(0x0400 * 31 / 64));

    fields.mode = 13;
    fields.endpoints[0] = {0x800, 0x400, 0};
    const PackedBlock block13 = model::packBC6H(fields);
    EXPECT_EQ(model::bitsOf(block13, 43, 2), 1);
    EXPECT_EQ(model::bitsOf(block13, 53, 2), 2);
}

// Endpoint 1 is endpoint 0 plus a signed delta, modulo the precision.
TEST(BlockModel, BC6HDeltasWrap) {
    model::Bc6hFields fields;
    fields.mode = 12;
    fields.endpoints[0] = {0x7FF, 0, 5};
    fields.endpoints[1] = {1, -1, -5};
    fields.indices.fill(15);
    const auto texels = model::decodeBC6H(model::packBC6H(fields), false);
    EXPECT_EQ(texels[1], (std::array<float, 4>{0.0F, 65504.0F, 0.0F, 1.0F}));
}

TEST(BlockModel, BC7WorkedBlocks) {
    const PackedBlock mode6 = {0x40, 0xC0, 0x1F, 0xF0, 0x07, 0xFC, 0xFF, 0x7F,
                               0x11, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE};
    const std::array<int, 16> greys = {0, 16, 36, 52, 68, 84, 104, 120, 135, 151, 171, 187, 203, 219, 239, 255};
    const auto texels6 = model::decodeBC7(mode6);
    for (std::size_t t = 0; t < 16; ++t) {
        const auto v = static_cast<std::uint8_t>(greys[t]);
        EXPECT_EQ(texels6[t], (Texel{static_cast<std::uint8_t>(t < 8 ? 254 : 255), v, v, v})) << t;
    }

    const PackedBlock mode4 = {0x10, 0xE0, 0x83, 0x0F, 0x3E, 0xF0, 0xCB, 0xC9,
                               0xC9, 0xC9, 0x89, 0xC6, 0xFA, 0x88, 0xC6, 0xFA};
    const std::array<std::array<std::uint8_t, 2>, 8> pairs = {
        {{0, 0}, {36, 84}, {72, 171}, {108, 255}, {147, 0}, {183, 84}, {219, 171}, {255, 255}}};
    const auto texels4 = model::decodeBC7(mode4);
    for (std::size_t t = 0; t < 16; ++t) {
        const auto [a, v] = pairs[t % 8];
        EXPECT_EQ(texels4[t], (Texel{a, v, v, v})) << t;
    }

    for (const auto& block : {PackedBlock{}, PackedBlock{0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255}})
        EXPECT_EQ(model::decodeBC7(block), filled<model::Texels>({255, 0, 0, 0}));
}

// The packers write the worked blocks byte for byte.
TEST(BlockModel, PackersWriteTheWorkedBlocks) {
    model::Bc7Fields mode6;
    mode6.mode = 6;
    mode6.endpoints[0] = {0, 0, 0, 127};
    mode6.endpoints[1] = {127, 127, 127, 127};
    mode6.pBits = {0, 1};
    model::Bc7Fields mode4;
    mode4.mode = 4;
    mode4.endpoints[1] = {31, 31, 31, 63};
    for (int t = 0; t < 16; ++t) {
        mode6.primary[static_cast<std::size_t>(t)] = t;
        mode4.primary[static_cast<std::size_t>(t)] = t % 4;
        mode4.secondary[static_cast<std::size_t>(t)] = t % 8;
    }
    EXPECT_EQ(model::packBC7(mode6), (PackedBlock{0x40, 0xC0, 0x1F, 0xF0, 0x07, 0xFC, 0xFF, 0x7F, 0x11, 0x32, 0x54,
                                                  0x76, 0x98, 0xBA, 0xDC, 0xFE}));
    EXPECT_EQ(model::packBC7(mode4), (PackedBlock{0x10, 0xE0, 0x83, 0x0F, 0x3E, 0xF0, 0xCB, 0xC9, 0xC9, 0xC9, 0x89,
                                                  0xC6, 0xFA, 0x88, 0xC6, 0xFA}));
    model::Bc6hFields mode11;
    mode11.mode = 11;
    mode11.endpoints[1] = {1023, 1023, 1023};
    mode11.indices.fill(15);
    EXPECT_EQ(model::packBC6H(mode11),
              (PackedBlock{3, 0, 0, 0, 0xF8, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255}));
}

TEST(BlockModel, BC7SelectionAndRotation) {
    model::Bc7Fields fields;
    fields.mode = 4;
    fields.endpoints[1] = {31, 31, 31, 63};
    fields.primary.fill(1);
    fields.secondary.fill(3);
    // Weight 21 of the 2-bit index 1, weight 27 of the 3-bit index 3.
    EXPECT_EQ(model::decodeBC7(model::packBC7(fields))[7], (Texel{108, 84, 84, 84}));
    fields.selection = 1;
    EXPECT_EQ(model::decodeBC7(model::packBC7(fields))[7], (Texel{84, 108, 108, 108}));

    fields.mode = 5;
    fields.endpoints[0] = {10, 20, 30, 77};
    fields.endpoints[1] = fields.endpoints[0];
    const std::array<Texel, 4> rotated = {{{77, 20, 40, 60}, {20, 77, 40, 60}, {40, 20, 77, 60}, {60, 20, 40, 77}}};
    for (int r = 0; r < 4; ++r) {
        fields.rotation = r;
        EXPECT_EQ(model::decodeBC7(model::packBC7(fields)),
                  filled<model::Texels>(rotated[static_cast<std::size_t>(r)]));
    }
}

TEST(BlockModel, BC7EndpointWidths) {
    struct Case {
        int mode, stored, pBit, widened;
    };
    for (const Case& c : std::vector<Case>{{2, 0x1F, 0, 255},
                                           {2, 0x10, 0, 132},
                                           {7, 0x10, 0, 130},  // 6 bits: 0x20
                                           {1, 0x20, 0, 129},  // 7 bits: 0x40
                                           {0, 0x0F, 1, 255},  // 5 bits: 0x1F
                                           {3, 0x40, 1, 129},  // 8 bits
                                           {5, 0x40, 0, 129}}) {
        model::Bc7Fields fields;
        fields.mode = c.mode;
        for (auto& endpoint : fields.endpoints) endpoint = {c.stored, c.stored, c.stored, 0};
        fields.pBits.fill(c.pBit);
        const Texel texel = model::decodeBC7(model::packBC7(fields))[9];
        EXPECT_EQ(texel.r, c.widened) << "mode " << c.mode;
        EXPECT_EQ(texel.b, c.widened) << "mode " << c.mode;
        if (c.mode < 4) {
            EXPECT_EQ(texel.a, 255) << "mode " << c.mode;
        }
    }
}

// In mode 1 both endpoints of a subset share a p-bit; in mode 3 each endpoint has its own.
TEST(BlockModel, BC7PBits) {
    model::Bc7Fields fields;
    fields.mode = 1;
    fields.partition = 13;  // rows 0 and 1, rows 2 and 3
    fields.pBits = {0, 1};
    fields.primary = {0, 0, 0, 0, 7, 7, 7, 7, 0, 0, 0, 0, 7, 7, 7, 7};
    auto texels = model::decodeBC7(model::packBC7(fields));
    // The 7-bit value 1 widens to 2.
    for (std::size_t row = 0; row < 3; ++row) EXPECT_EQ(texels[4 * row + 1].g, row < 2 ? 0 : 2) << row;

    fields.mode = 3;
    fields.pBits = {0, 1, 1, 0};
    fields.primary = {0, 0, 0, 0, 3, 3, 3, 3, 0, 0, 0, 0, 3, 3, 3, 3};
    texels = model::decodeBC7(model::packBC7(fields));
    EXPECT_EQ(texels[1].g, 0);
    EXPECT_EQ(texels[5].g, 1);
    EXPECT_EQ(texels[9].g, 1);
    EXPECT_EQ(texels[13].g, 0);
}

// The fields of every mode fill the block without a gap or an overlap: packing what was unpacked gives the block back.
TEST(BlockModel, BC6HFieldsFillTheBlock) {
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
        EXPECT_EQ(model::packBC6H(fields), block) << "mode " << mode.number;
    }
}

TEST(RandomBlocks, ReachEveryShape) {
    model::Random random(2);
    std::set<std::array<int, 2>> bc7Headers;
    for (const PackedBlock& block : model::everyBC7Shape(random)) {
        const int mode = std::countr_zero(block[0]);
        const auto shape = static_cast<std::size_t>(mode);
        const int headerBits = mode == 8 ? 0
                                         : model::bc7Modes[shape].partitionBits + model::bc7Modes[shape].rotationBits +
                                               model::bc7Modes[shape].selectionBits;
        bc7Headers.insert({mode, model::bitsOf(block, mode == 8 ? 0 : mode + 1, headerBits)});
        if (mode < 4 || mode == 8) {
            for (const Texel& texel : model::decodeBC7(block)) EXPECT_EQ(texel.a, 255) << "mode " << mode;
        }
    }
    // Partitions of modes 0 to 3, rotations and selections of 4, rotations of 5, mode 6, partitions of 7, reserved.
    EXPECT_EQ(bc7Headers.size(), 16U + 3 * 64 + 8 + 4 + 1 + 64 + 1);

    std::set<std::array<int, 2>> bc6hHeaders;
    for (const PackedBlock& block : model::everyBC6HShape(random)) {
        const int mode = model::bitsOf(block, 0, block[0] % 4 < 2 ? 2 : 5);
        bc6hHeaders.insert({mode, mode % 4 == 3 ? 0 : model::bitsOf(block, 77, 5)});
        // The endpoint -32768, which only mode 14 can hold, is the one that passes the largest half float.
        const float least = mode == 0x0F ? -65536.0F : -65504.0F;
        for (const bool isSigned : {false, true})
            for (const auto& texel : model::decodeBC6H(block, isSigned))
                for (const float value : texel) {
                    EXPECT_GE(value, isSigned ? least : 0.0F) << "mode value " << mode;
                    EXPECT_LE(value, 65504.0F) << "mode value " << mode;
                }
    }
    EXPECT_EQ(bc6hHeaders.size(), 10U * 32 + 4 + 4);
}

TEST(FloatModel, Halves) {
    const std::vector<std::pair<std::uint16_t, float>> cases = {
        {0x3C00, 1.0F},     {0xC000, -2.0F},    {0x3555, 0.333251953125F}, {0x0400, 0x1p-14F},
        {0x0001, 0x1p-24F}, {0x0000, 0.0F},     {0x8000, -0.0F},           {0x7BFF, 65504.0F},
        {0x7C00, 65536.0F}, {0x7E00, 98304.0F}, {0x7FFF, 131008.0F},       {0xFC00, -65536.0F}};
    for (const auto& [half, value] : cases)
        EXPECT_EQ(std::bit_cast<std::uint32_t>(model::halfToFloat(half)), std::bit_cast<std::uint32_t>(value))
            << std::hex << half;
}

TEST(FloatModel, PackedWords) {
    using Rgb = std::array<float, 3>;
    constexpr float tiny = 0x1p-15F;
    EXPECT_EQ(model::unpackR11G11B10(0x000003C0), (Rgb{1.0F, tiny, tiny}));
    EXPECT_EQ(model::unpackR11G11B10(0), (Rgb{tiny, tiny, tiny}));
    EXPECT_EQ(model::unpackR11G11B10(0x78000000), (Rgb{tiny, tiny, 1.0F}));
    EXPECT_EQ(model::unpackR11G11B10(0xFFFFFFFF), (Rgb{130048.0F, 130048.0F, 129024.0F}));
    EXPECT_EQ(model::unpackR9G9B9E5(0x80000100), (Rgb{1.0F, 0.0F, 0.0F}));
    EXPECT_EQ(model::unpackR9G9B9E5(0), (Rgb{0.0F, 0.0F, 0.0F}));
    EXPECT_EQ(model::unpackR9G9B9E5(0xFFFFFFFF), (Rgb{65408.0F, 65408.0F, 65408.0F}));
    EXPECT_EQ(model::unpackR9G9B9E5(0x00000001), (Rgb{0x1p-24F, 0.0F, 0.0F}));
}

TEST(Sha256, PublishedExamples) {
    const auto digest = [](const std::string& text) {
        model::Sha256 sha;
        sha.add(Bytes(text.begin(), text.end()));
        return sha.hex();
    };
    EXPECT_EQ(digest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

// ---- files ----

constexpr std::uint32_t alphaPixels = 0x1;
constexpr std::uint32_t fourCCFlag = 0x4;
constexpr std::uint32_t rgb = 0x40;

std::uint32_t fourCC(const char* text) {
    std::uint32_t code = 0;
    std::memcpy(&code, text, 4);
    return code;
}

class File {
public:
    File(std::uint32_t width, std::uint32_t height, std::uint32_t flags, std::uint32_t code = 0) : m_bytes(128) {
        set(12, height);
        set(16, width);
        set(80, flags);
        set(84, code);
    }

    static File dxgi(std::uint32_t format, std::uint32_t width, std::uint32_t height, std::uint32_t alphaMode = 0) {
        File file(width, height, fourCCFlag, fourCC("DX10"));
        file.m_bytes.resize(148);
        return file.set(128, format).set(144, alphaMode);
    }

    File& set(std::size_t offset, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i) m_bytes[offset + i] = static_cast<unsigned char>(value >> (8 * i) & 0xFF);
        return *this;
    }

    File& masks(std::uint32_t bitCount, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t a) {
        return set(88, bitCount).set(92, r).set(96, g).set(100, b).set(104, a);
    }

    File& add(const Bytes& data) {
        m_bytes.insert(m_bytes.end(), data.begin(), data.end());
        return *this;
    }

    model::Picture read() const { return model::read(m_bytes); }

private:
    Bytes m_bytes;
};

using Rows = std::vector<Bytes>;

TEST(ReaderModel, RefusesAnIncompleteHeader) {
    EXPECT_EQ(model::read(Bytes(127)).result, Result::refused);
    EXPECT_EQ(model::read(Bytes(128)).result, Result::fallback);
}

TEST(ReaderModel, FallbackIsOpaqueBlack) {
    const model::Picture picture = File(7, 7, 0).read();
    EXPECT_EQ(picture.result, Result::fallback);
    EXPECT_EQ(picture.width, 64U);
    EXPECT_EQ(picture.height, 64U);
    EXPECT_EQ(picture.colourChannels, 4U);
    EXPECT_FALSE(picture.hasAlpha);
    EXPECT_EQ(picture.bits, 8);
    EXPECT_EQ(picture.scanline(63), (Rows{Bytes(64, 0), Bytes(64, 0), Bytes(64, 0), Bytes(64, 255)}));
    EXPECT_EQ(File(7, 7, alphaPixels).read().colourChannels, 3U);
}

// One-pixel files: what the header chooses and the bytes of the pixel's channels.
struct OnePixel {
    const char* name;
    File file;
    int layout;
    std::uint32_t colourChannels;
    bool hasAlpha;
    Bytes channels;
};

TEST(ReaderModel, WhatAFileLacksIsZero) {
    // The low byte of a 16-bit value alone is nothing; missing bytes are not converted.
    EXPECT_EQ(File::dxgi(58, 3, 1).add({0, 0, 5}).read().scanline(0), (Rows{{127, 0, 0}}));
    EXPECT_EQ(File::dxgi(31, 1, 1).add({0, 0}).read().scanline(0), (Rows{{127}, {127}, {0}, {0}}));
    EXPECT_EQ(File(1, 1, rgb).masks(16, 0xF800, 0x7E0, 0x1F, 0).add({0xFF}).read().scanline(0),
              (Rows{{0}, {28}, {255}}));
    // Rows that are read one at a time count whole or not at all.
    const model::Picture pairs = File(2, 2, fourCCFlag, fourCC("RGBG")).add({1, 2, 3, 4, 5, 6, 7}).read();
    EXPECT_EQ(pairs.result, Result::decoded);
    EXPECT_EQ(pairs.scanline(1), (Rows{{1, 1}, {2, 4}, {3, 3}}));
    EXPECT_EQ(pairs.scanline(0), (Rows{{0, 0}, {0, 0}, {0, 0}}));
    const model::Picture floats = File::dxgi(26, 1, 2).add({0, 0, 0, 0x78, 0, 0, 0}).read();
    EXPECT_EQ(floats.scanline(1), (Rows{{0, 0, 0, 0x38}, {0, 0, 0, 0x38}, {0, 0, 0x80, 0x3F}}));
    EXPECT_EQ(floats.scanline(0), (Rows{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
}

TEST(ReaderModel, HugeSizesAreFailedAllocations) {
    struct Case {
        const char* name;
        File file;
        Result result;
        const char* printed;
    };
    const char* none = "Insufficient memory to load DDS file";
    const std::uint32_t big = 0xFFFFFFFF;
    const std::vector<Case> cases = {
        {"masks", File(big, big, rgb).set(88, big), Result::fallback, none},
        {"masks of 4 GiB less one row", File(0x10000, 0xFFFF, rgb).set(88, 8), Result::decoded, ""},
        {"masks of 4 GiB", File(0x10000, 0x10000, rgb).set(88, 8), Result::fallback, none},
        {"channel rows of 6 GiB", File(0x80000000, 1, rgb).set(88, 8), Result::fallback, ""},
        {"float", File(0x8000, 0x8000, 0, 116), Result::fallback, ""},
        {"float row", File(0x40000000, 0, 0, 116), Result::fallback, ""},
        {"packed float", File::dxgi(67, big, 2), Result::fallback, ""},
        {"palette", File(0x8000, 0x8000, 0x20), Result::fallback, none},
        {"16 bits", File(0x8000, 0x8000, fourCCFlag, 36), Result::fallback, none},
        {"pairs", File(0x8000, 0x8000, fourCCFlag, fourCC("RGBG")), Result::fallback, none},
        {"blocks", File(0x8000, 0x8000, fourCCFlag, fourCC("DXT1")), Result::fallback, none},
        {"float blocks", File::dxgi(95, 0x4000, 0x4000), Result::fallback, none},
        {"float blocks below", File::dxgi(95, 0x4000, 0x3FFF), Result::fallback, "Error loading DDS pixel data"},
        {"empty rows", File(0, big, rgb).set(88, 32), Result::decoded, ""},
    };
    for (const Case& c : cases) {
        const model::Picture picture = c.file.read();
        EXPECT_EQ(picture.result, c.result) << c.name;
        EXPECT_EQ(picture.printed, c.printed) << c.name;
    }
}

// ---- real files ----

Bytes contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string digestOf(const model::Picture& picture) {
    model::Sha256 sha;
    for (std::uint32_t y = 0; y < picture.height; ++y)
        for (const Bytes& row : picture.scanline(y)) sha.add(row);
    return sha.hex();
}

// The columns of the list of expectations after the file name, tab-separated.
std::string describe(const model::Picture& picture, bool withDigest) {
    if (picture.result == Result::refused) return "refused\t-\t-\t-\t-\t-\t-\t-";
    std::ostringstream text;
    text << (picture.result == Result::decoded ? "decoded" : "black") << '\t' << picture.width << '\t' << picture.height
         << '\t' << picture.colourChannels << '\t' << picture.hasAlpha << '\t' << picture.bits << '\t'
         << (picture.printed.empty() ? "-" : picture.printed) << '\t' << (withDigest ? digestOf(picture) : "-");
    return text.str();
}

TEST(ReaderModel, RealFiles) {
    const std::filesystem::path folder = KPX_SAMPLES_DIR;
    std::ifstream list(folder / "expected.tsv");
    if (!list) GTEST_SKIP() << "no sample files in " << folder;
    int compared = 0;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#' || line.starts_with("file\t")) continue;
        const std::string name = line.substr(0, line.find('\t'));
        const std::string expected = line.substr(name.size() + 1);
        const bool hasDigest = !expected.ends_with("\t-");
        EXPECT_EQ(describe(model::read(contents(folder / name)), hasDigest), expected) << name;
        ++compared;
    }
    EXPECT_GT(compared, 0);
}

}  // namespace
