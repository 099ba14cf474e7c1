// Reads whole files and compares with the model: every family of formats, every case of the choice of loader, sizes
// from 0 up, and truncated files.
#include <gtest/gtest.h>

#include <set>

#include <cerrno>

#include "dds/formatTable.h"
#include "reader/TddsReader.h"
#include "tests/model/blockModel.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/families.h"
#include "tests/support/likeModel.h"

using namespace kpx;
using namespace testing_support;

namespace {

class EveryFormat : public testing::TestWithParam<const KernelSet*> {
protected:
    void SetUp() override {
        if (!GetParam()->runsHere()) GTEST_SKIP() << "this processor cannot run the kernels " << GetParam()->name;
    }
};

}  // namespace

TEST_P(EveryFormat, MatchesTheModelInEverySize) {
    model::Random random(1);
    using Sides = std::pair<std::uint32_t, std::uint32_t>;
    for (const Format& format : formatTable()) {
        for (const auto& [width, height] : {Sides{1, 1},
                                            {2, 3},
                                            {3, 2},
                                            {4, 4},
                                            {5, 5},
                                            {8, 4},
                                            {13, 7},
                                            {16, 16},
                                            {33, 9},
                                            {67, 5},
                                            {260, 6},
                                            {0, 5},
                                            {5, 0}}) {
            const std::size_t dataBytes = std::size_t{width} * height * 16 + 1200;
            EXPECT_TRUE(readsLikeModel(randomFile(random, format, width, height, dataBytes), *GetParam()))
                << format.name << ", " << width << " by " << height;
        }
        // Sides of 0 make empty pictures; sides above 2^31 - 1 make none.
        constexpr std::uint32_t most = 0x7FFFFFFF;
        for (const auto& [width, height] : {Sides{0, most}, {most, 0}, {0, most + 1}, {most + 1, 0}, {1, 0xFFFFFFFF}}) {
            EXPECT_TRUE(readsLikeModel(randomFile(random, format, width, height, 1100), *GetParam()))
                << format.name << ", " << width << " by " << height;
        }
    }
}

// A picture of exactly 4 GiB is read; one with another row or column is not.
TEST_P(EveryFormat, IsLimitedTo4GiB) {
    for (const std::uint32_t width : {1U << 14, (1U << 14) + 1}) {
        const Bytes floats = dx10File(2, width, 1 << 14);
        EXPECT_TRUE(readsLikeModel(TemporaryFile(floats).path(), floats, *GetParam(), 1 << 14)) << width;
        DdsFileHeader words = maskHeader(DDPF_RGB, 32, {0xFF, 0xFF00, 0xFF0000, 0}, 1 << 15);
        words.header.dwHeight = 2 * width;
        const Bytes bytes = fileOf(words);
        EXPECT_TRUE(readsLikeModel(TemporaryFile(bytes).path(), bytes, *GetParam(), 1 << 15)) << width;
    }
}

TEST_P(EveryFormat, MatchesTheModelInShortFiles) {
    model::Random random(2);
    for (const Format& format : formatTable()) {
        for (const std::size_t bytes : {0U, 1U, 3U, 17U, 64U, 97U, 130U, 200U, 255U, 1090U}) {
            EXPECT_TRUE(readsLikeModel(randomFile(random, format, 13, 9, bytes), *GetParam()))
                << format.name << " with " << bytes << " bytes of data";
        }
        for (const std::size_t bytes : {0U, 127U, 128U, 147U, 148U}) {
            EXPECT_TRUE(readsLikeModel(cutTo(randomFile(random, format, 13, 9, 100), bytes), *GetParam()))
                << format.name << ", cut to " << bytes;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryFormat, testing::ValuesIn(kernelSets().begin(), kernelSets().end()),
                         [](const auto& instance) { return std::string(instance.param->name); });

// The picture of a truncated file may get the memory of a larger one, of which nothing must remain.
TEST(Reader, ClearsReusedMemory) {
    std::set<std::pair<Loader, std::uint32_t>> seen;
    const Bytes data(std::size_t{1024} * 600 * 16, 0x77);
    for (const Format& format : formatTable()) {
        if (!seen.insert({format.loader, format.layout}).second) continue;
        for (const std::size_t bytes : {data.size(), std::size_t{900013}, std::size_t{70000}}) {
            Bytes file = headerFor(format, 1024, 600);
            file.insert(file.end(), data.begin(), data.begin() + static_cast<std::ptrdiff_t>(bytes));
            EXPECT_TRUE(readsLikeModel(file)) << format.name << " with " << bytes << " bytes of data";
        }
    }
}

// All combinations of format flags, codes of every loader and of none, and DDSD_LINEARSIZE.
TEST(ChoiceOfLoader, DependsOnFlagsThenCodes) {
    std::vector<std::uint32_t> codes = {0, 25, 34, 36, 50, 110, 111, 113, 116, 117, 134, 135, 136, 1116};
    for (const char* name : {"DXT1", "DXT5", "DXT6", "DXT7", "BC5U", "BC5S", "BC4U", "ATI1", "ATI2", "RGBG", "DX10"}) {
        codes.push_back(load32(reinterpret_cast<const unsigned char*>(name)));
    }
    model::Random random(3);
    const Bytes data = randomBytes(random, 4096);
    for (std::uint32_t subset = 0; subset < 256; ++subset) {
        const std::uint32_t flags = (subset & 0x7F) | (subset >> 7) * DDPF_LUMINANCE;
        for (const std::uint32_t code : codes) {
            for (const std::uint32_t linear : {0U, DDSD_LINEARSIZE}) {
                DdsFileHeader file = codeHeader(code, 5, 3, linear);
                file.header.ddspf = {32, flags, code, random.below(2) == 0 ? 16U : 32U, 0xF800, 0, 0, 0xFF};
                EXPECT_TRUE(readsLikeModel(fileOf(file, data)))
                    << std::hex << flags << ", code " << code << ", " << linear;
            }
        }
    }
}

TEST(Dx10Header, MatchesTheModelForEveryNumber) {
    model::Random random(4);
    const Bytes data = randomBytes(random, 6 * 4 * 16);
    for (std::uint32_t number = 0; number < 140; ++number) {
        for (const std::uint32_t alphaMode : {0U, 1U, 2U, 3U, 10U, 0xFFFFFFFFU}) {
            EXPECT_TRUE(readsLikeModel(dx10File(number, 6, 4, data, alphaMode)))
                << number << ", alpha mode " << alphaMode;
        }
    }
}

TEST(MaskedPixels, MatchTheModelForAnyMasks) {
    model::Random random(5);
    const auto randomMask = [&random]() -> std::uint32_t {
        const auto any = static_cast<std::uint32_t>(random.next());
        const auto run = [&random](int most) { return (1U << (1 + random.below(most))) - 1; };
        const std::uint32_t masks[] = {any, 0, run(16), run(12) << random.below(32)};
        return masks[random.below(4)];
    };
    for (int round = 0; round < 600; ++round) {
        DdsFileHeader file = headerOf(static_cast<std::uint32_t>(1 + random.below(70)), 2);
        DDS_PIXELFORMAT& format = file.header.ddspf;
        const std::uint32_t kinds[] = {DDPF_RGB, DDPF_RGB | DDPF_ALPHAPIXELS, DDPF_ALPHA,
                                       DDPF_ALPHA | DDPF_ALPHAPIXELS};
        const auto bitCount = static_cast<std::uint32_t>(random.below(72));
        const std::uint32_t alpha = random.below(3) == 0 ? 0xFF : randomMask();
        format = {32, kinds[random.below(4)], 0, bitCount, randomMask(), randomMask(), randomMask(), alpha};
        const Bytes bytes = fileOf(file, randomBytes(random, 70 * 2 * 9));
        for (const KernelSet* kernels : kernelSets()) {
            if (!kernels->runsHere()) continue;
            ASSERT_TRUE(readsLikeModel(bytes, *kernels)) << "round " << round;
        }
    }
}

TEST(BlockData, HasTheLargestOfItsSizes) {
    model::Random random(6);
    for (const std::uint32_t linearSize : {0U, 8U, 32U, 63U, 64U, 65U, 128U, 129U, 0xFFFFFFFFU}) {
        for (const std::size_t bytes : {8U, 32U, 64U, 100U, 128U}) {
            for (const char* name : {"DXT1", "DXT5", "ATI1", "BC7U"}) {
                DdsFileHeader file =
                    codeHeader(load32(reinterpret_cast<const unsigned char*>(name)), 6, 7, DDSD_LINEARSIZE);
                file.header.dwPitchOrLinearSize = linearSize;
                EXPECT_TRUE(readsLikeModel(fileOf(file, randomBytes(random, bytes))))
                    << name << ", " << linearSize << ", " << bytes;
            }
        }
    }
}

TEST(Reader, CanBeReopened) {
    TddsReader reader;
    const TemporaryFile first(dx10File(10, 6, 4, Bytes(6 * 4 * 8, 0x3C)));
    const TemporaryFile second(dx10File(61, 9, 2, Bytes(18, 7)));
    ASSERT_EQ(reader.open(first.path()), 0);
    EXPECT_EQ(reader.bitsPerChannel(), 32);
    ASSERT_EQ(reader.open(second.path()), 0);
    EXPECT_EQ(reader.bitsPerChannel(), 8);
    EXPECT_EQ(reader.numColourChannels(), 1);
    EXPECT_EQ(reader.getScanlineChannelsAsBytes(1)[0][8], 7);
    for (const int outside : {-1, 2}) EXPECT_EQ(reader.getScanlineChannelsAsBytes(outside), nullptr);
    for (const auto& [path, reason] : {std::pair{"/nonexistent/picture.dds", ENOENT}, {"/", EISDIR}}) {
        EXPECT_EQ(reader.open(path), -1);
        EXPECT_EQ(errno, reason);
        EXPECT_EQ(reader.width() + reader.height(), 0U);
    }
    reader.close();
    reader.close();
    EXPECT_EQ(reader.getScanlineChannelsAsBytes(0), nullptr);
}

// convertSnorm does not depend on the loader, or on files read before.
TEST(Reader, ConvertsSignedBytes) {
    TddsReader reader;
    DdsFileHeader palette = headerOf(9, 2);
    palette.header.ddspf.dwFlags = DDPF_PALETTEINDEXED8;
    DdsFileHeader packed = headerOf(9, 2);  // fewer bytes than channels
    packed.header.ddspf = {32, DDPF_RGB, 0, 16, 0xF800, 0x7E0, 0x1F, 0};
    const struct {
        Bytes file;
        int before, after;
    } cases[] = {{fileOf(palette, Bytes(1024 + 18, 0x40)), 0x40, 191},
                 {fileOf(packed, Bytes(36, 0)), 0, 123},
                 {dx10File(2, 9, 2, Bytes(9 * 2 * 16, 0x40)), 0x40, 0x40}};
    for (const auto& each : cases) {
        const TemporaryFile file(each.file);
        ASSERT_EQ(reader.open(file.path()), 0);
        EXPECT_EQ(reader.getScanlineChannelsAsBytes(0)[0][8], each.before);
        reader.convertSnorm();
        EXPECT_EQ(reader.getScanlineChannelsAsBytes(0)[0][8], each.after);
    }
}

namespace {

// A member that decodes a whole picture, and the code for which its loader does the same.
struct WholeDecoder {
    const char (&code)[5];
    void (*decode)(TddsReader& reader, unsigned char* blocks);
};
const WholeDecoder wholeDecoders[] = {
    {"DXT1", [](TddsReader& reader, unsigned char* blocks) { reader.decompressDXT1(blocks); }},
    {"DXT2", [](TddsReader& reader, unsigned char* blocks) { reader.decompressDXT2(blocks); }},
    {"DXT3", [](TddsReader& reader, unsigned char* blocks) { reader.decompressDXT3(blocks); }},
    {"DXT4", [](TddsReader& reader, unsigned char* blocks) { reader.decompressDXT4(blocks); }},
    {"DXT5", [](TddsReader& reader, unsigned char* blocks) { reader.decompressDXT5(blocks); }},
    {"BC4U", [](TddsReader& reader, unsigned char* blocks) { reader.decompressBC4(blocks, false); }},
    {"BC4S", [](TddsReader& reader, unsigned char* blocks) { reader.decompressBC4(blocks, true); }},
    {"ATI2", [](TddsReader& reader, unsigned char* blocks) { reader.decompressBC5(blocks, false); }},
    {"DXT6", [](TddsReader& reader, unsigned char* blocks) { reader.decompressBC6H(blocks); }},
    {"DXT7", [](TddsReader& reader, unsigned char* blocks) { reader.decompressBC7(blocks); }},
};

// A member that decodes one block and returns the bytes consumed, and the same decoder of the model.
struct BlockMember {
    std::string model;
    int (*decode)(TddsReader& reader, unsigned char* block, A8R8G8B8Colour* out);
};
const BlockMember blockMembers[] = {
    {"bc1", [](auto& reader, auto* block, auto* out) { return reader.decompressColourBlock(block, out, 1); }},
    {"bc2Premultiplied",
     [](auto& reader, auto* block, auto* out) { return reader.decompressNonInterpAlphaBlock(block, out, 1); }},
    {"bc3", [](auto& reader, auto* block, auto* out) { return reader.decompressInterpAlphaBlock(block, out, 0); }},
    {"bc7", [](auto& reader, auto* block, auto* out) { return reader.decompressBC7Block(block, out), 16; }},
};

}  // namespace

TEST(DecoderMembers, DecodePicturesLikeTheLoader) {
    model::Random random(8);
    for (const WholeDecoder& decoder : wholeDecoders) {
        Bytes blocks = randomBytes(random, 4 * 3 * 16);
        const DdsFileHeader header = codeHeader(fourCC(decoder.code), 13, 9, DDSD_LINEARSIZE);
        const TemporaryFile other(fileOf(header, randomBytes(random, blocks.size())));
        const TemporaryFile same(fileOf(header, blocks));
        TddsReader reader;
        TddsReader expected;
        ASSERT_EQ(reader.open(other.path()), 0);
        ASSERT_EQ(expected.open(same.path()), 0);
        decoder.decode(reader, blocks.data());
        const std::size_t rowBytes = 13 * static_cast<std::size_t>(expected.bitsPerChannel()) / 8;
        for (int row = 0; row < 9 * 4; ++row) {
            const unsigned char* decoded = reader.getScanlineChannelsAsBytes(row / 4)[row % 4];
            const unsigned char* loaded = expected.getScanlineChannelsAsBytes(row / 4)[row % 4];
            EXPECT_EQ(std::memcmp(decoded, loaded, rowBytes), 0) << decoder.code << ", row " << row / 4;
        }
    }
}

TEST(DecoderMembers, DecodeBlocksByTheWidthOfThePicture) {
    constexpr std::size_t width = 8;
    model::Random random(9);
    Bytes block = randomBytes(random, 16);
    const TemporaryFile file(fileOf(codeHeader(fourCC("DXT7"), width, 4, DDSD_LINEARSIZE), Bytes(32, 0)));
    TddsReader reader;
    ASSERT_EQ(reader.open(file.path()), 0);
    for (const BlockMember& member : blockMembers) {
        A8R8G8B8Colour texels[4 * width] = {};
        const int consumed = member.decode(reader, block.data(), texels);
        for (const model::BlockFormat& format : model::blockFormats()) {
            if (format.name != member.model) continue;
            EXPECT_EQ(consumed, static_cast<int>(format.blockBytes)) << member.model;
            const model::Tile tile = format.decode(block);
            for (std::size_t row = 0; row < 4; ++row) {
                EXPECT_EQ(std::memcmp(texels + row * width, tile.data() + row * 16, 16), 0) << member.model;
            }
        }
    }
}
