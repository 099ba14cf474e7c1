// Tests the writer alone, with numbers of channels that the plug-in never uses.
#include "writer/TddsWriter.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/ddsFiles.h"

namespace {

using testing_support::Bytes;

TEST(Writer, OrdersChannelsByTheirNumber) {
    const struct {
        unsigned channels, alpha;
        Bytes pixel;
    } cases[] = {
        {1, 0, {0}},          {1, 1, {1, 0}},       {2, 0, {1, 0}},          {2, 1, {2, 1, 0}},       {3, 0, {2, 1, 0}},
        {3, 1, {2, 1, 0, 3}}, {4, 0, {2, 1, 0, 3}}, {4, 1, {4, 3, 2, 1, 0}}, {5, 0, {4, 3, 2, 1, 0}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.channels << " channels, alpha " << each.alpha);
        const testing_support::TemporaryFile file({});
        unsigned char values[][6] = {{0, 0}, {1, 10}, {2, 20}, {3, 30}, {4, 40}};
        unsigned char* rows[] = {values[0], values[1], values[2], values[3], values[4]};
        for (std::size_t row = 0; row < 5; ++row) std::fill_n(values[row], 6, row);
        const testing_support::TemporaryFile other({});
        kpx::TddsWriter writer;
        ASSERT_EQ(writer.open(other.path(), 4, 1, 3, 0, 0), 0);
        ASSERT_EQ(writer.open(file.path(), 6, 1, each.channels, each.alpha, 0), 0);
        EXPECT_EQ(testing_support::readFile(other.path()).size(), 128U + 12) << "what was open before is closed";
        EXPECT_EQ(writer.setScanlineChannelsAsBytes(0, rows), 0);
        writer.close();
        Bytes expected;
        for (int x = 0; x < 8; ++x) expected.insert(expected.end(), each.pixel.begin(), each.pixel.end());
        const Bytes written = testing_support::readFile(file.path());
        ASSERT_EQ(written.size(), 128 + expected.size());
        EXPECT_EQ(Bytes(written.begin() + 128, written.end()), expected);
    }
}

// Images that the plug-in refuses before it calls the writer: without pixels, and with sizes that a header cannot hold.
TEST(Writer, WritesOnlyAHeaderForAnImageWithoutPixels) {
    for (const auto& [width, height] : {std::pair{0U, 5U}, {5U, 0U}, {0U, 0U}, {0U, 0xFFFFFFFFU}}) {
        const testing_support::TemporaryFile file({});
        kpx::TddsWriter writer;
        ASSERT_EQ(writer.open(file.path(), width, height, 3, 1, 0), 0);
        writer.close();
        const Bytes written = testing_support::readFile(file.path());
        ASSERT_EQ(written.size(), 128U);
        kpx::DdsFileHeader header{};
        std::memcpy(&header, written.data(), sizeof header);
        EXPECT_EQ(header.header.dwWidth, width == 0 ? 0U : 8U);
        EXPECT_EQ(header.header.dwHeight, height);
        EXPECT_EQ(header.header.dwPitchOrLinearSize, width == 0 ? 0U : 32U);
    }
    const testing_support::TemporaryFile file({});
    kpx::TddsWriter writer;
    EXPECT_EQ(writer.open(file.path(), 0xFFFFFFFF, 0, 3, 1, 0), -1);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_FALSE(writer.lacksMemory());
}

}  // namespace
