// The built plug-in under a host that somebody else built: what it refuses to write, and every byte of what it writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/ddsFiles.h"
#include "tests/support/pluginFixture.h"
#include "tests/support/processState.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class PluginWriting : public PluginFixture {
protected:
    // A whole file, written from the handle's description.
    void writeWhole(TestHandle& handle, int width, int height) const;
};

// The checks.

struct Flaw {
    const char* report;
    void (*putInto)(TestHandle& handle);
};

// In the order in which they are looked for.
const Flaw flaws[] = {
    {"902.61, severity 3: Texture cannot store multiple images\n", [](TestHandle& h) { h.imageCount = 2; }},
    {"902.61, severity 3: Texture cannot store multiple images\n", [](TestHandle& h) { h.descriptor = nullptr; }},
    {"902.75, severity 3: Texture cannot handle image channel format, \"FORMAT\"\n",
     [](TestHandle& h) { h.channelFormatData = &h; }},
    {"902.50, severity 3: Invalid orientation for \"Texture\" format\n",
     [](TestHandle& h) { h.described.orientation = 1; }},
    {"902.75, severity 3: Texture cannot handle image channel format, \"FORMAT\"\n",
     [](TestHandle& h) { h.described.channelFormat = const_cast<char*>("grey"); }},
    {"902.75, severity 3: Texture cannot handle image channel format, \"FORMAT\"\n",
     [](TestHandle& h) { h.described.channelCount = 4; }},
    {"902.73, severity 3: Texture cannot handle image channel width\n",
     [](TestHandle& h) { h.described.channelBits = 16; }},
    {"902.78, severity 3: Texture cannot handle multiple matte channels\n",
     [](TestHandle& h) { h.described.matteCount = 2; }},
    {"902.80, severity 3: Texture cannot handle matte channel width\n",
     [](TestHandle& h) { h.described.matteBits = 0; }},
    {"902.68, severity 2: Texture cannot use auxiliary channels\n", [](TestHandle& h) { h.described.auxCount = -1; }},
};
constexpr unsigned noDescriptor = 1;

std::string reportsOf(unsigned flawSet) {
    std::string reports;
    for (unsigned i = 0; i < std::size(flaws); ++i) {
        if ((flawSet >> i & 1) == 0) continue;
        std::string report = flaws[i].report;
        const std::size_t format = report.find("FORMAT");
        const char* name = (flawSet >> 4 & 1) != 0 ? "grey" : KPX_LITERAL_HARD_FORMAT_TYPE_RGB;
        if (format != std::string::npos) report.replace(format, 6, name);
        reports += report;
        if (i == noDescriptor) break;
    }
    return reports;
}

TEST_F(PluginWriting, ReportsEverySetOfReasonsToRefuseAnImageInOrder) {
    const std::string path = m_folder.at("never.dds");
    for (unsigned flawSet = 1; flawSet < 1U << std::size(flaws); ++flawSet) {
        TestHandle handle(path.c_str());
        handle.describe(4, 4);
        for (unsigned i = 0; i < std::size(flaws); ++i) {
            if ((flawSet >> i & 1) != 0) flaws[i].putInto(handle);
        }
        kpx__err = oldError;
        ASSERT_EQ(m_plugin.imageWriteOpen(&handle), 0) << flawSet;
        ASSERT_EQ(hostCalls(), reportsOf(flawSet)) << flawSet;
        ASSERT_EQ(kpx__err, -16);
        ASSERT_NE(handle.pluginData, nullptr);
        ASSERT_EQ(*handle.pluginData, nullptr);
        ASSERT_EQ(handle.scanlineFunction, nullptr);
        ASSERT_EQ(handle.closeFunction, nullptr);
    }
    EXPECT_FALSE(fs::exists(path));
}

// Other values than those of the table above, which lie beside a limit.
TEST_F(PluginWriting, RefusesByTheStatedLimits) {
    struct Case {
        void (*change)(TestHandle& handle);
        bool accepted;
    };
    static char sameText[] = "colours of this host";
    const Case cases[] = {
        {[](TestHandle& h) { h.imageCount = 0; }, true},
        {[](TestHandle& h) { h.imageCount = -7; }, true},
        {[](TestHandle& h) { h.described.channelFormat = sameText; }, true},
        {[](TestHandle& h) { h.described.matteCount = -1; }, true},
        {[](TestHandle& h) { h.described.matteCount = 0; }, true},
        {[](TestHandle& h) { h.described.channelFormat = nullptr; }, false},
        {[](TestHandle& h) { h.described.channelCount = -1; }, false},
        {[](TestHandle& h) { h.described.channelBits = 32; }, false},
        {[](TestHandle& h) { h.described.matteBits = 16; }, false},
        {[](TestHandle& h) { h.described.auxCount = 1; }, false},
        {[](TestHandle& h) { h.described.orientation = 3; }, false},
        {[](TestHandle& h) { h.formatName = nullptr, h.described.orientation = 0; }, false},
    };
    const std::string path = m_folder.at("a.dds");
    for (const Case& test : cases) {
        TestHandle handle(path.c_str());
        handle.describe(4, 4);
        test.change(handle);
        kpx__err = oldError;
        ASSERT_EQ(m_plugin.imageWriteOpen(&handle), test.accepted ? 1 : 0) << &test - cases;
        EXPECT_EQ(kpx__err, test.accepted ? 0 : -16);
        EXPECT_EQ(hostCalls().empty(), test.accepted);
        if (test.accepted) handle.close();
        hostCalls();
    }
}

// The bytes of the file.

unsigned char sampleOf(int channel, int x, int y) {
    return static_cast<unsigned char>(1 + 64 * channel + 16 * (y % 4) + x);
}

// Hands over scanline y in rows of exactly the image's width; of the matte only where the image has one.
int deliver(const TestHandle& handle, int width, int y) {
    std::array<Bytes, 4> samples;
    std::array<unsigned char*, 4> rows{};
    const std::size_t channels = handle.described.matteCount == 1 ? 4 : 3;
    for (std::size_t c = 0; c < channels; ++c) {
        for (int x = 0; x < width; ++x) samples[c].push_back(sampleOf(static_cast<int>(c), x, y));
        rows[c] = samples[c].data();
    }
    return handle.write(y, rows.data());
}

Bytes expectedFile(int width, int height, bool alpha, const std::function<bool(int)>& delivered) {
    const auto paddedWidth = static_cast<std::uint32_t>((width + 3) / 4 * 4);
    const std::uint32_t pixelBytes = alpha ? 4 : 3;
    const std::pair<std::size_t, std::uint32_t> fields[] = {{0, 0x20534444},
                                                            {4, 124},
                                                            {8, 0x100F},
                                                            {12, static_cast<std::uint32_t>(height)},
                                                            {16, paddedWidth},
                                                            {20, paddedWidth * pixelBytes},
                                                            {76, 32},
                                                            {80, alpha ? 0x41 : 0x40},
                                                            {88, 8 * pixelBytes},
                                                            {92, 0x00FF0000},
                                                            {96, 0x0000FF00},
                                                            {100, 0x000000FF},
                                                            {104, alpha ? 0xFF000000 : 0},
                                                            {108, 0x1000}};
    Bytes bytes(128);
    for (const auto& [offset, value] : fields) std::memcpy(bytes.data() + offset, &value, sizeof value);
    for (int y = height - 1; y >= 0; --y) {
        for (int x = 0; x < static_cast<int>(paddedWidth); ++x) {
            for (const int channel : {2, 1, 0, 3}) {
                if (channel == 3 && !alpha) continue;
                bytes.push_back(delivered(y) ? sampleOf(channel, std::min(x, width - 1), y) : 0);
            }
        }
    }
    return bytes;
}

bool always(int /*y*/) {
    return true;
}

void PluginWriting::writeWhole(TestHandle& handle, int width, int height) const {
    ASSERT_EQ(m_plugin.imageWriteOpen(&handle), 1);
    EXPECT_EQ(kpx__err, 0);
    for (int y = 0; y < height; ++y) EXPECT_EQ(deliver(handle, width, y), 0);
    EXPECT_EQ(handle.close(), 0);
}

TEST_F(PluginWriting, WritesPaddedRowsFromTheTop) {
    const std::string path = m_folder.at("a.dds");
    for (const bool alpha : {false, true}) {
        for (const auto& [width, height] : {std::pair{1, 1}, {2, 1}, {3, 2}, {4, 4}, {5, 2}, {8, 4}, {31, 7}}) {
            TestHandle handle(path.c_str());
            handle.describe(width, height);
            handle.described.matteCount = alpha ? 1 : 0;
            writeWhole(handle, width, height);
            EXPECT_EQ(readFile(path), expectedFile(width, height, alpha, always)) << width << " by " << height;
        }
    }
}

TEST_F(PluginWriting, WritesZerosForRowsThatNeverArrived) {
    const std::string path = m_folder.at("a.dds");
    TestHandle handle(path.c_str());
    handle.describe(5, 6);
    ASSERT_EQ(m_plugin.imageWriteOpen(&handle), 1);
    EXPECT_EQ(fs::file_size(path), 0U) << "nothing is written before the close";
    for (const int y : {4, 1, 4}) EXPECT_EQ(deliver(handle, 5, y), 0);
    for (const int outside : {-1, 6, INT_MAX, INT_MIN}) {
        kpx__err = oldError;
        EXPECT_EQ(deliver(handle, 5, outside), -2);
        EXPECT_EQ(kpx__err, -2);
    }
    EXPECT_EQ(deliver(handle, 5, 0), 0);
    EXPECT_EQ(kpx__err, 0);
    EXPECT_EQ(reinterpret_cast<ScanlineWriteFunction>(handle.scanlineFunction)(nullptr, 0, nullptr), -2);
    EXPECT_EQ(kpx__err, -2);
    EXPECT_EQ(handle.close(), 0);
    EXPECT_EQ(kpx__err, 0);
    EXPECT_EQ(readFile(path), expectedFile(5, 6, true, [](int y) { return y == 0 || y == 1 || y == 4; }));
}

TEST_F(PluginWriting, WritesAsTheOptionsChoose) {
    const std::string unknown7 =
        "902.92, severity 2: Unknown type-specific capability code (7) specified when trying to open image file\n";
    const std::string unknownEnd =
        "902.92, severity 2: Unknown type-specific capability code (65535) specified when trying to open image file\n";
    struct Case {
        std::vector<OptionSetting> settings;
        bool alpha;
        std::string calls;
    };
    const Case cases[] = {
        {{}, true, ""},
        {{{0, 9, {1, 0, 0, 0}}}, true, ""},
        {{{0, 9, {0, 1, 1, 1}}}, false, ""},
        {{{0, 9, {2, 0, 0, 0}}}, false, ""},
        {{{0, 9, {255, 0, 0, 0}}}, false, ""},
        {{{0, 9, {0, 0, 0, 0}}, {0, 9, {1, 0, 0, 0}}}, true, ""},
        {{{1, 9, {1, 0, 0, 0}}}, true, ""},
        {{{1, 9, {3, 0, 0, 0}}, {0, 9, {0, 0, 0, 0}}}, false, ""},
        {{{1, 9, {3, 0, 0, 0}}, {7, 9, {0, 0, 0, 0}}, {0, 9, {0, 0, 0, 0}}}, true, unknown7},
        {{{0, 9, {0, 0, 0, 0}}, {0xFFFF, 9, {0, 0, 0, 0}}, {7, 9, {1, 0, 0, 0}}}, false, unknownEnd},
    };
    const std::string path = m_folder.at("a.dds");
    for (const bool matte : {true, false}) {
        for (Case test : cases) {
            SCOPED_TRACE(testing::Message() << "matte " << matte << ", settings " << test.settings.size());
            std::vector<OptionSetting*> options;
            for (OptionSetting& setting : test.settings) options.push_back(&setting);
            options.push_back(nullptr);
            TestHandle handle(path.c_str());
            handle.describe(5, 2);
            handle.described.matteCount = matte ? 1 : 0;
            handle.options = options.data();
            writeWhole(handle, 5, 2);
            EXPECT_EQ(hostCalls(), test.calls + "kpx__free_obj\n");
            EXPECT_EQ(readFile(path), expectedFile(5, 2, matte && test.alpha, always));
        }
    }
}

TEST_F(PluginWriting, LooksForOptionsInTheTableAsTheHostHasChangedIt) {
    CapabilityEntry* rows = nullptr;
    int count[3];
    m_plugin.imageCapability(&rows, &count[0], &count[1], &count[2]);
    const CapabilityEntry ends[] = {rows[1], rows[2]};
    rows[2].code = 7;
    for (const auto& [catalogSet, unknown] : {std::pair{0, "1"}, {0, "7"}, {901, "9"}}) {
        rows[catalogSet == 0 && *unknown == '1' ? 1 : 2].catalogSet = catalogSet;
        OptionSetting settings[] = {{1, 9, {3, 0, 0, 0}}, {7, 9, {0, 0, 0, 0}}, {9, 9, {0, 0, 0, 0}}};
        OptionSetting* options[] = {&settings[0], &settings[1], &settings[2], nullptr};
        TestHandle handle(m_folder.at("a.dds").c_str());
        handle.describe(5, 2);
        handle.options = options;
        EXPECT_EQ(m_plugin.imageWriteOpen(&handle), 1);
        EXPECT_NE(hostCalls().find(std::string("code (") + unknown + ")"), std::string::npos);
        handle.close();
        rows[1] = ends[0];
    }
    rows[2] = ends[1];
}

TEST_F(PluginWriting, WritesTheWindowsSize) {
    const std::string path = m_folder.at("a.dds");
    for (const PixelWindow& window :
         {PixelWindow{10, 109, 20, 69}, {-5, 94, -60, -11}, {INT_MAX - 99, INT_MAX, 0, 49}}) {
        TestHandle handle(path.c_str());
        handle.describe(1, 1);
        handle.described.window = window;
        writeWhole(handle, 100, 50);
        EXPECT_EQ(readFile(path), expectedFile(100, 50, true, always));
    }
}

// Windows and paths of which no file can be made.
TEST_F(PluginWriting, ReportsWhatItCannotWrite) {
    const std::string existing = m_folder.at("existing.dds");
    std::ofstream(existing) << "kept";
    const std::string shutFolder = m_folder.at("shut");
    fs::create_directory(shutFolder);
    fs::permissions(shutFolder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
    fs::permissions(m_folder.at(""), fs::perms::others_exec, fs::perm_options::add);
    const std::string inShutFolder = shutFolder + "/a.dds";
    const std::string inNoFolder = m_folder.at("no/a.dds");
    const PixelWindow good{0, 3, 0, 3};
    struct Case {
        const char* path;
        PixelWindow window;
        int reason;
    };
    const Case cases[] = {
        {existing.c_str(), {5, 4, 0, 3}, EINVAL},
        {existing.c_str(), {0, 3, 9, -9}, EINVAL},
        {existing.c_str(), {INT_MAX, INT_MIN, INT_MAX, INT_MIN}, EINVAL},
        {existing.c_str(), {0, 65535, 0, 65535}, EFBIG},
        {existing.c_str(), {INT_MIN, INT_MAX, INT_MIN, INT_MAX}, EFBIG},
        {existing.c_str(), {INT_MIN, INT_MAX, 0, 0}, EFBIG},
        {"/", good, EISDIR},
        {inNoFolder.c_str(), good, ENOENT},
        {inShutFolder.c_str(), good, EACCES},
        {nullptr, good, ENOENT},
    };
    OptionSetting unknown{7, 0, {}};
    OptionSetting* options[] = {&unknown, nullptr};
    const std::ptrdiff_t descriptors = openDescriptors();
    for (const Case& test : cases) {
        for (const bool unknownOption : {false, true}) {
            TestHandle handle(test.path);
            handle.describe(1, 1);
            handle.described.window = test.window;
            if (unknownOption) handle.options = options;
            const uid_t user = geteuid();
            // Permissions do not apply to the superuser.
            ASSERT_EQ(seteuid(test.reason == EACCES && user == 0 ? 65534 : user), 0);
            const int result = m_plugin.imageWriteOpen(&handle);
            ASSERT_EQ(seteuid(user), 0);
            EXPECT_EQ(result, 0);
            const std::string calls = hostCalls();
            EXPECT_TRUE(calls.ends_with(std::string("902.52, severity 3: Cannot open file ") +
                                        (test.path == nullptr ? "" : test.path) + "; " + std::strerror(test.reason) +
                                        "\n"))
                << calls;
            EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), unknownOption ? 2 : 1);
            EXPECT_EQ(kpx__err, unknownOption ? -16 : 0);
            EXPECT_EQ(handle.pluginData, nullptr);
            EXPECT_NE(handle.closeFunction, nullptr);
        }
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(fs::file_size(existing), 4U);
}

TEST_F(PluginWriting, EndsQuietlyWhereTheFileDoesNotFit) {
    const std::string path = m_folder.at("a.dds");
    for (const bool wholeHeader : {false, true}) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlim_t limit = wholeHeader ? 20000 : 100;
        const LoweredLimit fileSize(RLIMIT_FSIZE, limit);
        TestHandle handle(path.c_str());
        handle.describe(100, 100);
        writeWhole(handle, 100, 100);
        std::signal(SIGXFSZ, SIG_DFL);
        EXPECT_EQ(fs::file_size(path), limit);
    }
    TestHandle full("/dev/full");
    full.describe(100, 100);
    writeWhole(full, 100, 100);
    EXPECT_EQ(hostCalls(), "kpx__free_obj\nkpx__free_obj\nkpx__free_obj\n");
}

TEST_F(PluginWriting, ManyAtATimeWriteTheirOwnHandles) {
    if (underThreadSanitizer) GTEST_SKIP() << "writing sets kpx__err, the one error code of the whole process";
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int width = 1; width <= 4; ++width) {
        threads.emplace_back([this, &wrong, width] {
            const std::string path = m_folder.at(std::to_string(width));
            for (int round = 0; round < 50; ++round) {
                TestHandle handle(path.c_str());
                handle.describe(width, 9);
                if (m_plugin.imageWriteOpen(&handle) != 1) ++wrong;
                for (int y = 0; y < 9; ++y) deliver(handle, width, y);
                handle.close();
                if (readFile(path) != expectedFile(width, 9, true, always)) ++wrong;
                resetHost();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
