// What kpximage leaves behind when a signal ends it, and what it shows on a terminal meanwhile.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/Tool.h"
#include "tests/support/describedFile.h"
#include "tools/files/PendingFile.h"
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
            file.commit();
        } catch (const tool::Interrupted&) {
            tool::endIfInterrupted();
        }
    };
    EXPECT_EXIT(makeFile(SIGTERM), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EQ(names(), "");
    const int nameless = open(at("").c_str(), O_TMPFILE | O_RDWR, 0600);
    if (nameless < 0) GTEST_SKIP() << "the file system has no files without a name";
    close(nameless);
    EXPECT_EXIT(makeFile(SIGKILL), testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(names(), "");
}

// A terminal is what script(1) makes of a pipe.
TEST_F(Tool, ProgressIsShownOnATerminalOnly) {
    if (std::system("command -v script >/dev/null") != 0) GTEST_SKIP() << "there is no script(1)";
    file("a.dds", describedFile("size=4x4 dxgi=28 zeros=64"));
    file("b.dds", describedFile("size=64x64 code=DXT1 zeros=3"));
    const std::string line = "script -qec 'KPX_PLUGIN=" KPX_PLUGIN_PATH " " KPX_TOOL_PATH " convert a.dds b.dds . ";
    const std::string shown = shell(line + "' /dev/null").out;
    EXPECT_NE(shown.find("\r\x1B[K1 of 2 files"), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("2 files: 1 done, 1 black\r\n")) << shown;
    EXPECT_EQ(shell(line + "--quiet' /dev/null").out.find(" of 2"), std::string::npos);
    EXPECT_EQ(run("convert a.dds b.dds .").err.find(" of 2"), std::string::npos);
}
