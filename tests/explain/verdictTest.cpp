// The verdict on a file: the data that it expects. The causes that it names are in explained.txt; whether it foretells
// what the reader does is held against the model by readerTest.
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
            EXPECT_EQ(cut.refusal, format.blockBytes != 0 ? Refusal::dataShort : Refusal::paletteShort) << format.name;
        } else {
            EXPECT_EQ(cut.wholeRows, 8U) << format.name;
        }
    }
}
