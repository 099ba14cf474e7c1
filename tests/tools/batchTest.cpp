// What kpximage leaves behind when a signal ends it, and what it shows meanwhile on a terminal and on standard output.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>

#include "tests/support/Tool.h"
#include "tests/support/describedFile.h"
#include "tools/files/PendingFile.h"
#include "tools/terminal/StdoutSilence.h"
#include "tools/terminal/console.h"
#include "tools/terminal/interrupts.h"

using namespace kpx;
using namespace testing_support;

TEST_F(Tool, ASignalLeavesNoHalfMadeFile) {
    const auto makeFile = [this](int signal) {
        tool::noteInterrupts();
        try {
            tool::PendingFile file(at("a.png"));
            std::ofstream(file.path()) << "half" << std::flush;
            std::raise(signal);
            std::cerr << "noted";
            try {
                tool::workOnFile("b.dds", [] { return (std::cerr << " but not heeded", tool::Outcome::done); });
            } catch (const tool::Interrupted&) {
                std::cerr << " and heeded";
            }
            file.commit();
        } catch (const tool::Interrupted&) {
            tool::endIfInterrupted();
        }
    };
    EXPECT_EXIT(makeFile(SIGTERM), testing::KilledBySignal(SIGTERM), "^noted and heeded$");
    EXPECT_EQ(names(), "");
    const int nameless = open(at("").c_str(), O_TMPFILE | O_RDWR, 0600);
    if (nameless < 0) GTEST_SKIP() << "the file system has no files without a name";
    close(nameless);
    EXPECT_EXIT(makeFile(SIGKILL), testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(names(), "");
}

// As of several threads, whichever ends first.
TEST(StdoutSilence, LastsUntilTheLastOneEnds) {
    testing::internal::CaptureStdout();
    auto first = std::make_unique<tool::StdoutSilence>(), second = std::make_unique<tool::StdoutSilence>();
    std::puts("with two");
    first.reset();
    std::puts("with one");
    second.reset();
    std::puts("with none");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "with none\n");
}

// A terminal is what script(1) makes of a pipe.
TEST_F(Tool, ProgressIsShownOnATerminalOnly) {
    if (std::system("command -v script >/dev/null") != 0) GTEST_SKIP() << "there is no script(1)";
    file("a.dds", describedFile("size=4x4 dxgi=28 zeros=64"));
    file("b.dds", describedFile("size=64x64 code=DXT1 zeros=3"));
    const auto onTerminal = [this](const std::string& arguments) {
        return shell("KPX_PLUGIN='" KPX_PLUGIN_PATH "' TOOL='" KPX_TOOL_PATH "' script -qec '\"$TOOL\" " + arguments +
                     "' /dev/null")
            .out;
    };
    const std::string shown = onTerminal("convert a.dds b.dds .");
    EXPECT_NE(shown.find("\r\x1B[K1 of 2 files"), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("2 files: 1 done, 1 black\r\n")) << shown;
    // Not where it would stand between the data.
    for (const std::string& other : {onTerminal("convert a.dds b.dds . --quiet"), onTerminal("info a.dds b.dds"),
                                     run("convert a.dds b.dds .").err})
        EXPECT_EQ(other.find(" of 2"), std::string::npos) << other;
}
