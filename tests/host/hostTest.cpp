// Tests the stand-in host: its services, called like a plug-in does, and the built plug-in through the C++ interface.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

#include "host/Catalogue.h"
#include "host/HostError.h"
#include "host/ImageReader.h"
#include "host/ImageWriter.h"
#include "host/Plugin.h"
#include "host/handle.h"
#include "host/kpxbase.h"
#include "host/messages.h"
#include "tests/support/Folder.h"
#include "tests/support/processState.h"

namespace {

using namespace kpx::host;

std::string frame(const char* pattern, intptr_t number) {
    const char* path = kpx__build_handle(0, pattern, reinterpret_cast<void*>(number));
    return path == nullptr ? "none" : path;
}

TEST(FrameName, ReplacesTheLastMarkOfTheFileName) {
    const struct {
        const char* pattern;
        intptr_t number;
        const char* name;
    } cases[] = {{"shots/sky#.dds", 7, "shots/sky7.dds"},
                 {"shots/a#.b#.dds", 120, "shots/a#.b120.dds"},
                 {"#.x", -3, "-3.x"},
                 {"sky#.tar.dds", 0, "sky0.tar.dds"},
                 {"sky.dds", 7, "none"},
                 {"shots#.d/sky.dds", 7, "none"},
                 {"", 7, "none"},
                 {nullptr, 7, "none"}};
    for (const auto& each : cases) EXPECT_EQ(frame(each.pattern, each.number), each.name);
}

TEST(FrameName, BelongsToItsThread) {
    const char* mine = kpx__build_handle(0, "mine#.dds", reinterpret_cast<void*>(1));
    std::thread([] { EXPECT_EQ(frame("other#.dds", 2), "other2.dds"); }).join();
    EXPECT_STREQ(mine, "mine1.dds");
}

TEST(HeldStrings, OutliveTheirSource) {
    std::string text = "unknown";
    char* saved = STR_save(text.c_str());
    char* defined = STR_define(text.c_str());
    text = "changed";
    EXPECT_STREQ(saved, "unknown");
    EXPECT_STREQ(defined, "unknown");
    EXPECT_NE(saved, STR_save("unknown"));
    EXPECT_EQ(defined, STR_define("unknown"));
    EXPECT_EQ(STR_save(nullptr), nullptr);
    EXPECT_EQ(STR_define(nullptr), nullptr);
}

TEST(Handle, IsInitialisedAndFreedCompletely) {
    std::string path = "a.dds";
    ImageHandle* handle = newHandle(path, "DDS");
    EXPECT_EQ(handle->name, path);
    EXPECT_NE(handle->nameIsPath, 0);
    EXPECT_EQ(kpx__init_ifd(handle), -1) << "without a descriptor";
    EXPECT_EQ(kpx__init_ifd(nullptr), -1);

    ImageFileDescriptor*& image = handle->descriptor;
    image = static_cast<ImageFileDescriptor*>(std::malloc(sizeof *image));
    std::memset(static_cast<void*>(image), 0xA5, sizeof *image);
    EXPECT_EQ(kpx__init_ifd(handle), 0);
    const auto* bytes = reinterpret_cast<const unsigned char*>(image);
    EXPECT_EQ(std::count(bytes, bytes + sizeof *image, 0xA5), 0);
    EXPECT_EQ(image->gamma, FMT_def_input_gamma());
    EXPECT_EQ(image->channelBytes, 1);
    EXPECT_EQ(image->matteBits, 8);

    // The sanitizers find leaks and double frees.
    handle->pluginData = static_cast<void**>(std::calloc(1, sizeof(void*)));
    image->channelFormat = STR_save(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
    image->matteFormat = const_cast<char*>(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);  // not a saved copy
    image->auxFormat = STR_define("shared");
    EXPECT_EQ(kpx__free_obj(handle), 0);
    EXPECT_STREQ(STR_define("shared"), "shared");
    EXPECT_EQ(kpx__free_obj(nullptr), 0);
}

TEST(Reports, ArePrintedWithSetNumberAndSeverity) {
    testing::internal::CaptureStderr();
    ERR_report_cat(nullptr, 902, 52, 3, "Cannot open file %s; %s", "bad\nname\x1b[m", "No such file");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KPX message 902.52, severity 3: Cannot open file bad?name?[m; No such file\n");
    testing::internal::CaptureStderr();
    ERR_printf(3, "imageIsFile, can't open `%s'. %s\n", "x", "why");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "KPX, level 3: imageIsFile, can't open `x'. why\n");
}

TEST(Reports, AreCollectedByTheInnermostCollectorOfTheThread) {
    testing::internal::CaptureStderr();
    {
        ReportCollector outer;
        ERR_report_cat(nullptr, 902, 1, 3, "one");
        {
            ReportCollector inner;
            ERR_report_cat(nullptr, 902, 2, 3, "two");
            ERR_printf(3, "three %d\n", 3);
            EXPECT_EQ(inner.take("nothing"), "two; three 3");
            EXPECT_EQ(inner.take("nothing"), "nothing");
        }
        std::thread([] { ERR_report_cat(nullptr, 902, 4, 3, "of another thread"); }).join();
        ERR_report_cat(nullptr, 902, 5, 2, "not taken");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KPX message 902.4, severity 3: of another thread\n"
              "KPX message 902.1, severity 3: one\n"
              "KPX message 902.5, severity 2: not taken\n");
}

class InFolder : public testing::Test, public testing_support::Folder {
protected:
    ~InFolder() override { closeCatalogue(); }
};

std::string reported(int number, const char* format, const char* argument) {
    ReportCollector reports;
    ERR_report_cat(kpx__msg_cat, 902, number, 3, format, argument);
    return reports.take("nothing");
}

TEST_F(InFolder, ReportsUseTheCatalogueIfItsArgumentsMatch) {
    openCatalogue(
        catalogue("$set 902\n52 Datei %s fehlt\n61 %s %s %n\n62 %d kaputt\n63 100%% %-5s|\n64 %2$s\n65 %*s\n"));
    EXPECT_EQ(reported(52, "Cannot open %s", "a.dds"), "Datei a.dds fehlt");
    EXPECT_EQ(reported(63, "all %s", "x"), "100% x    |");
    for (const int number : {61, 62, 64, 65, 99}) EXPECT_EQ(reported(number, "default %s", "x"), "default x");
}

TEST_F(InFolder, AMissingCatalogueIsIgnored) {
    openCatalogue(catalogue("$set 901\n423 Textur\n"));
    EXPECT_NE(kpx__msg_cat, nullptr);
    EXPECT_THROW(openCatalogue(at("missing.cat")), HostError);
    EXPECT_EQ(kpx__msg_cat, nullptr);
    EXPECT_EQ(catalogueText(901, 423, "DDS"), "DDS");
}

TEST_F(InFolder, ThePluginNameIsInTheLanguageOfTheEnvironment) {
    const std::string path = catalogue("$set 901\n423 Textur\n429 Deckung\n431 Deckung schreiben\n");
    setenv("KPX_CATALOG", path.c_str(), 1);
    const Plugin plugin(KPX_PLUGIN_PATH);
    unsetenv("KPX_CATALOG");
    EXPECT_STREQ(plugin.name(), "Textur");
    EXPECT_STREQ(plugin.extension(), ".dds");
    EXPECT_EQ(plugin.options().size(), 2U);
    EXPECT_EQ(plugin.options().at(0).name, "Deckung");
    EXPECT_EQ(plugin.options().at(0).defaultName, "Alpha");
    EXPECT_EQ(plugin.options().at(0).values.at(0).name, "Deckung schreiben");
    EXPECT_EQ(plugin.options().at(0).values.at(1).name, "Do not output alpha");
}

template <typename Work>
std::string hostError(const Work& work) {
    try {
        work();
        return "no error";
    } catch (const HostError& error) {
        return error.what();
    }
}

TEST_F(InFolder, OtherFilesAreRefusedAsPlugins) {
    // A copy of the plug-in with another text in place of its version.
    std::string bytes = testing_support::textOfFile(KPX_PLUGIN_PATH);
    const std::string version("\0003.2\0", 5);
    const size_t place = bytes.find(version);
    ASSERT_NE(place, std::string::npos);
    ASSERT_EQ(bytes.find(version, place + 1), std::string::npos);
    bytes.replace(place, version.size(), std::string("\0003.9\0", 5));
    const std::pair<std::string, std::string> cases[] = {
        {at("missing.so"), "cannot load the plug-in"},
        {file("text.so", std::string("no library")), "cannot load the plug-in"},
        {"libm.so.6", "it does not export imageKey"},
        {file("other.so", bytes), "cannot use the plug-in " + at("other.so") + ": its version is \"3.9\", not \"3.2\""},
    };
    for (const auto& each : cases) {
        const std::string error = hostError([&] { const Plugin plugin(each.first); });
        EXPECT_NE(error.find(each.second), std::string::npos) << each.first << ": " << error;
    }
}

constexpr int width = 5;
constexpr int height = 3;

// Returns a different value for every channel of every pixel.
unsigned char sample(size_t channel, int x, int y) {
    return static_cast<unsigned char>(channel * 64) + static_cast<unsigned char>(y * 16 + x);
}

void writeSamples(const Plugin& plugin, const std::string& path, bool hasMatte,
                  const std::vector<OptionChoice>& choices) {
    ImageWriter writer(plugin, path, {width, height, hasMatte}, choices);
    for (int y = 0; y < height; ++y) {
        unsigned char values[4][width];
        unsigned char* rows[] = {values[0], values[1], values[2], values[3]};
        for (size_t c = 0; c < 4; ++c) {
            for (int x = 0; x < width; ++x) rows[c][x] = sample(c, x, y);
        }
        writer.scanline(y, rows);
    }
    EXPECT_EQ(writer.close(), 8U);
}

TEST_F(InFolder, WrittenImagesAreReadBack) {
    const Plugin plugin(KPX_PLUGIN_PATH);
    for (const bool hasMatte : {false, true}) {
        testing::internal::CaptureStderr();
        writeSamples(plugin, at("a.dds"), hasMatte, {{7, 0}});
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "KPX message 902.92, severity 2: Unknown type-specific capability code (7) specified when trying to "
                  "open image file\n");
        EXPECT_TRUE(plugin.isFile(at("a.dds")));
        ImageReader reader(plugin, at("a.dds"));
        EXPECT_EQ(reader.matteChannels(), hasMatte ? 1 : 0);
        EXPECT_FALSE(reader.isFloat());
        ASSERT_EQ(reader.width(), 8);
        ASSERT_EQ(reader.height(), height);
        for (int y = 0; y < height; ++y) {
            const auto rows = reader.scanline(y);
            ASSERT_EQ(rows.size(), hasMatte ? 4U : 3U);
            for (size_t c = 0; c < rows.size(); ++c) {
                for (int x = 0; x < width; ++x) EXPECT_EQ(rows[c][x], sample(c, x, y));
            }
        }
    }
}

TEST_F(InFolder, ErrorsHaveTheMessageOfThePlugin) {
    const Plugin plugin(KPX_PLUGIN_PATH);
    const std::string path = at("no/a.dds");
    const std::string sentence = "Cannot open file " + path + "; No such file or directory";
    EXPECT_EQ(hostError([&] { ImageReader(plugin, path); }), sentence);
    EXPECT_EQ(hostError([&] { ImageWriter(plugin, path, {4, 4, true}, {}); }), sentence);
    EXPECT_NE(hostError([&] { (void)plugin.isFile(path); }).find("No such file"), std::string::npos);
}

// A lock that another thread holds at the fork would block the child forever.
TEST_F(InFolder, ForkedProcessesReadWhileThreadsOfTheirParentRead) {
    if (testing_support::underAddressSanitizer || testing_support::underThreadSanitizer)
        GTEST_SKIP() << "the sanitizer has locks of its own";
    const Plugin plugin(KPX_PLUGIN_PATH);
    writeSamples(plugin, at("a.dds"), true, {});
    const auto read = [&] { return ImageReader(plugin, at("a.dds")).scanline(1)[2][3] == sample(2, 3, 1); };
    std::atomic<bool> isDone = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            while (!isDone) EXPECT_TRUE(read());
        });
    }
    for (int i = 0; i < 400 && !HasFailure(); ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            _exit(read() ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << "of process " << i;
    }
    isDone = true;
}

}  // namespace
