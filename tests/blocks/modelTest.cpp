// Decodes blocks and words of the published formats with known results, by the slow model and at every kernel level.
#include <gtest/gtest.h>

#include <charconv>
#include <sstream>

#include "tests/model/floatModel.h"
#include "tests/model/tables.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/decoders.h"

using namespace testing_support;

namespace {

constexpr std::size_t copies = 19;  // of a block, since kernels decode several at a time

Bytes times(std::size_t count, const Bytes& bytes) {
    Bytes all;
    for (std::size_t i = 0; i < count; ++i) all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

Bytes bytesOfDigits(const std::string& digits) {
    Bytes bytes(digits.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::from_chars(digits.data() + 2 * i, digits.data() + 2 * i + 2, bytes[i], 16);
    }
    return bytes;
}

// Parses "1,0.5,0" and appends an alpha of 1 if the texels have alpha.
Bytes bytesOfFloats(const std::string& text, bool hasAlpha) {
    std::vector<float> floats;
    std::istringstream values(text);
    for (std::string value; std::getline(values, value, ',');) floats.push_back(std::stof(value));
    if (hasAlpha) floats.push_back(1.0F);
    const auto* bytes = reinterpret_cast<const unsigned char*>(floats.data());
    return {bytes, bytes + sizeof(float) * floats.size()};
}

struct WordDecoder {
    const char* name;
    void (*kpx::KernelSet::*kernel)(const unsigned char* words, std::size_t count, float* out);
    Bytes (*model)(std::uint32_t word);
};
const WordDecoder wordDecoders[] = {
    {"half", &kpx::KernelSet::halfsToFloats,
     [](std::uint32_t w) { return bytesOf(std::array{model::halfToFloat(static_cast<std::uint16_t>(w))}); }},
    {"r11g11b10", &kpx::KernelSet::r11g11b10ToFloats,
     [](std::uint32_t w) { return bytesOf(model::unpackR11G11B10(w)); }},
    {"r9g9b9e5", &kpx::KernelSet::r9g9b9e5ToFloats, [](std::uint32_t w) { return bytesOf(model::unpackR9G9B9E5(w)); }},
};

// Compares the output of decode(set, out) with the expected one, for every kernel set that runs here.
template <typename Decode>
void expectOfEverySet(const Bytes& expected, Decode decode) {
    for (const kpx::KernelSet* set : kpx::kernelSets()) {
        if (!set->runsHere()) continue;
        Bytes out(expected.size());
        decode(*set, out.data());
        EXPECT_EQ(out, expected) << set->name;
    }
}

void expectWord(const WordDecoder& decoder, const Bytes& bytes, const Bytes& expected) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data(), bytes.size());
    EXPECT_EQ(decoder.model(word), expected) << "the model";
    expectOfEverySet(times(copies, expected), [&](const kpx::KernelSet& set, unsigned char* out) {
        (set.*decoder.kernel)(times(copies, bytes).data(), copies, reinterpret_cast<float*>(out));
    });
}

void expectBlock(const Decoder& decoder, const Bytes& block, const Bytes& expected) {
    EXPECT_EQ(decoder.model(block), expected) << "the model";
    const std::size_t rowBytes = 4 * decoder.texelBytes;
    Bytes image;
    for (std::size_t i = 0; i < 4 * copies; ++i) {
        const auto* row = expected.data() + i / copies * rowBytes;
        image.insert(image.end(), row, row + rowBytes);
    }
    expectOfEverySet(image, [&](const kpx::KernelSet& set, unsigned char* out) {
        const auto kernel = set.strips[decoder.kernel];
        kernel(times(copies, block).data(), copies, out, copies * rowBytes);
    });
}

TEST(WorkedBlocks, MatchTheModelAndEveryKernel) {
    for (std::istringstream& row : model::rowsOf("tests/blocks/worked.tsv")) {
        std::string name, what, digits, expected;
        for (std::string* column : {&name, &what, &digits, &expected}) std::getline(row, *column, '\t');
        SCOPED_TRACE(name + ", " + what);
        const Bytes bytes = bytesOfDigits(digits);
        const auto isNamed = [&](const auto& decoder) { return name == decoder.name; };
        const auto* words = std::find_if(std::begin(wordDecoders), std::end(wordDecoders), isNamed);
        if (words != std::end(wordDecoders)) {
            expectWord(*words, bytes, bytesOfFloats(expected, false));
            continue;
        }
        const auto blocks = std::find_if(std::begin(decoders), std::end(decoders), isNamed);
        ASSERT_NE(blocks, std::end(decoders));
        Bytes palette;
        std::istringstream texels(expected);
        for (std::string texel; texels >> texel;) {
            const Bytes more = blocks->texelBytes == 4 ? bytesOfDigits(texel) : bytesOfFloats(texel, true);
            palette.insert(palette.end(), more.begin(), more.end());
        }
        expectBlock(*blocks, bytes, times(16 * blocks->texelBytes / palette.size(), palette));
    }
}

}  // namespace
