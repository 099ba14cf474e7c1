// Tests the built plug-in in a foreign host, which is this program: its variables, recognition, reading and loading.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <nl_types.h>

#include <climits>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "tests/support/ddsFiles.h"
#include "tests/support/pluginFixture.h"
#include "tests/support/processState.h"

// Variables of the host, or of another plug-in, with names that the plug-in exports as well.
extern "C" {
const char* imageName = "of the host";
const char* imageExtension = "of the host";
const char* imageNameSyntax = "of the host";
const char* version = "of the host";
int imageOrientation = -1;
}

namespace {

using namespace testing_support;

class Plugin : public PluginFixture {};

// The plug-in's description of itself.

TEST_F(Plugin, ExportsItsDescription) {
    const std::pair<const char*, const char*> texts[] = {
        {"imageKey", "dds"},
        {"imageName", "null"},
        {"imageExtension", "null"},
        {"imageNameSyntax", "null"},
        {"imageFormatString", "%s%d.%s"},
        {"type", "image"},
        {"version", "3.2"},
        {"program", "Orvanel"},
    };
    for (const auto& [name, value] : texts) EXPECT_EQ(m_plugin.text(name), value) << name;
    const std::pair<const char*, int> numbers[] = {
        {"imageAccess", 76},           {"imageSupportsActiveWindow", 1},
        {"imageNumberOfChannels", 3},  {"imageBitsPerChannel", 128},
        {"imageNumberOfMattes", 1},    {"imageBitsPerMatte", 255},
        {"imageOrientation", 2},       {"imageUsage", 1},
        {"imageAddExtension", 1},      {"imageMultiFrame", 0},
        {"imageNumberOfZChannels", 0}, {"imageBitsPerZChannel", 0},
        {"imageNumberOfLuts", 0},      {"imageBitsPerLut", 0},
    };
    for (const auto& [name, value] : numbers) EXPECT_EQ(*m_plugin.find<int>(name), value) << name;
    EXPECT_EQ(hostCalls(), "");
}

TEST_F(Plugin, InitialisesOnlyItsOwnTexts) {
    EXPECT_EQ(m_plugin.imageInit(), 1);
    EXPECT_EQ(m_plugin.translatedTexts(), "DDS .dds Name#.Ext");
    EXPECT_EQ(hostCalls(), "STR_define DDS\nSTR_define .dds\nSTR_save Name#.Ext\n");
    EXPECT_EQ(kpx__err, oldError);
    for (const char* own : {imageName, imageExtension, imageNameSyntax, version}) EXPECT_STREQ(own, "of the host");
    EXPECT_EQ(imageOrientation, -1);
}

TEST_F(Plugin, TakesItsTextsFromTheCatalogue) {
    const std::string texts = "$set 901\n422 .tex\n423 Textur\n131 unbekannt\n$set 902\n424 of another set\n52 -\n";
    kpx__msg_cat = catopen(m_folder.catalogue(texts).c_str(), 0);
    EXPECT_EQ(m_plugin.imageInit(), 1);
    EXPECT_EQ(m_plugin.translatedTexts(), "Textur .tex Name#.Ext");
    TestHandle handle(m_folder.file("a.dds", dx10File(87, 4, 4)));
    ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
    EXPECT_STREQ(handle.descriptor->matteFormat, "unbekannt");
    handle.close();
    hostCalls();
    TestHandle missing("/missing");
    EXPECT_EQ(m_plugin.imageReadOpen(&missing), 0);
    EXPECT_EQ(hostCalls(), cannotOpen("/missing", ENOENT)) << "the host has the catalogue's text to show instead";
    catclose(kpx__msg_cat);
    kpx__msg_cat = nullptr;
}

// A row of the option table, or of the values of an option.
template <typename Row>
std::string rowText(const Row& row, const void* reserved) {
    std::ostringstream text;
    text << row.code << ' ' << row.catalogSet << '.' << row.messageNumber << ' ';
    text << (row.defaultText == nullptr ? "end" : row.defaultText);
    const bool isZero = std::count(std::begin(row.zero), std::end(row.zero), 0) == sizeof row.zero;
    return text.str() + (isZero && reserved == nullptr ? "" : " with reserved bytes set") + "\n";
}

std::string rowText(const CapabilityEntry& row) {
    std::string text = "flags " + std::to_string(row.flags) + ": " + rowText(row, row.reserved0);
    EXPECT_TRUE(row.reserved1 == nullptr && row.zero1 == 0);
    if (row.values == nullptr) return text;
    EXPECT_EQ(row.values->reserved, 0U);
    const CapabilityValue* value = row.values->entries;
    do text += "    " + rowText(*value, value->reserved);
    while ((value++)->code != 0xFFFF);
    return text;
}

TEST_F(Plugin, ReturnsItsOptionTable) {
    CapabilityEntry* tables[2] = {};
    for (const int twin : {0, 1}) {
        int counts[3] = {-1, -1, -1};
        (twin == 0 ? m_plugin.imageCapability : m_plugin.KPX_dds_capability)(&tables[twin], &counts[0], &counts[1],
                                                                             &counts[2]);
        EXPECT_EQ(std::vector(counts, counts + 3), std::vector({0, 2, 2}));
    }
    EXPECT_EQ(tables[0], tables[1]);
    EXPECT_EQ(rowText(tables[0][0]) + rowText(tables[0][1]) + rowText(tables[0][2]),
              "flags 2: 0 901.429 Alpha\n"
              "    1 901.431 Output alpha\n"
              "    0 901.430 Do not output alpha\n"
              "    65535 0.0 end\n"
              "flags 2: 1 901.425 Compression\n"
              "    0 901.426 Off\n"
              "    1 901.427 DXT1\n"
              "    3 901.428 DXT3\n"
              "    65535 0.0 end\n"
              "flags 0: 65535 0.0 end\n");
}

// Recognition.

TEST_F(Plugin, RecognisesFilesByTheirFirstBytes) {
    const std::pair<std::string, int> cases[] = {
        {"DDS ", 1},         {"DDSX", 1},      {std::string("DDS\0", 4), 1},
        {"DDS and more", 1}, {"DDS", 0},       {"", 0},
        {"dds and more", 0}, {" DDS more", 0}, {"DDX more", 0},
    };
    for (const auto& [content, expected] : cases) {
        const std::string path = m_folder.file("a.dds", content);
        EXPECT_EQ(m_plugin.imageIsFile(path.c_str(), nullptr), expected) << content;
        FILE* stream = std::fopen(path.c_str(), "r");
        std::fseek(stream, 6, SEEK_SET);
        EXPECT_EQ(m_plugin.imageIsFile("not looked at", stream), expected) << content;
        EXPECT_EQ(m_plugin.imageIsFile(nullptr, stream), expected) << "asked again: " << content;
        EXPECT_EQ(std::ftell(stream), std::min<long>(4, static_cast<long>(content.size())));
        EXPECT_EQ(std::fclose(stream), 0);
    }
    EXPECT_EQ(m_plugin.imageIsFile("/", nullptr), 0) << "a read error";
    EXPECT_EQ(hostCalls(), "");
}

TEST_F(Plugin, ReportsAFileThatItCannotRecognise) {
    const std::string path = m_folder.at("missing");
    EXPECT_EQ(m_plugin.imageIsFile(path.c_str(), nullptr), 0);
    EXPECT_EQ(hostCalls(), cannotRecognise(path, ENOENT));
    EXPECT_EQ(kpx__err, oldError);
}

// Reading.

struct Described {
    Bytes file;
    int width, height;
    float aspectRatio;
    int channels, bits;
    bool hasMatte;
};

// Returns a descriptor with the host's defaults and the values of the file. Its strings are those of actual.
ImageFileDescriptor descriptorOf(const Described& image, const ImageFileDescriptor& actual) {
    ImageFileDescriptor expected;
    std::memset(static_cast<void*>(&expected), descriptorFill, sizeof expected);
    expected.readyFlag = 1;
    expected.gamma = 1.75F;
    expected.width = image.width;
    expected.height = image.height;
    expected.aspectRatio = image.aspectRatio;
    expected.window = expected.secondWindow = {0, image.width - 1, 0, image.height - 1};
    expected.orientation = 2;
    expected.channelFormat = actual.channelFormat;
    expected.channelCount = image.channels;
    expected.channelBytes = image.bits == 8 ? 1 : 2;
    expected.channelBits = image.bits;
    expected.matteFormat = image.hasMatte ? actual.matteFormat : nullptr;
    expected.matteCount = image.hasMatte ? 1 : 0;
    if (image.hasMatte) expected.matteBytes = 1;
    expected.matteBits = image.hasMatte ? image.bits : 0;
    expected.auxFormat = nullptr;
    expected.auxCount = expected.auxBits = 0;
    return expected;
}

TEST_F(Plugin, DescribesTheImage) {
    const Described images[] = {
        {dx10File(87, 256, 128), 256, 128, 2, 3, 8, true},
        {fileOf(rowOfBytes(256, 128)), 256, 128, 2, 3, 8, false},
        {fileOf(rowOfBytes(100, 300)), 100, 300, 0, 3, 8, false},
        {fileOf(rowOfBytes(640, 480)), 640, 480, 1, 3, 8, false},
        {fileOf(rowOfBytes(5, 0)), 5, 0, 0, 3, 8, false},
        {fileOf(rowOfBytes(0, 5)), 0, 5, 0, 3, 8, false},
        {dx10File(65, 3, 2), 3, 2, 1, 0, 8, true},
        {fileOf(codeHeader(116, 6, 2)), 6, 2, 3, 3, 32, true},
        {fileOf(codeHeader(112, 6, 2)), 6, 2, 3, 2, 32, false},
        {fileOf(codeHeader(9999, 6, 2)), 64, 64, 1, 4, 8, false},
    };
    for (const Described& image : images) {
        SCOPED_TRACE(testing::Message() << image.width << " by " << image.height << ", matte " << image.hasMatte);
        TestHandle handle(m_folder.file("a.dds", image.file));
        ImageHandle expected = handle;
        ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
        EXPECT_EQ(hostCalls(), std::string("kpx__init_ifd\nSTR_save colours of this host\nFMT_def_input_gamma\n") +
                                   (image.hasMatte ? "STR_save unknown\n" : ""));
        EXPECT_EQ(kpx__err, oldError);
        EXPECT_EQ(bytesOf(*handle.descriptor), bytesOf(descriptorOf(image, *handle.descriptor)));
        EXPECT_STREQ(handle.descriptor->channelFormat, KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
        expected.hostFlags = 0;
        expected.imageCount = 1;
        expected.pluginData = handle.pluginData;
        expected.descriptor = handle.descriptor;
        expected.scanlineFunction = handle.scanlineFunction;
        expected.closeFunction = handle.closeFunction;
        EXPECT_EQ(bytesOf<ImageHandle>(handle), bytesOf(expected));
        EXPECT_EQ(handle.close(), 0);
        resetHost();
    }
}

TEST_F(Plugin, StopsFillingTheDescriptorAtAStringThatFails) {
    const auto isUntouched = [](const auto& field) { return bytesOf(field) == Bytes(sizeof field, descriptorFill); };
    const std::string path = m_folder.file("a.dds", dx10File(87, 8, 2));
    for (const int failing : {1, 2}) {
        TestHandle handle(path);
        handle.imageCount = 9;
        failHeldString(failing);
        readInReports(&handle);
        EXPECT_EQ(m_plugin.imageReadOpen(&handle), 0);
        const std::string calls = hostCalls();
        EXPECT_TRUE(calls.ends_with("\n902.94, severity 3: No more internal memory, a row read\n")) << calls;
        readInReports(nullptr);
        EXPECT_EQ(kpx__err, oldError);
        EXPECT_EQ(handle.pluginData, nullptr);
        EXPECT_EQ(handle.imageCount, 1);
        EXPECT_EQ(handle.hostFlags, 0);
        EXPECT_NE(handle.scanlineFunction, nullptr);
        EXPECT_NE(handle.closeFunction, nullptr);
        ASSERT_NE(handle.descriptor, nullptr);
        const ImageFileDescriptor& image = *handle.descriptor;
        EXPECT_EQ(std::vector({image.width, image.height, static_cast<int>(image.aspectRatio)}),
                  std::vector({8, 2, 4}));
        EXPECT_EQ(image.channelFormat == nullptr, failing == 1);
        EXPECT_EQ(isUntouched(image.channelCount), failing == 1);
        EXPECT_EQ(isUntouched(image.orientation), failing == 1);
        EXPECT_EQ(image.matteFormat == nullptr, failing == 2);
        EXPECT_TRUE(isUntouched(image.matteCount) && isUntouched(image.auxFormat));
    }
}

TEST_F(Plugin, ReportsAFileThatItCannotRead) {
    const std::string missing = m_folder.at("missing");
    const std::string tooShort = m_folder.file("short.dds", Bytes(10, 'D'));
    const struct {
        const char* path;
        bool isBuilt;
        int reason;  // for a file that is too short: the previous error, also after a recognition
    } cases[] = {
        {missing.c_str(), false, ENOENT}, {"/", false, EISDIR},    {tooShort.c_str(), false, EXDEV},
        {"/built", true, ENOENT},         {nullptr, true, ENOENT}, {nullptr, false, ENOENT},
    };
    const std::string building = "kpx__build_handle 0 /pattern# " + std::to_string(0x5A5A5A5A5A5A5A5A) + "\n";
    const std::ptrdiff_t descriptors = openDescriptors();
    for (const auto& each : cases) {
        TestHandle handle("/pattern#");
        if (!each.isBuilt) handle.name = const_cast<char*>(each.path);
        handle.nameIsPath = each.isBuilt ? 0 : 1;
        handle.imageCount = 9;
        setBuiltPath(each.path);
        kpx__err = oldError;
        errno = EXDEV;
        if (each.reason == EXDEV) m_plugin.imageIsFile(each.path, nullptr);
        EXPECT_EQ(m_plugin.imageReadOpen(&handle), 0);
        EXPECT_EQ(hostCalls(),
                  (each.isBuilt ? building : "") + cannotOpen(each.path == nullptr ? "" : each.path, each.reason));
        EXPECT_EQ(kpx__err, -5);
        ASSERT_NE(handle.pluginData, nullptr);
        EXPECT_EQ(*handle.pluginData, nullptr);
        EXPECT_EQ(handle.descriptor, nullptr);
        EXPECT_EQ(handle.imageCount, 9);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(Plugin, ReturnsScanlinesFromTheBottom) {
    const std::string path = m_folder.file("a.dds", dx10File(87, 2, 3, {{1,  2,  3,  4,  5,  6,  7,  8,   //
                                                                         11, 12, 13, 14, 15, 16, 17, 18,  //
                                                                         21, 22, 23, 24, 25, 26, 27, 28}}));
    TestHandle handle("pattern#");
    handle.nameIsPath = 0;
    handle.nameContext = nullptr;
    setBuiltPath(path.c_str());
    ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
    EXPECT_TRUE(hostCalls().starts_with("kpx__build_handle 0 pattern# 0\nkpx__init_ifd\n"));
    unsigned char** rows = nullptr;
    for (const int y : {0, 2, 1, 0}) {
        ASSERT_EQ(handle.read(y, &rows), 0);
        const auto first = static_cast<unsigned char>(10 * (2 - y));
        const unsigned char order[] = {3, 2, 1, 4};  // red, green, blue, matte
        for (std::size_t channel = 0; channel < 4; ++channel) {
            EXPECT_EQ(rows[channel][0], first + order[channel]) << y;
            EXPECT_EQ(rows[channel][1], first + order[channel] + 4) << y;
        }
    }
    for (const int outside : {-1, 3, INT_MAX, INT_MIN}) EXPECT_EQ(handle.read(outside, &rows), -2);
    unsigned char* mark = nullptr;
    rows = &mark;
    EXPECT_EQ(reinterpret_cast<ScanlineReadFunction>(handle.scanlineFunction)(nullptr, 0, &rows), -2);
    EXPECT_EQ(rows, &mark);
    EXPECT_EQ(kpx__err, oldError);
    handle.close();
}

TEST_F(Plugin, ClosesHandlesInEveryState) {
    TestHandle read(m_folder.file("a.dds", fileOf(rowOfBytes(2, 2))));
    ASSERT_EQ(m_plugin.imageReadOpen(&read), 1);
    TestHandle write(m_folder.at("b.dds"));
    write.describe(4, 4);
    ASSERT_EQ(m_plugin.imageWriteOpen(&write), 1);
    for (TestHandle* handle : {&read, &write}) {
        const int errorAfter = handle == &read ? oldError : 0;
        hostCalls();
        kpx__err = oldError;
        EXPECT_EQ(handle->closeFunction(nullptr), 0);
        EXPECT_EQ(kpx__err, errorAfter);
        EXPECT_EQ(hostCalls(), "");
        for (const std::string left : {"an open image", "nothing", "an empty slot"}) {
            if (left == "an empty slot") handle->pluginData = static_cast<void**>(std::calloc(1, sizeof(void*)));
            kpx__err = oldError;
            EXPECT_EQ(handle->close(), 0) << left;
            EXPECT_EQ(hostCalls(), "kpx__free_obj\n") << left;
            EXPECT_EQ(kpx__err, errorAfter) << left;
            EXPECT_EQ(handle->pluginData, nullptr) << left;
        }
    }
}

// Many handles, many loads.

// Returns whether a 4 by 2 picture is read whose bytes count up from the first.
bool readsAs(const LoadedPlugin& plugin, const std::string& path, unsigned char first) {
    TestHandle handle(path);
    if (plugin.imageReadOpen(&handle) != 1) return false;
    bool right = true;
    for (int y = 0; y < 2; ++y) {
        unsigned char** rows = nullptr;
        right = right && handle.read(y, &rows) == 0 && rows[2][0] == first + 16 * (1 - y);
    }
    handle.close();
    resetHost();
    return right;
}

Bytes countingFile(unsigned char first) {
    Bytes data(32);
    for (unsigned char& byte : data) byte = first++;
    return dx10File(87, 4, 2, data);
}

TEST_F(Plugin, ThreadsReadTheirOwnHandles) {
    inThreads([this](int thread) {
        const auto first = static_cast<unsigned char>(50 * thread);
        const std::string path = m_folder.file(std::to_string(thread), countingFile(first));
        for (int round = 0; round < 200; ++round) EXPECT_TRUE(readsAs(m_plugin, path, first));
    });
}

TEST(Loading, AThousandTimesTakesNoMoreMemory) {
    const Folder folder;
    const std::string path = folder.file("a.dds", countingFile(3));
    const auto load = [&path](int times) {
        for (int i = 0; i < times; ++i) {
            const LoadedPlugin plugin;
            ASSERT_EQ(plugin.imageInit(), 1);
            ASSERT_TRUE(readsAs(plugin, path, 3));
        }
    };
    load(50);
    const std::int64_t before = statusBytes("VmRSS");
    const std::ptrdiff_t descriptors = openDescriptors();
    load(1000);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(dlopen(KPX_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the plug-in was not unloaded";
    if (underAddressSanitizer || underThreadSanitizer)
        GTEST_SKIP() << "the sanitizer itself keeps memory for each load";
    EXPECT_LT(statusBytes("VmRSS") - before, 256 << 10);
}

}  // namespace
