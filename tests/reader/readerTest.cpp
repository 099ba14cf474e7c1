// Whole files through the reader, held against the model: every family of formats, every order of the choice of
// loader, sizes from nothing upwards, and files that end too early.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "blocks/bc1.h"
#include "blocks/bc2.h"
#include "blocks/bc3.h"
#include "blocks/bc7.h"
#include "reader/TddsReader.h"
#include "reader/formatTable.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/families.h"
#include "tests/support/likeModel.h"

using namespace kpx;
using namespace testing_support;

namespace {

struct Size {
    std::uint32_t width, height;
};
constexpr Size sizes[] = {{1, 1},   {2, 3},  {3, 2},  {4, 4},   {5, 5}, {8, 4}, {13, 7},
                          {16, 16}, {33, 9}, {67, 5}, {260, 6}, {0, 5}, {5, 0}};

class EveryFormat : public testing::TestWithParam<const KernelSet*> {
protected:
    void SetUp() override {
        if (!GetParam()->runsHere()) GTEST_SKIP() << "this processor cannot run the kernels " << GetParam()->name;
    }
};

}  // namespace

TEST_P(EveryFormat, IsReadAsTheModelSaysInEverySize) {
    model::Random random(1);
    for (const Format& format : formatTable()) {
        for (const Size size : sizes) {
            Bytes file = headerFor(format, size.width, size.height);
            const Bytes data = randomBytes(random, std::size_t{size.width} * size.height * 16 + 1200);
            file.insert(file.end(), data.begin(), data.end());
            EXPECT_TRUE(readsLikeModel(file, *GetParam()))
                << format.name << ", " << size.width << " by " << size.height;
        }
    }
}

TEST_P(EveryFormat, OfATooShortFileIsReadAsTheModelSays) {
    model::Random random(2);
    for (const Format& format : formatTable()) {
        for (const std::size_t bytes : {0U, 1U, 3U, 17U, 64U, 97U, 130U, 200U, 255U, 1090U}) {
            Bytes file = headerFor(format, 13, 9);
            const Bytes data = randomBytes(random, bytes);
            file.insert(file.end(), data.begin(), data.end());
            EXPECT_TRUE(readsLikeModel(file, *GetParam())) << format.name << " with " << bytes << " bytes of data";
        }
        for (const std::size_t bytes : {0U, 127U, 128U, 147U, 148U}) {
            const Bytes file = cutTo(withData(headerFor(format, 13, 9), 100), bytes);
            EXPECT_TRUE(readsLikeModel(file, *GetParam())) << format.name << ", cut to " << bytes;
        }
    }
}

TEST(Sides, OfNoPixelsMakeEmptyPicturesAndAboveSignedNumbersNone) {
    constexpr std::uint32_t most = 0x7FFFFFFF;
    for (const Format& format : formatTable()) {
        for (const auto& [width, height] : std::initializer_list<std::pair<std::uint32_t, std::uint32_t>>{
                 {0, most}, {most, 0}, {0, most + 1}, {most + 1, 0}, {1, 0xFFFFFFFF}}) {
            EXPECT_TRUE(readsLikeModel(withData(headerFor(format, width, height), 1100)))
                << format.name << ", " << width << " by " << height;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryFormat, testing::ValuesIn(kernelSets().begin(), kernelSets().end()),
                         [](const auto& instance) { return std::string(instance.param->name); });

TEST(ChoiceOfLoader, FollowsFlagsThenCodes) {
    model::Random random(3);
    const Bytes data = randomBytes(random, 4096);
    forEveryDispatch(random, [&](const DdsFileHeader& file) {
        EXPECT_TRUE(readsLikeModel(fileOf(file, data))) << "flags " << file.header.ddspf.dwFlags << ", code "
                                                        << file.header.ddspf.dwFourCC << ", " << file.header.dwFlags;
    });
}

TEST(Dx10Header, WithEveryNumberIsReadOrRefused) {
    model::Random random(4);
    const Bytes data = randomBytes(random, 6 * 4 * 16);
    for (std::uint32_t number = 0; number < 140; ++number) {
        for (const std::uint32_t alphaMode : {0U, 1U, 2U, 3U, 10U, 0xFFFFFFFFU}) {
            EXPECT_TRUE(readsLikeModel(dx10File(number, 6, 4, data, alphaMode)))
                << number << ", alpha mode " << alphaMode;
        }
    }
    Bytes cut = dx10File(28, 1, 1);
    cut.resize(147);
    EXPECT_TRUE(readsLikeModel(cut));
}

TEST(MaskedPixels, OfAnyMasksAndBitCountAreReadAsTheModelSays) {
    model::Random random(5);
    const auto randomMask = [&random]() -> std::uint32_t {
        const auto any = static_cast<std::uint32_t>(random.next());
        const int shift = random.below(32);
        switch (random.below(4)) {
            case 0:
                return any;
            case 1:
                return 0;
            case 2:
                return (1U << (1 + random.below(16))) - 1;
            default:
                return ((1U << (1 + random.below(12))) - 1) << shift;
        }
    };
    for (int round = 0; round < 600; ++round) {
        DdsFileHeader file = headerOf(static_cast<std::uint32_t>(1 + random.below(70)), 2);
        DDS_PIXELFORMAT& format = file.header.ddspf;
        const std::uint32_t kinds[] = {DDPF_RGB, DDPF_RGB | DDPF_ALPHAPIXELS, DDPF_ALPHA,
                                       DDPF_ALPHA | DDPF_ALPHAPIXELS};
        format.dwFlags = kinds[random.below(4)];
        format.dwRGBBitCount = static_cast<std::uint32_t>(random.below(72));
        format.dwRBitMask = randomMask();
        format.dwGBitMask = randomMask();
        format.dwBBitMask = randomMask();
        format.dwABitMask = random.below(3) == 0 ? 0xFF : randomMask();
        const Bytes bytes = fileOf(file, randomBytes(random, 70 * 2 * 9));
        for (const KernelSet* kernels : kernelSets()) {
            if (!kernels->runsHere()) continue;
            ASSERT_TRUE(readsLikeModel(bytes, *kernels)) << "round " << round;
        }
    }
}

TEST(BlockData, IsReadByTheLargestOfItsSizes) {
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

TEST(Reader, RefusesWhatHasNoWholeHeader) {
    TddsReader reader;
    EXPECT_EQ(reader.open("/nonexistent/picture.dds"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(reader.open("/"), -1);
    EXPECT_EQ(errno, EISDIR);
    for (const std::size_t bytes : {0U, 3U, 127U, 128U}) EXPECT_TRUE(readsLikeModel(Bytes(bytes, 0))) << bytes;
}

TEST(Reader, ForgetsTheFirstFileWhenItOpensAnother) {
    DdsFileHeader grey = headerOf(9, 2);
    grey.header.ddspf.dwFlags = DDPF_LUMINANCE;
    const TemporaryFile first(dx10File(10, 6, 4, Bytes(6 * 4 * 8, 0x3C)));
    const TemporaryFile second(fileOf(grey, Bytes(18, 7)));
    TddsReader reader;
    ASSERT_EQ(reader.open(first.path()), 0);
    EXPECT_EQ(reader.bitsPerChannel(), 32);
    ASSERT_EQ(reader.open(second.path()), 0);
    EXPECT_EQ(reader.bitsPerChannel(), 8);
    EXPECT_EQ(reader.numColourChannels(), 1);
    EXPECT_EQ(reader.getScanlineChannelsAsBytes(1)[0][8], 7);
    EXPECT_EQ(reader.getScanlineChannelsAsBytes(2), nullptr);
    EXPECT_EQ(reader.getScanlineChannelsAsBytes(-1), nullptr);
    EXPECT_EQ(reader.open("/nonexistent"), -1);
    EXPECT_EQ(reader.width(), 0U);
    reader.close();
    reader.close();
    EXPECT_EQ(reader.getScanlineChannelsAsBytes(0), nullptr);
}

// Whatever loader has filled the picture, and whatever was read before.
TEST(Reader, ConvertsSignedBytesOfAnyPicture) {
    DdsFileHeader palette = headerOf(9, 2);
    palette.header.ddspf.dwFlags = DDPF_PALETTEINDEXED8;
    DdsFileHeader packed = headerOf(9, 2);  // fewer bytes than channels
    packed.header.ddspf = {32, DDPF_RGB, 0, 16, 0xF800, 0x7E0, 0x1F, 0};
    TddsReader reader;
    for (const Bytes& file : {fileOf(palette, Bytes(1024 + 18, 0x40)), fileOf(packed, Bytes(36, 0)),
                              dx10File(2, 9, 2, Bytes(9 * 2 * 16, 0x40))}) {
        const TemporaryFile onDisk(file);
        ASSERT_EQ(reader.open(onDisk.path()), 0);
        const int before = reader.getScanlineChannelsAsBytes(0)[0][8];
        reader.convertSnorm();
        EXPECT_EQ(reader.getScanlineChannelsAsBytes(0)[0][8], reader.bitsPerChannel() == 32 ? before
                                                              : before == 0                 ? 123
                                                                                            : 191);
    }
}

namespace {

// A block-compressed code and the member that decodes a whole picture of it.
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

}  // namespace

TEST(DecoderMembers, OfWholePicturesDecodeAsTheLoaderDoes) {
    constexpr std::uint32_t width = 13;
    constexpr std::uint32_t height = 9;
    model::Random random(8);
    for (const WholeDecoder& decoder : wholeDecoders) {
        Bytes blocks = randomBytes(random, 4 * 3 * 16);
        const DdsFileHeader header = codeHeader(fourCC(decoder.code), width, height, DDSD_LINEARSIZE);
        const TemporaryFile other(fileOf(header, randomBytes(random, blocks.size())));
        const TemporaryFile same(fileOf(header, blocks));
        TddsReader reader;
        TddsReader expected;
        ASSERT_EQ(reader.open(other.path()), 0);
        ASSERT_EQ(expected.open(same.path()), 0);
        decoder.decode(reader, blocks.data());
        for (int y = 0; y < static_cast<int>(height); ++y) {
            unsigned char** rows = reader.getScanlineChannelsAsBytes(y);
            unsigned char** expectedRows = expected.getScanlineChannelsAsBytes(y);
            const std::size_t rowBytes = width * static_cast<std::size_t>(expected.bitsPerChannel()) / 8;
            for (int c = 0; c < 4; ++c) {
                EXPECT_EQ(std::memcmp(rows[c], expectedRows[c], rowBytes), 0) << decoder.code << ", row " << y;
            }
        }
    }
}

TEST(DecoderMembers, OfSingleBlocksUseTheWidthOfThePicture) {
    constexpr std::uint32_t width = 8;
    model::Random random(9);
    Bytes block = randomBytes(random, 16);
    const TemporaryFile file(fileOf(codeHeader(fourCC("DXT7"), width, 4, DDSD_LINEARSIZE), Bytes(32, 0)));
    TddsReader reader;
    ASSERT_EQ(reader.open(file.path()), 0);
    ASSERT_EQ(reader.width(), width);
    const auto same = [](const auto& member, const auto& free) {
        A8R8G8B8Colour texels[2][4 * width] = {};
        member(texels[0]);
        free(texels[1]);
        return std::memcmp(texels[0], texels[1], sizeof texels[0]) == 0;
    };
    unsigned char* const bytes = block.data();
    EXPECT_TRUE(same([&](auto* out) { EXPECT_EQ(reader.decompressColourBlock(bytes, out, 1), 8); },
                     [&](auto* out) { decompressColourBlock(bytes, out, width, 1); }));
    EXPECT_TRUE(same([&](auto* out) { EXPECT_EQ(reader.decompressNonInterpAlphaBlock(bytes, out, 1), 16); },
                     [&](auto* out) { decompressNonInterpAlphaBlock(bytes, out, width, 1); }));
    EXPECT_TRUE(same([&](auto* out) { EXPECT_EQ(reader.decompressInterpAlphaBlock(bytes, out, 0), 16); },
                     [&](auto* out) { decompressInterpAlphaBlock(bytes, out, width, 0); }));
    EXPECT_TRUE(same([&](auto* out) { reader.decompressBC7Block(bytes, out); },
                     [&](auto* out) { decompressBC7Block(bytes, out, width); }));
}
