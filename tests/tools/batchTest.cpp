// Tests interrupts, progress on a terminal and standard output during a batch.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <thread>

#include "tests/support/Tool.h"
#include "tests/support/describedFile.h"
#include "tools/commands/Batch.h"
#include "tools/files/PendingFile.h"
#include "tools/plugin/StdoutGate.h"
#include "tools/terminal/errors.h"

using namespace kpx;
using namespace testing_support;

TEST_F(Tool, LeavesNoIncompleteFileAfterASignal) {
    const auto makeFile = [this](int signal) {
        tool::noteInterrupts();
        try {
            tool::PendingFile file(at("a.png"));
            std::ofstream(file.path()) << "half" << std::flush;
            std::raise(signal);
            std::cerr << "noted";
            const tool::InputFiles inputs{{{"b.dds", ""}, {"c.dds", ""}}};
            try {
                runBatch(inputs, {}, [](const tool::InputFile&, tool::Report&) {
                    return (std::cerr << " but not heeded", tool::Outcome::done);
                });
            } catch (const tool::Interrupted&) {
                std::cerr << " and heeded";
            }
            file.commit();
        } catch (const tool::Interrupted&) {
            tool::endIfInterrupted();
        }
    };
    EXPECT_EXIT(makeFile(SIGTERM), testing::KilledBySignal(SIGTERM),
                "^notedkpximage: stopped after 0 of 2 files\n and heeded$");
    EXPECT_EQ(names(), "");
    const int nameless = open(at("").c_str(), O_TMPFILE | O_RDWR, 0600);
    if (nameless < 0) GTEST_SKIP() << "the file system has no files without a name";
    close(nameless);
    EXPECT_EXIT(makeFile(SIGKILL), testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(names(), "");
}

// Output of other threads and of std::cout passes; that of this thread is dropped until its last gate is gone.
TEST(StdoutGate, DropsOnlyTheOutputOfItsThread) {
    testing::internal::CaptureStdout();
    auto first = std::make_unique<tool::StdoutGate>(), second = std::make_unique<tool::StdoutGate>();
    std::puts("with two");
    std::thread([] { std::puts("another thread"); }).join();
    first.reset();
    std::puts("with one");
    std::cout << "the tool\n" << std::flush;
    second.reset();
    std::puts("with none");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "another thread\nthe tool\nwith none\n");
}

// script(1) provides the terminal.
TEST_F(Tool, ShowsProgressOnlyOnATerminal) {
    if (std::system("command -v script >/dev/null") != 0) GTEST_SKIP() << "there is no script(1)";
    file("a.dds", describedFile("size=4x4 dxgi=28 zeros=64"));
    file("b.dds", describedFile("size=64x64 code=DXT1 zeros=3"));
    const auto onTerminal = [this](const std::string& arguments) {
        return shell("KPX_PLUGIN='" KPX_PLUGIN_PATH "' TOOL='" KPX_TOOL_PATH "' script -qec '\"$TOOL\" " + arguments +
                     "' /dev/null")
            .out;
    };
    const std::string shown = onTerminal("convert a.dds b.dds -o .");
    EXPECT_NE(shown.find("\r\x1B[K1 of 2 files"), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("2 files: 1 done, 1 black\r\n")) << shown;
    // Progress is erased before data is printed, whichever file is done first.
    const std::string mixed = onTerminal("info a.dds b.dds");
    for (const char* data : {"filesa.dds", "filesb.dds"}) EXPECT_EQ(mixed.find(data), std::string::npos) << mixed;
    for (const std::string& other :
         {onTerminal("convert a.dds b.dds -o . -f -q"), run("convert a.dds b.dds -o . -f").err})
        EXPECT_EQ(other.find(" of 2"), std::string::npos) << other;
}
