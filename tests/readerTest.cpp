// Whole files through the reader, held against the model: every family of formats, every order of the choice of
// loader, sizes from nothing upwards, and files that end too early.
#include <gtest/gtest.h>

#include <cerrno>

#include "reader/TddsReader.h"
#include "reader/formatTable.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/likeModel.h"

using namespace kpx;
using namespace testing_support;

namespace {

Bytes randomBytes(model::Random& random, std::size_t count) {
    Bytes bytes(count);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.next());
    return bytes;
}

// A header that the table's row describes.
Bytes headerFor(const Format& format, std::uint32_t width, std::uint32_t height) {
    if (format.namedBy == NamedBy::dxgi) return dx10File(format.id, width, height);
    DdsFileHeader file = codeHeader(format.id, width, height, format.has(linearSizeOnly) ? DDSD_LINEARSIZE : 0);
    DDS_PIXELFORMAT& pixelFormat = file.header.ddspf;
    if (format.namedBy == NamedBy::palette) {
        pixelFormat.dwFlags = format.id;
        pixelFormat.dwFourCC = 0;
    } else if (format.namedBy == NamedBy::masks) {
        pixelFormat.dwFlags = format.channels == 1   ? DDPF_ALPHA
                              : format.channels == 4 ? DDPF_RGB | DDPF_ALPHAPIXELS
                                                     : std::uint32_t{DDPF_RGB};
        pixelFormat.dwFourCC = 0;
        pixelFormat.dwRGBBitCount = 8U * format.bytesPerPixel;
        pixelFormat.dwRBitMask = format.masks.r;
        pixelFormat.dwGBitMask = format.masks.g;
        pixelFormat.dwBBitMask = format.masks.b;
        pixelFormat.dwABitMask = format.masks.a;
    }
    return fileOf(file);
}

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
        for (const std::size_t bytes : {0, 1, 3, 17, 64, 97, 130, 200, 255, 1090}) {
            Bytes file = headerFor(format, 13, 9);
            const Bytes data = randomBytes(random, bytes);
            file.insert(file.end(), data.begin(), data.end());
            EXPECT_TRUE(readsLikeModel(file, *GetParam())) << format.name << " with " << bytes << " bytes of data";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryFormat, testing::ValuesIn(kernelSets().begin(), kernelSets().end()),
                         [](const auto& instance) { return std::string(instance.param->name); });

TEST(ChoiceOfLoader, FollowsFlagsThenCodes) {
    const std::uint32_t flagBits[] = {DDPF_ALPHAPIXELS,       DDPF_ALPHA,           DDPF_FOURCC, DDPF_PALETTEINDEXED4,
                                      DDPF_PALETTEINDEXEDTO8, DDPF_PALETTEINDEXED8, DDPF_RGB,    DDPF_LUMINANCE};
    const std::uint32_t codes[] = {0,
                                   25,
                                   34,
                                   36,
                                   50,
                                   110,
                                   111,
                                   113,
                                   116,
                                   117,
                                   134,
                                   135,
                                   136,
                                   1116,
                                   fourCC("DXT1"),
                                   fourCC("DXT5"),
                                   fourCC("DXT6"),
                                   fourCC("DXT7"),
                                   fourCC("BC5U"),
                                   fourCC("BC5S"),
                                   fourCC("BC4U"),
                                   fourCC("ATI1"),
                                   fourCC("ATI2"),
                                   fourCC("RGBG"),
                                   fourCC("DX10")};
    model::Random random(3);
    const Bytes data = randomBytes(random, 4096);
    for (std::uint32_t subset = 0; subset < 1U << std::size(flagBits); ++subset) {
        std::uint32_t flags = 0;
        for (std::size_t bit = 0; bit < std::size(flagBits); ++bit)
            flags |= (subset >> bit & 1) != 0 ? flagBits[bit] : 0;
        for (const std::uint32_t code : codes) {
            for (const std::uint32_t linear : {0U, DDSD_LINEARSIZE}) {
                DdsFileHeader file = codeHeader(code, 5, 3, linear);
                file.header.ddspf.dwFlags = flags;
                file.header.ddspf.dwRGBBitCount = random.below(2) == 0 ? 16 : 32;
                file.header.ddspf.dwRBitMask = 0xF800;
                file.header.ddspf.dwABitMask = 0xFF;
                ASSERT_TRUE(readsLikeModel(fileOf(file, data)))
                    << "flags " << flags << ", code " << code << ", " << linear;
            }
        }
    }
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
    for (const std::size_t bytes : {0, 3, 127, 128}) EXPECT_TRUE(readsLikeModel(Bytes(bytes, 0))) << bytes;
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
