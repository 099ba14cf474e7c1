// Tests writing with the built plug-in in a foreign host: what it refuses, and every byte that it writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>

#include "tests/support/ddsFiles.h"
#include "tests/support/pluginFixture.h"
#include "tests/support/processState.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

unsigned char sampleOf(int channel, int x, int y) {
    return static_cast<unsigned char>(1 + 64 * channel + 16 * (y % 4) + x);
}

// Returns the bytes of a file to which only the given rows were written.
Bytes expectedFile(int width, int height, bool alpha, const std::vector<int>& rows) {
    const auto paddedWidth = static_cast<std::uint32_t>((width + 3) / 4 * 4);
    kpx::DdsFileHeader file = headerOf(paddedWidth, static_cast<std::uint32_t>(height));
    const std::uint32_t pixelBytes = alpha ? 4 : 3;
    file.header.dwFlags = 0x100F;
    file.header.dwPitchOrLinearSize = paddedWidth * pixelBytes;
    file.header.ddspf = {32, alpha ? 0x41U : 0x40U, 0, 8 * pixelBytes, 0xFF0000, 0xFF00, 0xFF, alpha ? 0xFF000000 : 0};
    file.header.dwCaps = 0x1000;
    Bytes bytes = fileOf(file);
    for (int y = height - 1; y >= 0; --y) {
        const bool arrived = std::count(rows.begin(), rows.end(), y) != 0;
        for (int x = 0; x < static_cast<int>(paddedWidth); ++x) {
            for (const int channel : {2, 1, 0, 3}) {
                if (channel == 3 && !alpha) continue;
                bytes.push_back(arrived ? sampleOf(channel, std::min(x, width - 1), y) : 0);
            }
        }
    }
    return bytes;
}

std::vector<int> allRows(int height) {
    std::vector<int> rows;
    for (int y = 0; y < height; ++y) rows.push_back(y);
    return rows;
}

// Writes scanline y from rows of exactly the image's width; with a matte only if the image has one.
int deliver(const TestHandle& handle, int width, int y) {
    std::array<Bytes, 4> samples;
    std::array<unsigned char*, 4> rows{};
    for (std::size_t c = 0; c < (handle.described.matteCount == 1 ? 4U : 3U); ++c) {
        for (int x = 0; x < width; ++x) samples[c].push_back(sampleOf(static_cast<int>(c), x, y));
        rows[c] = samples[c].data();
    }
    return handle.write(y, rows.data());
}

class PluginWriting : public PluginFixture {
protected:
    // Writes a whole file, as the handle describes it.
    void writeWhole(TestHandle& handle, int width, int height) const {
        ASSERT_EQ(m_plugin.imageWriteOpen(&handle), 1);
        EXPECT_EQ(kpx__err, 0);
        for (const int y : allRows(height)) EXPECT_EQ(deliver(handle, width, y), 0);
        EXPECT_EQ(handle.close(), 0);
    }

    const std::string m_path = m_folder.at("a.dds");
};

// The checks.

struct Flaw {
    const char* report;
    void (*putInto)(TestHandle& handle);
};
const std::string otherFormat = "grey";
constexpr const char* wrongFormat = "75, severity 3: Texture cannot handle image channel format, ";
constexpr const char* oneImage = "61, severity 3: Texture cannot store multiple images";

// In the order in which they are checked. An image with two of them must be refused like one with the first alone.
const Flaw flaws[] = {
    {oneImage, [](TestHandle& h) { h.imageCount = 2; }},
    {oneImage, [](TestHandle& h) { h.descriptor = nullptr; }},
    {wrongFormat, [](TestHandle& h) { h.channelFormatData = &h; }},
    {"50, severity 3: Invalid orientation for \"Texture\" format", [](TestHandle& h) { h.described.orientation = 1; }},
    {wrongFormat, [](TestHandle& h) { h.described.channelFormat = const_cast<char*>(otherFormat.c_str()); }},
    {wrongFormat, [](TestHandle& h) { h.described.channelCount = 4; }},
    {"73, severity 3: Texture cannot handle image channel width", [](TestHandle& h) { h.described.channelBits = 16; }},
    {"78, severity 3: Texture cannot handle multiple matte channels",
     [](TestHandle& h) { h.described.matteCount = 2; }},
    {"80, severity 3: Texture cannot handle matte channel width", [](TestHandle& h) { h.described.matteBits = 0; }},
    {"68, severity 2: Texture cannot use auxiliary channels", [](TestHandle& h) { h.described.auxCount = -1; }},
};
constexpr unsigned noDescriptor = 1;
constexpr unsigned formatName = 4;

std::string reportsOf(unsigned flawSet) {
    const std::string format = (flawSet >> formatName & 1) != 0 ? otherFormat : KPX_LITERAL_HARD_FORMAT_TYPE_RGB;
    std::string reports;
    for (unsigned i = 0; i < std::size(flaws); ++i) {
        if ((flawSet >> i & 1) == 0) continue;
        reports += "902." + (flaws[i].report + (flaws[i].report == wrongFormat ? '"' + format + '"' : "")) + "\n";
        if (i == noDescriptor) break;
    }
    return reports;
}

TEST_F(PluginWriting, ReportsAllReasonsToRefuseAnImageInOrder) {
    for (unsigned flawSet = 1; flawSet < 1U << std::size(flaws); ++flawSet) {
        TestHandle handle(m_path);
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
    EXPECT_FALSE(fs::exists(m_path));
}

// Values next to a limit, beyond those of the table above.
TEST_F(PluginWriting, RefusesValuesBeyondTheLimits) {
    static char sameText[] = "colours of this host";
    const struct {
        void (*change)(TestHandle& handle);
        bool accepted;
    } cases[] = {
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
    for (const auto& each : cases) {
        TestHandle handle(m_path);
        handle.describe(4, 4);
        each.change(handle);
        kpx__err = oldError;
        ASSERT_EQ(m_plugin.imageWriteOpen(&handle), each.accepted ? 1 : 0) << &each - cases;
        EXPECT_EQ(kpx__err, each.accepted ? 0 : -16);
        EXPECT_EQ(hostCalls().empty(), each.accepted);
        if (each.accepted) handle.close();
        hostCalls();
    }
}

// The bytes of the file.

TEST_F(PluginWriting, WritesTheWindowInPaddedRows) {
    const PixelWindow windows[] = {
        {0, 0, 0, 0}, {0, 1, 0, 0},  {1, 3, -1, 0},     {0, 3, 0, 3},       {0, 4, 0, 1},
        {0, 7, 0, 3}, {0, 30, 0, 6}, {10, 109, 20, 69}, {-5, 94, -60, -11}, {INT_MAX - 99, INT_MAX, 0, 49}};
    for (const bool alpha : {false, true}) {
        for (const PixelWindow& window : windows) {
            const int width = window.xMax - window.xMin + 1;
            const int height = window.yMax - window.yMin + 1;
            TestHandle handle(m_path);
            handle.describe(1, 1);
            handle.described.window = window;
            handle.described.matteCount = alpha ? 1 : 0;
            writeWhole(handle, width, height);
            EXPECT_EQ(readFile(m_path), expectedFile(width, height, alpha, allRows(height))) << width << ' ' << height;
        }
    }
}

TEST_F(PluginWriting, WritesZerosForMissingRows) {
    TestHandle handle(m_path);
    handle.describe(5, 6);
    ASSERT_EQ(m_plugin.imageWriteOpen(&handle), 1);
    EXPECT_EQ(fs::file_size(m_path), 0U) << "nothing is written before the close";
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
    EXPECT_EQ(readFile(m_path), expectedFile(5, 6, true, {0, 1, 4}));
}

std::string unknownOption(int code) {
    std::string text = "Unknown type-specific capability code (#) specified when trying to open image file";
    return "902.92, severity 2: " + text.replace(text.find('#'), 1, std::to_string(code)) + "\n";
}

TEST_F(PluginWriting, FollowsTheOptions) {
    const struct {
        std::vector<OptionSetting> settings;
        bool alpha;
        std::string reports;
    } cases[] = {
        {{}, true, ""},
        {{{0, 9, {1, 0, 0, 0}}}, true, ""},
        {{{0, 9, {0, 1, 1, 1}}}, false, ""},
        {{{0, 9, {255, 0, 0, 0}}}, false, ""},
        {{{0, 9, {0, 0, 0, 0}}, {0, 9, {1, 0, 0, 0}}}, true, ""},
        {{{1, 9, {1, 0, 0, 0}}}, true, ""},
        {{{1, 9, {3, 0, 0, 0}}, {0, 9, {0, 0, 0, 0}}}, false, ""},
        {{{1, 9, {3, 0, 0, 0}}, {7, 9, {0, 0, 0, 0}}, {0, 9, {0, 0, 0, 0}}}, true, unknownOption(7)},
        {{{0, 9, {0, 0, 0, 0}}, {0xFFFF, 9, {0, 0, 0, 0}}, {7, 9, {1, 0, 0, 0}}}, false, unknownOption(65535)},
    };
    for (const bool matte : {true, false}) {
        for (auto each : cases) {
            SCOPED_TRACE(testing::Message() << "matte " << matte << ", settings " << each.settings.size());
            std::vector<OptionSetting*> options;
            for (OptionSetting& setting : each.settings) options.push_back(&setting);
            options.push_back(nullptr);
            TestHandle handle(m_path);
            handle.describe(5, 2);
            handle.described.matteCount = matte ? 1 : 0;
            handle.options = options.data();
            writeWhole(handle, 5, 2);
            EXPECT_EQ(hostCalls(), each.reports + "kpx__free_obj\n");
            EXPECT_EQ(readFile(m_path), expectedFile(5, 2, matte && each.alpha, {0, 1}));
        }
    }
}

TEST_F(PluginWriting, UsesTheOptionTableThatTheHostChanged) {
    CapabilityEntry* rows = nullptr;
    int count[3];
    m_plugin.imageCapability(&rows, &count[0], &count[1], &count[2]);
    rows[2].code = 7;
    // The catalogue sets of two rows, of which the first 0 ends the table, and the first setting without a row.
    for (const auto& [set1, set2, unknown] : {std::array{0, 0, 1}, {901, 0, 7}, {901, 901, 9}}) {
        rows[1].catalogSet = set1;
        rows[2].catalogSet = set2;
        OptionSetting settings[] = {{1, 9, {3, 0, 0, 0}}, {7, 9, {0, 0, 0, 0}}, {9, 9, {0, 0, 0, 0}}};
        OptionSetting* options[] = {&settings[0], &settings[1], &settings[2], nullptr};
        TestHandle handle(m_path);
        handle.describe(5, 2);
        handle.options = options;
        EXPECT_EQ(m_plugin.imageWriteOpen(&handle), 1);
        EXPECT_EQ(hostCalls(), unknownOption(unknown));
        handle.close();
        hostCalls();
    }
}

// Windows and paths for which no file can be created.
TEST_F(PluginWriting, ReportsAFileThatItCannotWrite) {
    const std::string existing = m_folder.file("existing.dds", std::string("kept"));
    const std::string shutFolder = m_folder.at("shut");
    fs::create_directory(shutFolder);
    fs::permissions(shutFolder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
    fs::permissions(m_folder.at(""), fs::perms::others_exec, fs::perm_options::add);
    const PixelWindow good{0, 3, 0, 3};
    const struct {
        std::string path;
        PixelWindow window;
        int reason;
    } cases[] = {
        {existing, {5, 4, 0, 3}, EINVAL},
        {existing, {0, 3, 9, -9}, EINVAL},
        {existing, {INT_MAX, INT_MIN, INT_MAX, INT_MIN}, EINVAL},
        {existing, {0, 65535, 0, 65535}, EFBIG},
        {existing, {INT_MIN, INT_MAX, INT_MIN, INT_MAX}, EFBIG},
        {existing, {INT_MIN, INT_MAX, 0, 0}, EFBIG},
        {"/", good, EISDIR},
        {m_folder.at("no/a.dds"), good, ENOENT},
        {shutFolder + "/a.dds", good, EACCES},
        {"", good, ENOENT},  // no path
    };
    OptionSetting unknown{7, 0, {}};
    OptionSetting* options[] = {&unknown, nullptr};
    const std::ptrdiff_t descriptors = openDescriptors();
    for (const auto& each : cases) {
        for (const bool hasUnknown : {false, true}) {
            TestHandle handle(each.path);
            if (each.path.empty()) handle.name = nullptr;
            handle.describe(1, 1);
            handle.described.window = each.window;
            if (hasUnknown) handle.options = options;
            const uid_t user = geteuid();
            // Permissions do not apply to root.
            ASSERT_EQ(seteuid(each.reason == EACCES && user == 0 ? 65534 : user), 0);
            const int result = m_plugin.imageWriteOpen(&handle);
            ASSERT_EQ(seteuid(user), 0);
            EXPECT_EQ(result, 0);
            EXPECT_EQ(hostCalls(), (hasUnknown ? unknownOption(7) : "") + cannotOpen(each.path, each.reason));
            EXPECT_EQ(kpx__err, hasUnknown ? -16 : 0);
            EXPECT_EQ(handle.pluginData, nullptr);
            EXPECT_NE(handle.closeFunction, nullptr);
        }
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(fs::file_size(existing), 4U);
}

TEST_F(PluginWriting, IgnoresAFullDisk) {
    for (const rlim_t limit : {rlim_t{100}, rlim_t{20000}}) {  // in the header, in the rows
        std::signal(SIGXFSZ, SIG_IGN);
        const LoweredLimit fileSize(RLIMIT_FSIZE, limit);
        TestHandle handle(m_path);
        handle.describe(100, 100);
        writeWhole(handle, 100, 100);
        std::signal(SIGXFSZ, SIG_DFL);
        EXPECT_EQ(fs::file_size(m_path), limit);
    }
    TestHandle full("/dev/full");
    full.describe(100, 100);
    writeWhole(full, 100, 100);
    EXPECT_EQ(hostCalls(), "kpx__free_obj\nkpx__free_obj\nkpx__free_obj\n");
}

TEST_F(PluginWriting, ThreadsWriteTheirOwnHandles) {
    if (underThreadSanitizer) GTEST_SKIP() << "writing sets kpx__err, the one error code of the whole process";
    inThreads([this](int thread) {
        const int width = thread + 1;
        const std::string path = m_folder.at(std::to_string(width));
        for (int round = 0; round < 50; ++round) {
            TestHandle handle(path);
            handle.describe(width, 9);
            EXPECT_EQ(m_plugin.imageWriteOpen(&handle), 1);
            for (const int y : allRows(9)) deliver(handle, width, y);
            handle.close();
            EXPECT_EQ(readFile(path), expectedFile(width, 9, true, allRows(9)));
            resetHost();
        }
    });
}

}  // namespace
