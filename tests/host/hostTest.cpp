// The stand-in host: its services as a plug-in calls them, and the built plug-in driven through its C++ interface.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
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

namespace {

using namespace kpx::host;

class InFolder : public testing::Test, public testing_support::Folder {};

std::string frame(const char* pattern, intptr_t number) {
    const char* path = kpx__build_handle(0, pattern, reinterpret_cast<void*>(number));
    return path == nullptr ? "none" : path;
}

TEST(FrameName, HasTheNumberInPlaceOfTheLastMarkOfTheFileName) {
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

TEST(FrameName, IsKeptForEachThread) {
    const char* mine = kpx__build_handle(0, "mine#.dds", reinterpret_cast<void*>(1));
    std::thread([] { EXPECT_EQ(frame("other#.dds", 2), "other2.dds"); }).join();
    EXPECT_STREQ(mine, "mine1.dds");
}

TEST(HeldStrings, AreCopiesThatOutliveTheirSource) {
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

ImageHandle* handleWithDescriptor(std::string& path) {
    ImageHandle* handle = newHandle(path, "DDS");
    handle->descriptor = static_cast<ImageFileDescriptor*>(std::malloc(sizeof(ImageFileDescriptor)));
    std::memset(static_cast<void*>(handle->descriptor), 0xA5, sizeof(ImageFileDescriptor));
    return handle;
}

TEST(Handle, GetsADescriptorWithoutAnyOldByte) {
    std::string path = "a.dds";
    ImageHandle* handle = handleWithDescriptor(path);
    EXPECT_EQ(kpx__init_ifd(handle), 0);
    std::array<unsigned char, sizeof(ImageFileDescriptor)> bytes{};
    std::memcpy(bytes.data(), handle->descriptor, bytes.size());
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0xA5), 0);
    EXPECT_EQ(handle->descriptor->gamma, FMT_def_input_gamma());
    EXPECT_EQ(handle->descriptor->channelBytes, 1);
    EXPECT_EQ(handle->descriptor->matteBits, 8);
    kpx__free_obj(handle);
}

TEST(Handle, WithoutADescriptorCannotBeDescribed) {
    std::string path = "a.dds";
    ImageHandle* handle = newHandle(path, "DDS");
    EXPECT_EQ(kpx__init_ifd(handle), -1);
    EXPECT_EQ(kpx__init_ifd(nullptr), -1);
    EXPECT_EQ(handle->name, path);
    EXPECT_NE(handle->nameIsPath, 0);
    kpx__free_obj(handle);
}

// What leaks or is freed twice here is found by the sanitizers.
TEST(Handle, IsFreedWithWhateverHangsOnIt) {
    std::string path = "a.dds";
    ImageHandle* handle = handleWithDescriptor(path);
    kpx__init_ifd(handle);
    handle->pluginData = static_cast<void**>(std::calloc(1, sizeof(void*)));
    handle->descriptor->channelFormat = STR_save(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
    handle->descriptor->matteFormat = const_cast<char*>(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);  // not a saved copy
    handle->descriptor->auxFormat = STR_define("shared");
    EXPECT_EQ(kpx__free_obj(handle), 0);
    EXPECT_STREQ(STR_define("shared"), "shared");
    EXPECT_EQ(kpx__free_obj(nullptr), 0);
}

TEST(Reports, ArePrintedAsOneLineWithSetNumberAndSeverity) {
    testing::internal::CaptureStderr();
    ERR_report_cat(nullptr, 902, 52, 3, "Cannot open file %s; %s", "bad\nname\x1b[m", "No such file");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KPX message 902.52, severity 3: Cannot open file bad?name?[m; No such file\n");
    testing::internal::CaptureStderr();
    ERR_printf(3, "imageIsFile, can't open `%s'. %s\n", "x", "why");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "KPX, level 3: imageIsFile, can't open `x'. why\n");
}

TEST(Reports, AreGatheredByTheInnermostCollectorOfTheThread) {
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

class WithCatalogue : public InFolder {
protected:
    ~WithCatalogue() override { closeCatalogue(); }
};

std::string reported(int number, const char* format, const char* argument) {
    ReportCollector reports;
    ERR_report_cat(kpx__msg_cat, 902, number, 3, format, argument);
    return reports.take("nothing");
}

TEST_F(WithCatalogue, ReportsTakeItsTextUnlessItHasOtherConversions) {
    openCatalogue(
        catalogue("$set 902\n52 Datei %s fehlt\n61 %s %s %n\n62 %d kaputt\n63 100%% %-5s|\n64 %2$s\n65 %*s\n"));
    EXPECT_EQ(reported(52, "Cannot open %s", "a.dds"), "Datei a.dds fehlt");
    EXPECT_EQ(reported(63, "all %s", "x"), "100% x    |");
    for (const int number : {61, 62, 64, 65, 99}) EXPECT_EQ(reported(number, "default %s", "x"), "default x");
}

TEST_F(WithCatalogue, ACatalogueThatCannotBeOpenedIsNone) {
    openCatalogue(catalogue("$set 901\n423 Textur\n"));
    EXPECT_NE(kpx__msg_cat, nullptr);
    EXPECT_THROW(openCatalogue(at("missing.cat")), HostError);
    EXPECT_EQ(kpx__msg_cat, nullptr);
    EXPECT_EQ(catalogueText(901, 423, "DDS"), "DDS");
}

TEST_F(WithCatalogue, ThePluginIsNamedInTheLanguageOfTheEnvironment) {
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

std::string loadingError(const std::string& path) {
    return hostError([&] { const Plugin plugin(path); });
}

TEST_F(InFolder, AFileThatIsNoPluginIsRefusedWithASentence) {
    EXPECT_NE(loadingError(at("missing.so")).find("cannot load the plug-in"), std::string::npos);
    EXPECT_NE(loadingError(file("text.so", "no library")).find("cannot load the plug-in"), std::string::npos);
    EXPECT_NE(loadingError("libm.so.6").find("it does not export imageKey"), std::string::npos);
}

// The plug-in's own file, with another text in place of the version in its data.
TEST_F(InFolder, APluginOfAnotherVersionIsRefusedWithASentence) {
    std::string bytes = testing_support::textOfFile(KPX_PLUGIN_PATH);
    const std::string version("\0003.2\0", 5);
    const size_t place = bytes.find(version);
    ASSERT_NE(place, std::string::npos);
    ASSERT_EQ(bytes.find(version, place + 1), std::string::npos);
    const std::string path = file("other.so", bytes.replace(place, version.size(), std::string("\0003.9\0", 5)));
    EXPECT_EQ(loadingError(path), "cannot use the plug-in " + path + ": its version is \"3.9\", not \"3.2\"");
}

class WithPlugin : public InFolder {
protected:
    Plugin m_plugin{KPX_PLUGIN_PATH};
};

constexpr int width = 5;
constexpr int height = 3;

// Another value for every channel of every pixel.
unsigned char sample(int channel, int x, int y) {
    return static_cast<unsigned char>(channel * 64 + y * 16 + x);
}

void writeSamples(const Plugin& plugin, const std::string& path, bool hasMatte,
                  const std::vector<OptionChoice>& choices = {}) {
    ImageWriter writer(plugin, path, {width, height, hasMatte}, choices);
    for (int y = 0; y < height; ++y) {
        std::array<std::array<unsigned char, width>, 4> values{};
        std::array<unsigned char*, 4> rows{};
        for (int c = 0; c < 4; ++c) {
            rows[static_cast<size_t>(c)] = values[static_cast<size_t>(c)].data();
            for (int x = 0; x < width; ++x) rows[static_cast<size_t>(c)][x] = sample(c, x, y);
        }
        writer.scanline(y, rows.data());
    }
    EXPECT_EQ(writer.close(), 8U);
}

void expectSamples(ImageReader& reader, int channels) {
    ASSERT_EQ(reader.width(), 8);
    ASSERT_EQ(reader.height(), height);
    for (int y = 0; y < height; ++y) {
        const auto rows = reader.scanline(y);
        ASSERT_EQ(rows.size(), static_cast<size_t>(channels));
        for (int c = 0; c < channels; ++c) {
            for (int x = 0; x < width; ++x) EXPECT_EQ(rows[static_cast<size_t>(c)][x], sample(c, x, y));
        }
    }
}

TEST_F(WithPlugin, WhatIsWrittenIsReadBackScanlineByScanline) {
    for (const bool hasMatte : {false, true}) {
        writeSamples(m_plugin, at("a.dds"), hasMatte);
        EXPECT_TRUE(m_plugin.isFile(at("a.dds")));
        ImageReader reader(m_plugin, at("a.dds"));
        EXPECT_EQ(reader.matteChannels(), hasMatte ? 1 : 0);
        EXPECT_FALSE(reader.isFloat());
        expectSamples(reader, hasMatte ? 4 : 3);
    }
}

TEST_F(WithPlugin, AnUnknownOptionIsReportedAndTheFileWritten) {
    testing::internal::CaptureStderr();
    writeSamples(m_plugin, at("a.dds"), true, {{7, 0}});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KPX message 902.92, severity 2: Unknown type-specific capability code (7) specified when trying to "
              "open image file\n");
    EXPECT_EQ(ImageReader(m_plugin, at("a.dds")).matteChannels(), 1);
}

TEST_F(WithPlugin, RefusedOpensPassOnThePluginsMessage) {
    const std::string missing = at("missing.dds");
    EXPECT_EQ(hostError([&] { ImageReader(m_plugin, missing); }),
              "Cannot open file " + missing + "; No such file or directory");
    const std::string inNoFolder = at("no/a.dds");
    EXPECT_EQ(hostError([&] {
                  ImageWriter(m_plugin, inNoFolder, {4, 4, true}, {});
              }),
              "Cannot open file " + inNoFolder + "; No such file or directory");
    EXPECT_NE(hostError([&] { (void)m_plugin.isFile(missing); }).find("No such file"), std::string::npos);
}

// Failed opens are left out: they write kpx__err, the one error code of the whole process.
TEST_F(WithPlugin, ThreadsReadTheirOwnImages) {
    writeSamples(m_plugin, at("a.dds"), true);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int round = 0; round < 50; ++round) {
                ImageReader reader(m_plugin, at("a.dds"));
                expectSamples(reader, 4);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
