// Tests the data that the verdict on a file expects. Its causes are in explained.txt; readerTest compares it with the
// reader and the model.
#include <gtest/gtest.h>

#include "explain/verdict.h"
#include "tests/support/families.h"

using namespace kpx;
using namespace testing_support;

namespace {

Verdict judgeBytes(const Bytes& file) {
    return judge(factsOf(std::span(file).first(std::min(file.size(), factBytes)), file.size()));
}

}  // namespace

// The verdict expects exactly the least data of a complete picture.
TEST(Verdict, CountsCompleteRows) {
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
            EXPECT_EQ(cut.wholeRows, 0U) << format.name;
            EXPECT_EQ(cut.refusal, format.blockBytes != 0 ? Refusal::dataShort : Refusal::paletteShort) << format.name;
        } else {
            EXPECT_EQ(cut.wholeRows, 8U) << format.name;
        }
    }
}
