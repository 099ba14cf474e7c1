// kpximage over many files and folders, as a user runs it, and the schema of its JSON.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"
#include "tools/files/PendingFile.h"
#include "tools/terminal/interrupts.h"

using namespace kpx;
using namespace testing_support;

namespace fs = std::filesystem;

namespace {

// Luminance of the width.
Bytes grey(std::uint32_t width) {
    DdsFileHeader header = headerOf(width, 1);
    header.header.ddspf = {32, DDPF_LUMINANCE, 0, 8, 0xFF, 0, 0, 0};
    return fileOf(header, Bytes(width, 7));
}

Bytes cutBlocks() {
    return fileOf(codeHeader(fourCC("DXT1"), 64, 64), Bytes(3));
}

class BatchRun : public Tool {
protected:
    void put(const std::string& name, const Bytes& content) const {
        fs::create_directories(fs::path(at(name)).parent_path());
        file(name, content);
    }

    // Good files and a black one, other files beside them, and folders below.
    void putTree() const {
        put("in/b.dds", grey(2));
        put("in/A.DDS", grey(1));
        put("in/notes.txt", Bytes(200));
        put("in/low/b.dds", grey(4));
        put("in/low/deep/c.dds", cutBlocks());
        put("empty/notes.txt", Bytes(200));
        put("links/a.dds", grey(2));
        fs::create_symlink("nowhere", at("links/b.dds"));
        ASSERT_EQ(mkfifo(at("pipe.dds").c_str(), 0600), 0);
        fs::create_directory(at("out"));
    }

    [[nodiscard]] std::string filesBelow(const std::string& folder) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(at(folder))) {
            if (entry.is_regular_file()) found.push_back(entry.path().lexically_relative(at(folder)));
        }
        std::sort(found.begin(), found.end());
        std::string joined;
        for (const std::string& name : found) joined += (joined.empty() ? "" : " ") + name;
        return joined;
    }
};

TEST_F(BatchRun, SeveralThreadsGiveTheFilesAndMessagesOfOne) {
    for (int i = 0; i < 40; ++i)
        put(std::string("in/").append(std::to_string(i)).append(".dds"), i % 4 == 3 ? cutBlocks() : grey(64));
    put("in/x.dds", Bytes(5));
    const auto convert = [&](const std::string& jobs) {
        fs::create_directory(at(jobs));
        RunResult result = run("convert in " + jobs + " --jobs " + jobs, "umask 026;");
        std::istringstream lines(result.err);
        std::vector<std::string> sorted;
        for (std::string line; std::getline(lines, line);) sorted.push_back(line);
        EXPECT_EQ(sorted.back(), "kpximage: 41 files: 30 done, 10 black, 1 failed");
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        return sorted;
    };
    const std::vector<std::string> messages = convert("1");
    EXPECT_EQ(messages.size(), 22U);  // two for each black picture
    EXPECT_EQ(std::count(messages.begin(), messages.end(), "kpximage: in/3.dds: Error loading DDS pixel data"), 1);
    EXPECT_EQ(convert("8"), messages);
    EXPECT_EQ(filesBelow("8"), filesBelow("1"));
    for (int i = 0; i < 40; ++i) {
        const std::string name = std::string("/").append(std::to_string(i)).append(".png");
        EXPECT_EQ(textOfFile(at("8" + name)), textOfFile(at("1" + name))) << name;
        EXPECT_EQ(static_cast<int>(fs::status(at("8" + name)).permissions()), 0640) << name;
    }
}

TEST_F(BatchRun, ASignalLeavesNoHalfMadeFile) {
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
TEST_F(BatchRun, ProgressIsShownOnATerminalOnly) {
    if (std::system("command -v script >/dev/null") != 0) GTEST_SKIP() << "there is no script(1)";
    put("in/a.dds", grey(1));
    put("in/b.dds", cutBlocks());
    fs::create_directory(at("out"));
    const std::string tool = "'KPX_PLUGIN=" KPX_PLUGIN_PATH " " KPX_TOOL_PATH " convert in out";
    const std::string shown = run("--version >/dev/null; script -qec " + tool + "' /dev/null").out;
    EXPECT_NE(shown.find("\r\x1B[K1 of 2 files"), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("2 files: 1 done, 1 black\r\n")) << shown;
    EXPECT_EQ(run("--version >/dev/null; script -qec " + tool + " --quiet' /dev/null").out.find(" of 2"),
              std::string::npos);
    EXPECT_EQ(run("convert in out").err.find(" of 2"), std::string::npos);
}

}  // namespace
