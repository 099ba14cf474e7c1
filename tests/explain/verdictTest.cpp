// The verdict on a file: the data that it expects, and the causes that it names. Whether it foretells what the reader
// does is held against the model by readerTest.
#include <gtest/gtest.h>

#include "explain/verdict.h"
#include "tests/support/families.h"
#include "tests/support/likeModel.h"

using namespace kpx;
using namespace testing_support;

namespace {

Verdict judgeBytes(const Bytes& file) {
    return judge(factsOf(std::span(file).first(std::min(file.size(), factBytes)), file.size()));
}

}  // namespace

// The least data that makes a whole picture is what the verdict expects, neither more nor less.
TEST(Verdict, CountsTheRowsThatTheFileSupplies) {
    for (const Format& format : formatTable()) {
        const Bytes header = headerFor(format, 13, 9);
        const Verdict empty = judgeBytes(header);
        if (empty.format == nullptr) continue;  // a code that no file can name
        ASSERT_NE(empty.bytesExpected, 0U) << format.name;
        const Verdict whole = judgeBytes(withData(header, empty.bytesExpected));
        const Verdict cut = judgeBytes(withData(header, empty.bytesExpected - 1));
        EXPECT_EQ(whole.wholeRows, 9U) << format.name;
        for (const std::uint64_t bytes : {empty.bytesExpected / 2, empty.bytesExpected - 1, empty.bytesExpected})
            EXPECT_TRUE(readsLikeModel(withData(header, bytes)))
                << format.name << " with " << bytes << " bytes of data";
        EXPECT_EQ(cut.bytesPresent, empty.bytesExpected - 1) << format.name;
        if (format.blockBytes != 0 || format.namedBy == NamedBy::palette) {
            EXPECT_EQ(cut.result, Result::black) << format.name;
            EXPECT_EQ(cut.wholeRows, 0U) << format.name;
            EXPECT_EQ(cut.cause, format.blockBytes != 0 ? Cause::dataShort : Cause::paletteShort) << format.name;
        } else {
            EXPECT_EQ(cut.wholeRows, 8U) << format.name;
        }
    }
}

namespace {

Bytes codeFile(const char (&code)[5], std::uint32_t linearSize, std::size_t bytes, std::uint32_t width = 64) {
    DdsFileHeader header = codeHeader(fourCC(code), width, 64, DDSD_LINEARSIZE);
    header.header.dwPitchOrLinearSize = linearSize;
    return withData(fileOf(header), bytes);
}

Bytes paletteFile(std::uint32_t width, std::uint32_t height) {
    DdsFileHeader header = headerOf(width, height);
    header.header.ddspf.dwFlags = DDPF_PALETTEINDEXED8;
    return fileOf(header);
}

}  // namespace

TEST(Verdict, NamesTheCause) {
    const struct {
        Cause cause, second;
        Bytes file;
    } cases[] = {
        {Cause::headerCut, Cause::none, Bytes(127)},
        {Cause::dx10HeaderCut, Cause::none, cutTo(dx10File(28, 1, 1), 147)},
        {Cause::nothingNamed, Cause::none, fileOf(headerOf(4, 4))},
        {Cause::unknownCode, Cause::none, fileOf(codeHeader(25, 4, 4))},
        {Cause::unknownCode, Cause::none, fileOf(codeHeader(CODE_RGB_FLOAT32, 4, 4))},
        {Cause::unknownCode, Cause::none, codeFile("ATI1", 4096, 4096)},
        {Cause::unknownCode, Cause::linearSizeTooLarge, codeFile("ATI1", 8192, 4096)},
        {Cause::unknownCode, Cause::dataShort, codeFile("ATI1", 4096, 2048)},
        {Cause::unknownCode, Cause::pictureTooLarge, codeFile("ATI1", 0, 0, 0x2000000)},
        {Cause::unknownCode, Cause::sideTooLarge, codeFile("ATI1", 0, 0, 0xFFFFFFFF)},
        {Cause::notABlockCode, Cause::none, codeFile("RGBG", 0, 4096)},
        {Cause::linearSizeNeeded, Cause::none, fileOf(codeHeader(fourCC("BC5U"), 4, 4))},
        {Cause::dxgiRejected, Cause::none, dx10File(89, 4, 4)},
        {Cause::dxgiTooLarge, Cause::none, dx10File(115, 4, 4)},
        {Cause::pictureTooLarge, Cause::none, dx10File(28, 0x8000, 0x8000)},
        {Cause::none, Cause::none, dx10File(28, 0x8000, 0x7FFF)},
        {Cause::dataTooLarge, Cause::none, dx10File(98, 1, 0x3FFFFFFF)},
        {Cause::rowTooLarge, Cause::none, fileOf(rowOfBytes(0x60000000, 1))},
        {Cause::none, Cause::none, fileOf(rowOfBytes(0x60000000, 0))},
        {Cause::sideTooLarge, Cause::none, fileOf(rowOfBytes(0x80000000, 0))},
        {Cause::dataShort, Cause::none, codeFile("DXT1", 0, 2047)},
        {Cause::linearSizeTooLarge, Cause::none, codeFile("DXT1", 4096, 2768)},
        {Cause::paletteShort, Cause::none, paletteFile(4, 4)},
        {Cause::pictureTooLarge, Cause::none, paletteFile(0x10000, 0x4000)},
    };
    for (const auto& each : cases) {
        const Verdict verdict = judgeBytes(each.file);
        const auto index = &each - cases;
        EXPECT_EQ(verdict.cause, each.cause) << index;
        EXPECT_EQ(verdict.secondCause, each.second) << index;
        EXPECT_TRUE(readsLikeModel(each.file)) << index;
    }
}
