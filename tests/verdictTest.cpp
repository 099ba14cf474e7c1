// The verdict on a file against what the reader does with it.
#include <gtest/gtest.h>

#include <sstream>

#include "reader/TddsReader.h"
#include "reader/verdict.h"
#include "tests/model/readerModel.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/families.h"

using namespace kpx;
using namespace testing_support;

namespace {

Verdict judgeBytes(const Bytes& file) {
    return judge(factsOf(std::span(file).first(std::min(file.size(), factBytes)), file.size()));
}

// What can be told of a file in either way, as text that a failure shows.
std::string describe(Result result, const char* printed, std::uint32_t width, std::uint32_t height,
                     std::uint32_t colours, bool hasAlpha, std::uint32_t bits) {
    std::ostringstream text;
    text << resultName(result) << " \"" << printed << "\"";
    if (result != Result::refused) {
        text << ", " << width << " x " << height << ", " << colours << (hasAlpha ? " + alpha" : "") << ", " << bits;
    }
    return text.str();
}

std::string toldByVerdict(const Bytes& file) {
    const Verdict verdict = judgeBytes(file);
    return describe(verdict.result, verdict.printed == nullptr ? "" : verdict.printed, verdict.width, verdict.height,
                    verdict.colourChannels(), verdict.hasAlpha, verdict.bits);
}

// Whether a picture is the reader's own or the black one is told by the model, which readerTest holds to the reader.
std::string toldByReader(const Bytes& file) {
    const TemporaryFile temporary(file);
    TddsReader reader;
    testing::internal::CaptureStdout();
    const int opened = reader.open(temporary.path());
    std::string printed = testing::internal::GetCapturedStdout();
    if (!printed.empty()) printed.pop_back();
    const bool isOwn = model::read(file).result == model::Result::decoded;
    const Result result = opened < 0 ? Result::refused : isOwn ? Result::decoded : Result::black;
    return describe(result, printed.c_str(), reader.width(), reader.height(),
                    static_cast<std::uint32_t>(reader.numColourChannels()), reader.hasAlphaChannel() != 0,
                    static_cast<std::uint32_t>(reader.bitsPerChannel()));
}

Bytes withData(Bytes file, std::size_t bytes) {
    file.resize(file.size() + bytes, 0xFF);
    return file;
}

template <typename Value>
void put(Bytes& file, std::size_t offset, Value value) {
    if (offset + sizeof value <= file.size()) std::memcpy(file.data() + offset, &value, sizeof value);
}

// Changes a field or two that the reader looks at, to values at which something changes or to any at all.
void mutate(Bytes& file, model::Random& random) {
    constexpr std::size_t fields[] = {8, 12, 16, 20, 80, 84, 88, 92, 96, 100, 104, 128, 144};
    constexpr std::uint32_t values[] = {0,  1,   2,   3,    4,    5,     7,       8,          16,         24,
                                        32, 111, 116, 0xFF, 4096, 65535, 0x80000, 0x10000000, 0x3FFFFFFF, 0xFFFFFFFF};
    for (int i = 1 + random.below(3); i > 0; --i) {
        const std::size_t field = fields[random.below(std::size(fields))];
        const auto any = static_cast<std::uint32_t>(random.next());
        switch (random.below(4)) {
            case 0:
                put(file, field, values[random.below(std::size(values))]);
                break;
            case 1:
                put(file, field, someCodes[random.below(std::size(someCodes))]);
                break;
            case 2:
                if (field + 4 <= file.size()) put(file, field, load32(file.data() + field) ^ 1U << any % 32);
                break;
            default:
                put(file, field, any >> random.below(32));
        }
    }
    if (random.below(4) == 0) file.resize(static_cast<std::size_t>(random.below(static_cast<int>(file.size()) + 1)));
}

}  // namespace

TEST(Verdict, AgreesWithTheReaderForEveryFormatAndTruncation) {
    for (const Format& format : formatTable()) {
        const Bytes header = headerFor(format, 13, 9);
        const std::uint64_t expected = judgeBytes(header).bytesExpected;
        for (const std::uint64_t bytes : {std::uint64_t{0}, std::uint64_t{1}, expected / 2, expected - 1, expected,
                                          expected + 1, expected + 2000}) {
            const Bytes file = withData(header, bytes);
            EXPECT_EQ(toldByVerdict(file), toldByReader(file)) << format.name << ", " << bytes << " bytes of data";
        }
        for (const std::size_t bytes : {0U, 127U, 128U, 147U, 148U}) {
            Bytes file = withData(header, 100);
            file.resize(bytes);
            EXPECT_EQ(toldByVerdict(file), toldByReader(file)) << format.name << ", cut to " << bytes;
        }
    }
}

TEST(Verdict, AgreesWithTheReaderForEveryDispatch) {
    model::Random random(1);
    const Bytes data = randomBytes(random, 4096);
    forEveryDispatch(random, [&](const DdsFileHeader& header) {
        const Bytes file = fileOf(header, data);
        ASSERT_EQ(toldByVerdict(file), toldByReader(file))
            << "flags " << header.header.ddspf.dwFlags << ", code " << header.header.ddspf.dwFourCC << ", "
            << header.header.dwFlags;
    });
}

TEST(Verdict, AgreesWithTheReaderForMutatedFilesOfEveryFamily) {
    model::Random random(2);
    const auto formats = formatTable();
    for (std::size_t round = 0; round < 10000; ++round) {
        Bytes file = withData(headerFor(formats[round % formats.size()], 13, 9), 2000);
        mutate(file, random);
        ASSERT_EQ(toldByVerdict(file), toldByReader(file)) << "round " << round;
    }
}

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
        EXPECT_EQ(cut.bytesPresent, empty.bytesExpected - 1) << format.name;
        if (format.blockBytes != 0 || format.namedBy == NamedBy::palette) {
            EXPECT_EQ(cut.result, Result::black) << format.name;
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

Bytes cutTo(Bytes file, std::size_t bytes) {
    file.resize(bytes);
    return file;
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
        {Cause::unknownCode, Cause::pictureTooLarge, codeFile("ATI1", 0, 0, 0xFFFFFFFF)},
        {Cause::notABlockCode, Cause::none, codeFile("RGBG", 0, 4096)},
        {Cause::linearSizeNeeded, Cause::none, fileOf(codeHeader(fourCC("BC5U"), 4, 4))},
        {Cause::dxgiRejected, Cause::none, dx10File(89, 4, 4)},
        {Cause::dxgiTooLarge, Cause::none, dx10File(115, 4, 4)},
        {Cause::pictureTooLarge, Cause::none, dx10File(28, 0x8000, 0x8000)},
        {Cause::none, Cause::none, dx10File(28, 0x8000, 0x7FFF)},
        {Cause::dataTooLarge, Cause::none, dx10File(98, 1, 0x3FFFFFFF)},
        {Cause::rowTooLarge, Cause::none, dx10File(2, 0x10000000, 0)},
        {Cause::rowTooLarge, Cause::none, dx10File(28, 0x40000000, 0)},
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
        EXPECT_EQ(toldByVerdict(each.file), toldByReader(each.file)) << index;
    }
}
