// Compares every kernel at every level with the model: random and extreme blocks, small input spaces exhaustively, odd
// counts and strides. Nothing may be written outside the tiles.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "blocks/bc6h.h"
#include "blocks/bcTables.h"
#include "blocks/half.h"
#include "blocks/kernels.h"
#include "blocks/premultiplied.h"
#include "blocks/walker.h"
#include "tests/model/floatModel.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/decoders.h"

using namespace kpx;
using namespace testing_support;

namespace {

constexpr unsigned char canary = 0xA5;
constexpr std::uint64_t seed = 20;

// Decodes blocks in one strip between canaries and compares each tile with the model's.
testing::AssertionResult decodesLikeModel(const KernelSet& set, const Decoder& decoder, const Tile& blocks,
                                          std::size_t oddStride) {
    const std::size_t count = blocks.size() / decoder.blockBytes;
    const std::size_t tileBytes = 4 * decoder.texelBytes;
    const std::size_t margin = 64;
    const std::size_t rowBytes = count * tileBytes + oddStride;
    Tile image(margin + 4 * rowBytes + margin, canary);
    Tile expected = image;
    set.strips[decoder.kernel](blocks.data(), count, image.data() + margin, rowBytes);
    for (std::size_t i = 0; i < count; ++i) {
        const Tile tile = decoder.model(std::span(blocks).subspan(i * decoder.blockBytes));
        for (std::size_t row = 0; row < 4; ++row) {
            std::memcpy(expected.data() + margin + row * rowBytes + i * tileBytes, tile.data() + row * tileBytes,
                        tileBytes);
        }
    }
    if (image == expected) return testing::AssertionSuccess();
    std::size_t at = 0;
    while (image[at] == expected[at]) ++at;
    const std::size_t block = at < margin ? 0 : (at - margin) % rowBytes / tileBytes;
    return testing::AssertionFailure() << set.name << ' ' << decoder.name << ": byte " << at << " of a strip of "
                                       << count << " blocks is " << int{image[at]} << " and not " << int{expected[at]}
                                       << ", near block " << block << ", seed " << seed;
}

void append(Tile& blocks, const model::PackedBlock& block, std::size_t bytes) {
    blocks.insert(blocks.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(bytes));
}

class EveryLevel : public testing::TestWithParam<const KernelSet*> {
protected:
    void SetUp() override {
        if (!GetParam()->runsHere()) GTEST_SKIP() << "this processor cannot run the kernels " << GetParam()->name;
    }
    const KernelSet& set() const { return *GetParam(); }
};

std::vector<const KernelSet*> allSets() {
    return {kernelSets().begin(), kernelSets().end()};
}

// Returns a single-channel block with the indices 0 to 7, twice.
model::PackedBlock channelBlock(int e0, int e1) {
    model::PackedBlock block{static_cast<unsigned char>(e0), static_cast<unsigned char>(e1)};
    std::uint64_t bits = 0;
    for (unsigned t = 0; t < 16; ++t) bits |= std::uint64_t{t & 7} << (3 * t);
    for (unsigned i = 0; i < 6; ++i) block[2 + i] = static_cast<unsigned char>(bits >> (8 * i));
    std::copy_n(block.begin(), 8, block.begin() + 8);
    return block;
}

}  // namespace

TEST_P(EveryLevel, DecodesRandomAndExtremeBlocksLikeTheModel) {
    model::Random random(seed);
    for (const Decoder& decoder : decoders) {
        Tile special;
        for (const auto& block : model::extremeBlocks()) append(special, block, decoder.blockBytes);
        for (const auto& block : model::equalEndpointBlocks(random, 200)) append(special, block, decoder.blockBytes);
        if (decoder.kernel == BlockKernel::bc7) {
            for (const auto& block : model::everyBC7Shape(random)) append(special, block, 16);
        }
        if (decoder.texelBytes == 16) {
            for (const auto& block : model::everyBC6HShape(random)) append(special, block, 16);
        }
        EXPECT_TRUE(decodesLikeModel(set(), decoder, special, 0));
        for (int round = 0; round < 40; ++round) {
            Tile blocks;
            const int count = round < 10 ? round : 130 + random.below(130);
            for (int i = 0; i < count; ++i) append(blocks, model::randomBlock(random), decoder.blockBytes);
            ASSERT_TRUE(decodesLikeModel(set(), decoder, blocks, static_cast<std::size_t>(random.below(3)) * 16));
        }
    }
}

TEST_P(EveryLevel, DecodesEveryPairOfEndpointsLikeTheModel) {
    for (int e0 = 0; e0 < 256; ++e0) {
        Tile singles;
        Tile doubles;
        for (int e1 = 0; e1 < 256; ++e1) {
            append(singles, channelBlock(e0, e1), 8);
            append(doubles, channelBlock(e0, e1), 16);
        }
        for (const Decoder& decoder : decoders) {
            const bool channels = decoder.kernel == BlockKernel::bc3 || decoder.kernel == BlockKernel::bc4Signed ||
                                  decoder.kernel == BlockKernel::bc4Unsigned;
            if (!channels) continue;
            ASSERT_TRUE(decodesLikeModel(set(), decoder, decoder.blockBytes == 8 ? singles : doubles, 0));
        }
    }
    // Each channel of BC1 separately, in both modes: 32 x 32, 64 x 64 and 32 x 32 pairs.
    for (const auto& [shift, values] : {std::pair{11, 32}, std::pair{5, 64}, std::pair{0, 32}}) {
        Tile blocks;
        for (int pair = 0; pair < values * values; ++pair) {
            const int colours[2] = {pair / values << shift, pair % values << shift};
            for (const int colour : colours) {
                blocks.push_back(static_cast<unsigned char>(colour));
                blocks.push_back(static_cast<unsigned char>(colour >> 8));
            }
            blocks.insert(blocks.end(), 4, 0xE4);
        }
        ASSERT_TRUE(decodesLikeModel(set(), decoders[0], blocks, 0));
    }
}

TEST_P(EveryLevel, DividesEveryPremultipliedPair) {
    // BC3 blocks of one alpha, whose colour halves take all values of the three channels.
    for (int alpha = 0; alpha < 256; ++alpha) {
        Tile blocks;
        for (int colour = 0; colour < 65536; colour += 37) {
            model::PackedBlock block = channelBlock(alpha, alpha);
            for (unsigned i = 8; i < 12; ++i) block[i] = static_cast<unsigned char>(i % 2 == 0 ? colour : colour >> 8);
            append(blocks, block, 16);
        }
        ASSERT_TRUE(decodesLikeModel(set(), decoders[4], blocks, 0)) << alpha;
    }
    for (int alpha = 0; alpha < 256; ++alpha) {
        for (int v = 0; v < 256; ++v) {
            ASSERT_EQ(dividePremultiplied(static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(alpha)),
                      model::divideByAlpha(static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(alpha)));
        }
    }
}

TEST_P(EveryLevel, DecodesImagesOfEverySmallSize) {
    model::Random random(seed);
    for (const Decoder& decoder : decoders) {
        for (std::uint32_t height = 1; height <= 9; ++height) {
            for (std::uint32_t width = 1; width <= 13; ++width) {
                const std::size_t columns = (width + 3) / 4;
                Tile blocks;
                for (std::size_t i = 0; i < columns * ((height + 3) / 4); ++i)
                    append(blocks, model::randomBlock(random), decoder.blockBytes);
                const std::size_t imageBytes = std::size_t{width} * height * decoder.texelBytes;
                Tile image(imageBytes + 256, canary);
                walkBlocks(set().strips[decoder.kernel], blocks.data(), decoder.blockBytes,
                           {image.data(), width, height, decoder.texelBytes});
                Tile expected(imageBytes + 256, canary);
                for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
                    const std::size_t x = i % width;
                    const std::size_t y = i / width;
                    const std::size_t block = y / 4 * columns + x / 4;
                    const Tile tile = decoder.model(std::span(blocks).subspan(block * decoder.blockBytes));
                    std::memcpy(expected.data() + i * decoder.texelBytes,
                                tile.data() + (y % 4 * 4 + x % 4) * decoder.texelBytes, decoder.texelBytes);
                }
                ASSERT_EQ(image, expected) << set().name << ' ' << decoder.name << ", " << width << " by " << height;
            }
        }
    }
}

TEST_P(EveryLevel, ConvertsEveryHalfAndEverySignedByte) {
    std::vector<std::uint16_t> halfs(65536);
    for (std::size_t i = 0; i < halfs.size(); ++i) halfs[i] = static_cast<std::uint16_t>(i);
    std::vector<float> floats(halfs.size() + 1, 7.0F);
    set().halfsToFloats(reinterpret_cast<const unsigned char*>(halfs.data()), halfs.size() - 3, floats.data());
    set().halfsToFloats(reinterpret_cast<const unsigned char*>(&halfs[65533]), 3, &floats[65533]);
    for (std::size_t i = 0; i < halfs.size(); ++i) {
        const float expected = model::halfToFloat(halfs[i]);
        ASSERT_EQ(std::memcmp(&floats[i], &expected, sizeof expected), 0) << i;
    }
    EXPECT_EQ(floats.back(), 7.0F);

    Tile bytes(256 + 5);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i);
    set().snormToUnorm(bytes.data(), bytes.size());
    for (int i = 0; i < 256; ++i) {
        const int s = i < 128 ? i : i - 256;
        ASSERT_EQ(bytes[static_cast<std::size_t>(i)], s == -128 ? 0 : (s + 127) * 255 / 254);
    }

    Tile words(2 * 65536);
    for (std::size_t i = 0; i < 65536; ++i) std::memcpy(&words[2 * i], &halfs[i], 2);
    set().highBytes(words.data(), 65536, words.data());
    for (std::size_t i = 0; i < 65536; ++i) ASSERT_EQ(words[i], i >> 8);
}

// Extracts one or more fields from pixels of every size and compares with the division.
testing::AssertionResult extractsLikeDivision(const KernelSet& set, const std::vector<std::uint32_t>& pixels,
                                              std::span<const std::uint32_t> masks) {
    for (std::size_t bytesPerPixel = 1; bytesPerPixel <= 5; ++bytesPerPixel) {
        const std::size_t valueBytes = std::min<std::size_t>(bytesPerPixel, 4);
        // Exactly as long as the pixels, so that a sanitizer detects reads beyond them.
        Tile source(pixels.size() * bytesPerPixel, canary);
        for (std::size_t i = 0; i < pixels.size(); ++i)
            std::memcpy(source.data() + i * bytesPerPixel, &pixels[i], valueBytes);
        std::vector<Tile> channels(masks.size(), Tile(pixels.size() + 1, canary));
        MaskField fields[4] = {};
        unsigned char* rows[4] = {};
        for (std::size_t f = 0; f < masks.size(); ++f) {
            fields[f] = makeMaskField(masks[f]);
            rows[f] = channels[f].data();
        }
        set.extractMasks({source.data(), pixels.size(), source.data()}, bytesPerPixel, fields, masks.size(), rows);
        for (std::size_t f = 0; f < masks.size(); ++f) {
            const std::uint64_t mask = masks[f];
            for (std::size_t i = 0; i < pixels.size(); ++i) {
                const std::uint64_t valueMask = valueBytes == 4 ? 0xFFFFFFFF : (1U << (8 * valueBytes)) - 1;
                const std::uint64_t w = pixels[i] & valueMask & mask;
                const std::uint64_t expected = mask == 0            ? 0
                                               : mask <= 0x01000000 ? w * 255 / mask
                                                                    : (w >> 8) * 255 / (mask >> 8);
                if (channels[f][i] != expected || channels[f].back() != canary) {
                    return testing::AssertionFailure()
                           << set.name << std::hex << ": pixel " << pixels[i] << " of " << bytesPerPixel
                           << " bytes, mask " << mask << ": " << int{channels[f][i]} << " and not " << expected;
                }
            }
        }
    }
    return testing::AssertionSuccess();
}

TEST_P(EveryLevel, ScalesFieldsOfEveryWidthAndShiftLikeTheDivision) {
    for (int bits = 0; bits <= 32; ++bits) {
        for (int shift = 0; shift + bits <= 32 && shift < 32; ++shift) {
            const auto largest = static_cast<std::uint32_t>((std::uint64_t{1} << bits) - 1);
            // All values of small fields; of larger ones, the values around which the result changes.
            std::vector<std::uint32_t> pixels;
            const bool whole = bits <= 8 || (bits <= 16 && shift % 8 == 0);
            for (std::uint32_t q = 0; whole && q <= largest; ++q) pixels.push_back(q << shift);
            for (std::uint64_t k = 0; !whole && k <= 255; ++k) {
                const auto q = static_cast<std::uint32_t>((k * largest + 254) / 255);
                for (const std::uint32_t near : {q, q - 1, q | 0xFF, (q - 1) & ~0xFFU}) {
                    pixels.push_back((near & largest) << shift);
                }
            }
            const std::uint32_t masks[] = {largest << shift};
            ASSERT_TRUE(extractsLikeDivision(set(), pixels, masks));
        }
    }
}

TEST_P(EveryLevel, ScalesFieldsOfEveryShapeLikeTheDivision) {
    model::Random random(seed);
    const auto word = [&random] { return static_cast<std::uint32_t>(random.next()); };
    std::vector<std::uint32_t> pixels(130);
    for (int round = 0; round < 3000; ++round) {
        pixels.resize(static_cast<std::size_t>(round < 100 ? round : 100 + round % 31));
        for (std::uint32_t& pixel : pixels)
            pixel = random.below(4) == 0 ? word() & word() & word() : ~(word() & word());
        std::uint32_t masks[4] = {};
        // Dense and sparse, long and short ones.
        for (std::uint32_t& mask : masks) {
            mask = (random.below(2) == 0 ? word() : word() | word() | word()) >> random.below(32) << random.below(32);
        }
        const auto count = static_cast<std::size_t>(1 + random.below(4));
        ASSERT_TRUE(extractsLikeDivision(set(), pixels, std::span(masks).first(count)));
    }
}

// A kernel that is only compared with the plain one, with the bytes per pixel of its input and output.
struct RowKernel {
    const char* name;
    double bytesRead;
    std::size_t bytesWritten;
    void (*run)(const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to);
};

const unsigned char* const* rowsOf(const unsigned char* from, std::size_t count) {
    static const unsigned char* rows[4];
    for (std::size_t i = 0; i < 4; ++i) rows[i] = from + i * count;
    return rows;
}

constexpr RowKernel rowKernels[] = {
    {"joinBytes3", 3, 3,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         set.joinBytes3(rowsOf(from, count), count, to);
     }},
    {"joinBytes4", 4, 4,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         set.joinBytes4(rowsOf(from, count), count, to);
     }},
    {"pickByteEntries", 1, 4,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         static const Tile entries = [] {
             model::Random random(seed);
             Tile bytes(1024);
             for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.next());
             return bytes;
         }();
         set.pickByteEntries(from, count, entries.data(), to);
     }},
    {"pickNibbleEntries", 0.5, 4,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         Tile entries(64);
         for (std::size_t i = 0; i < 64; ++i) entries[i] = static_cast<unsigned char>(7 * i);
         set.pickNibbleEntries(from, count, entries.data(), to);
     }},
    {"expandPairs", 2, 3,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         set.expandPairs(from, count, false, to);
     }},
    {"expandPairs, green first", 2, 3,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         set.expandPairs(from, count, true, to);
     }},
    {"r11g11b10ToFloats", 4, 12,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         set.r11g11b10ToFloats(from, count, reinterpret_cast<float*>(to));
     }},
    {"r9g9b9e5ToFloats", 4, 12,
     [](const KernelSet& set, const unsigned char* from, std::size_t count, unsigned char* to) {
         set.r9g9b9e5ToFloats(from, count, reinterpret_cast<float*>(to));
     }},
};

TEST_P(EveryLevel, ConvertsRowsOfEveryLengthLikeThePlainKernels) {
    model::Random random(seed);
    for (const RowKernel& kernel : rowKernels) {
        for (std::size_t count = 0; count < 300; ++count) {
            const std::size_t even = count + count % 2;
            Tile from(static_cast<std::size_t>(kernel.bytesRead * static_cast<double>(even)));
            for (unsigned char& byte : from) byte = static_cast<unsigned char>(random.next());
            Tile to(kernel.bytesWritten * count + 32, canary);
            Tile expected = to;
            kernel.run(set(), from.data(), count, to.data());
            kernel.run(plainKernels, from.data(), count, expected.data());
            ASSERT_EQ(to, expected) << set().name << ' ' << kernel.name << " of " << count;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryLevel, testing::ValuesIn(allSets()),
                         [](const auto& instance) { return std::string(instance.param->name); });

TEST(KernelSets, AreChosenByTheProcessor) {
    EXPECT_EQ(kernelSets().front(), &plainKernels);
    EXPECT_TRUE(bestKernels().runsHere());
    EXPECT_EQ(&bestKernels(), &bestKernels());
}

TEST(SharedHelpers, MatchTheModel) {
    for (int subsets = 1; subsets <= 3; ++subsets) {
        for (int place = 0; place < 64 * 16; ++place)
            ASSERT_EQ(isFixup(subsets, place / 16, place % 16), model::isAnchor(subsets, place / 16, place % 16));
    }
    EXPECT_FALSE(isFixup(0, 0, 0));
    EXPECT_EQ(signExtend(-7, 32), -7);
    for (int bits = 1; bits <= 16; ++bits) {
        for (int v = 0; v < 1 << bits; ++v) ASSERT_EQ(signExtend(v, bits), model::signExtend(v, bits));
        const int largest = (1 << bits) - 1;
        EXPECT_EQ(bc6Unquantize(largest, bits, false), bits < 15 ? 0xFFFF : largest) << bits;
        EXPECT_EQ(bc6Unquantize(-(largest >> 1), bits, true), bits == 1 ? 0 : -0x7FFF) << bits;
    }
    for (int ends = 0; ends < 65536; ++ends) {
        const int e0 = ends >> 8;
        const int e1 = ends & 255;
        for (const int width : {2, 3, 4}) {
            const int index = ends % (1 << width);
            ASSERT_EQ(bc7Interpolate(static_cast<unsigned char>(e0), static_cast<unsigned char>(e1), index, width),
                      model::interpolate(e0, e1, index, width));
        }
    }
}
