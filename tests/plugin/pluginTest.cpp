// The built plug-in under a host that somebody else built, which is this program: what it says of itself, what it
// recognises and reads, and its loading.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <nl_types.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/ddsFiles.h"
#include "tests/support/pluginFixture.h"
#include "tests/support/processState.h"

// Variables of the host's own, or of another plug-in, under names that the plug-in exports too.
extern "C" {
const char* imageName = "of the host";
const char* imageExtension = "of the host";
const char* imageNameSyntax = "of the host";
const char* version = "of the host";
int imageOrientation = -1;
}

namespace {

using namespace testing_support;

class OpenCatalogue {
public:
    explicit OpenCatalogue(const std::string& messages) {
        kpx__msg_cat = catopen(m_folder.catalogue(messages).c_str(), 0);
    }
    ~OpenCatalogue() {
        catclose(kpx__msg_cat);
        kpx__msg_cat = nullptr;
    }
    OpenCatalogue(const OpenCatalogue&) = delete;
    OpenCatalogue& operator=(const OpenCatalogue&) = delete;

private:
    Folder m_folder;
};

class Plugin : public PluginFixture {
protected:
    [[nodiscard]] std::string text(const char* name) const {
        const char* value = *m_plugin.find<const char*>(name);
        return value == nullptr ? "null" : value;
    }
    [[nodiscard]] std::string translatedTexts() const {
        return text("imageName") + " " + text("imageExtension") + " " + text("imageNameSyntax");
    }
};

// Descriptor variables.

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
    for (const auto& [name, value] : texts) EXPECT_EQ(text(name), value) << name;
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

TEST_F(Plugin, InitialisesItsTextsAndNobodyElses) {
    EXPECT_EQ(m_plugin.imageInit(), 1);
    EXPECT_EQ(translatedTexts(), "DDS .dds Name#.Ext");
    EXPECT_EQ(hostCalls(), "STR_define DDS\nSTR_define .dds\nSTR_save Name#.Ext\n");
    EXPECT_EQ(kpx__err, oldError);
    for (const char* own : {imageName, imageExtension, imageNameSyntax, version}) EXPECT_STREQ(own, "of the host");
    EXPECT_EQ(imageOrientation, -1);
}

TEST_F(Plugin, TakesItsTextsFromTheCatalogueWhereItHasThem) {
    const OpenCatalogue catalogue("$set 901\n422 .tex\n423 Textur\n$set 902\n424 of another set\n");
    EXPECT_EQ(m_plugin.imageInit(), 1);
    EXPECT_EQ(translatedTexts(), "Textur .tex Name#.Ext");
}

TEST_F(Plugin, InitialisesUpToTheTextThatCannotBeHeld) {
    const std::pair<int, const char*> cases[] = {
        {3, "Textur .tex null"}, {2, "Textur null Name#.Ext"}, {1, "null .dds Name#.Ext"}};
    for (const auto& [failing, texts] : cases) {
        ASSERT_EQ(m_plugin.imageInit(), 1);
        const OpenCatalogue catalogue("$set 901\n422 .tex\n423 Textur\n424 N\n");
        hostCalls();
        failHeldString(failing);
        EXPECT_EQ(m_plugin.imageInit(), 0);
        EXPECT_EQ(translatedTexts(), texts);
        EXPECT_EQ(std::string(hostCalls()).find("severity"), std::string::npos);
    }
}

// The option table, by the offsets of its bytes.

struct NamedCode {
    std::uint16_t code;
    std::int32_t set;
    std::int32_t number;
    const char* text;
};

template <typename Value>
Value valueAt(const unsigned char* bytes, std::size_t offset) {
    Value value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

bool isZero(const unsigned char* bytes, std::size_t from, std::size_t to) {
    return std::all_of(bytes + from, bytes + to, [](unsigned char byte) { return byte == 0; });
}

void expectNamedCode(const unsigned char* row, const NamedCode& expected) {
    EXPECT_EQ(valueAt<std::uint16_t>(row, 0), expected.code);
    EXPECT_TRUE(isZero(row, 2, 16));
    EXPECT_EQ(valueAt<std::int32_t>(row, 16), expected.set);
    EXPECT_EQ(valueAt<std::int32_t>(row, 20), expected.number);
    EXPECT_STREQ(valueAt<const char*>(row, 24), expected.text);
}

void expectOption(const unsigned char* row, const NamedCode& option, const std::vector<NamedCode>& values) {
    expectNamedCode(row, option);
    EXPECT_TRUE(isZero(row, 32, 40));
    EXPECT_EQ(valueAt<std::uint32_t>(row, 48), values.empty() ? 0U : 2U);
    EXPECT_TRUE(isZero(row, 52, 56));
    const auto* list = valueAt<const unsigned char*>(row, 40);
    ASSERT_EQ(list == nullptr, values.empty());
    if (list == nullptr) return;
    EXPECT_TRUE(isZero(list, 0, 8));
    const auto* entry = valueAt<const unsigned char*>(list, 8);
    for (const NamedCode& value : values) {
        expectNamedCode(entry, value);
        entry += 32;
    }
}

constexpr NamedCode endOfRows{0xFFFF, 0, 0, nullptr};

TEST_F(Plugin, HandsOutItsOptionTable) {
    CapabilityEntry* tables[2] = {};
    for (const int twin : {0, 1}) {
        int flag1Rows = -1;
        int flag2Rows = -1;
        int rows = -1;
        (twin == 0 ? m_plugin.imageCapability : m_plugin.KPX_dds_capability)(&tables[twin], &flag1Rows, &flag2Rows,
                                                                             &rows);
        EXPECT_EQ(flag1Rows, 0);
        EXPECT_EQ(flag2Rows, 2);
        EXPECT_EQ(rows, 2);
    }
    EXPECT_EQ(tables[0], tables[1]);
    auto* bytes = reinterpret_cast<unsigned char*>(tables[0]);
    expectOption(bytes, {0, 901, 429, "Alpha"},
                 {{1, 901, 431, "Output alpha"}, {0, 901, 430, "Do not output alpha"}, endOfRows});
    expectOption(bytes + 56, {1, 901, 425, "Compression"},
                 {{0, 901, 426, "Off"}, {1, 901, 427, "DXT1"}, {3, 901, 428, "DXT3"}, endOfRows});
    expectOption(bytes + 112, endOfRows, {});
    auto* writable = static_cast<volatile unsigned char*>(bytes);
    *writable = 9;  // a host may: the table lies in writable storage
    *writable = 0;
}

// Recognition.

TEST_F(Plugin, RecognisesFilesByTheirFirstBytes) {
    const std::pair<std::string, int> cases[] = {
        {"DDS ", 1},         {"DDSX", 1},      {std::string("DDS\0", 4), 1},
        {"DDS and more", 1}, {"DDS", 0},       {"", 0},
        {"dds and more", 0}, {" DDS more", 0}, {"DDX more", 0},
    };
    for (const auto& [content, expected] : cases) {
        const TemporaryFile file(Bytes(content.begin(), content.end()));
        EXPECT_EQ(m_plugin.imageIsFile(file.path(), nullptr), expected) << content;
        FILE* stream = std::fopen(file.path(), "r");
        std::fseek(stream, 6, SEEK_SET);
        EXPECT_EQ(m_plugin.imageIsFile("not looked at", stream), expected) << content;
        EXPECT_EQ(m_plugin.imageIsFile(nullptr, stream), expected) << "asked again: " << content;
        EXPECT_EQ(std::ftell(stream), std::min<long>(4, static_cast<long>(content.size())));
        EXPECT_EQ(std::fclose(stream), 0);
    }
    EXPECT_EQ(m_plugin.imageIsFile("/", nullptr), 0) << "a read error";
    EXPECT_EQ(hostCalls(), "");
}

TEST_F(Plugin, ReportsWhatItCannotOpenToRecognise) {
    const std::string path = m_folder.at("missing");
    EXPECT_EQ(m_plugin.imageIsFile(path.c_str(), nullptr), 0);
    EXPECT_EQ(hostCalls(), "level 3: imageIsFile, can't open `" + path + "'. No such file or directory\n");
    EXPECT_EQ(kpx__err, oldError);
}

// Reading.

// An image of 24-bit BGR, or 32-bit BGRA, with as much data as is given.
Bytes maskFile(std::uint32_t width, std::uint32_t height, bool alpha, const Bytes& data = {}) {
    kpx::DdsFileHeader file = headerOf(width, height);
    file.header.ddspf.dwFlags = alpha ? 0x41 : 0x40;
    file.header.ddspf.dwRGBBitCount = alpha ? 32 : 24;
    file.header.ddspf.dwRBitMask = 0x00FF0000;
    file.header.ddspf.dwGBitMask = 0x0000FF00;
    file.header.ddspf.dwBBitMask = 0x000000FF;
    file.header.ddspf.dwABitMask = 0xFF000000;
    return fileOf(file, data);
}

Bytes alphaOnlyFile() {
    kpx::DdsFileHeader file = headerOf(3, 2);
    file.header.ddspf.dwFlags = kpx::DDPF_ALPHA;
    file.header.ddspf.dwRGBBitCount = 8;
    file.header.ddspf.dwABitMask = 0xFF;
    return fileOf(file);
}

struct Described {
    Bytes file;
    int width, height;
    float aspectRatio;
    int channels, bits, bytes;
    bool hasMatte;
};

// A descriptor with the host's defaults and what is read from the file; its strings are those of actual.
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
    expected.channelBytes = image.bytes;
    expected.channelBits = image.bits;
    expected.matteFormat = image.hasMatte ? actual.matteFormat : nullptr;
    expected.matteCount = image.hasMatte ? 1 : 0;
    if (image.hasMatte) expected.matteBytes = 1;
    expected.matteBits = image.hasMatte ? image.bits : 0;
    expected.auxFormat = nullptr;
    expected.auxCount = 0;
    expected.auxBits = 0;
    return expected;
}

template <typename Record>
Bytes bytesOf(const Record& record) {
    Bytes bytes;
    append(bytes, record);
    return bytes;
}

TEST_F(Plugin, DescribesTheImageThatItReads) {
    const Described images[] = {
        {maskFile(256, 128, true), 256, 128, 2, 3, 8, 1, true},
        {maskFile(256, 128, false), 256, 128, 2, 3, 8, 1, false},
        {maskFile(100, 300, false), 100, 300, 0, 3, 8, 1, false},
        {maskFile(640, 480, false), 640, 480, 1, 3, 8, 1, false},
        {maskFile(1024, 256, true), 1024, 256, 4, 3, 8, 1, true},
        {maskFile(5, 0, false), 5, 0, 0, 3, 8, 1, false},
        {maskFile(0, 5, false), 0, 5, 0, 3, 8, 1, false},
        {alphaOnlyFile(), 3, 2, 1, 0, 8, 1, true},
        {fileOf(codeHeader(116, 6, 2)), 6, 2, 3, 3, 32, 2, true},
        {fileOf(codeHeader(112, 6, 2)), 6, 2, 3, 2, 32, 2, false},
        {fileOf(codeHeader(9999, 6, 2)), 64, 64, 1, 4, 8, 1, false},
    };
    for (const Described& image : images) {
        SCOPED_TRACE(testing::Message() << image.width << " by " << image.height << ", matte " << image.hasMatte);
        const TemporaryFile file(image.file);
        TestHandle handle(file.path());
        ImageHandle expected = handle;
        ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
        EXPECT_EQ(hostCalls(), std::string("kpx__init_ifd\nSTR_save colours of this host\nFMT_def_input_gamma\n") +
                                   (image.hasMatte ? "STR_save unknown\n" : ""));
        EXPECT_EQ(kpx__err, oldError);
        const ImageFileDescriptor described = descriptorOf(image, *handle.descriptor);
        EXPECT_EQ(bytesOf(*handle.descriptor), bytesOf(described));
        EXPECT_STREQ(handle.descriptor->channelFormat, KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
        if (image.hasMatte) {
            EXPECT_STREQ(handle.descriptor->matteFormat, "unknown");
        }

        expected.hostFlags = 0;
        expected.imageCount = 1;
        expected.pluginData = handle.pluginData;
        expected.descriptor = handle.descriptor;
        expected.scanlineFunction = handle.scanlineFunction;
        expected.closeFunction = handle.closeFunction;
        EXPECT_EQ(bytesOf<ImageHandle>(handle), bytesOf(expected));
        EXPECT_EQ(handle.close(), 0);
        EXPECT_EQ(hostCalls(), "kpx__free_obj\n");
        EXPECT_EQ(handle.pluginData, nullptr);
        resetHost();
    }
}

TEST_F(Plugin, TranslatesTheTextOfTheMatte) {
    const OpenCatalogue catalogue("$set 901\n131 unbekannt\n$set 902\n52 of the host\n");
    const TemporaryFile file(maskFile(4, 4, true));
    TestHandle handle(file.path());
    ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
    EXPECT_STREQ(handle.descriptor->matteFormat, "unbekannt");
    handle.close();
    hostCalls();
    TestHandle missing("/missing");
    EXPECT_EQ(m_plugin.imageReadOpen(&missing), 0);
    EXPECT_EQ(hostCalls(), "902.52, severity 3: Cannot open file /missing; No such file or directory\n");
}

// The bytes of a field of a descriptor that was not set.
template <typename Field>
bool isUntouched(const Field& field) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&field);
    return std::all_of(bytes, bytes + sizeof field, [](unsigned char byte) { return byte == descriptorFill; });
}

TEST_F(Plugin, LeavesTheDescriptorAsFarAsItCameWhenAStringCannotBeHeld) {
    const TemporaryFile file(maskFile(8, 2, true));
    for (const int failing : {1, 2}) {
        TestHandle handle(file.path());
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
        EXPECT_EQ(image.width, 8);
        EXPECT_EQ(image.height, 2);
        EXPECT_EQ(image.aspectRatio, 4.0F);
        EXPECT_EQ(image.channelFormat == nullptr, failing == 1);
        EXPECT_EQ(isUntouched(image.channelCount), failing == 1);
        EXPECT_EQ(isUntouched(image.orientation), failing == 1);
        EXPECT_EQ(image.matteFormat == nullptr, failing == 2);
        EXPECT_TRUE(isUntouched(image.matteCount));
        EXPECT_TRUE(isUntouched(image.auxFormat));
    }
}

TEST_F(Plugin, ReportsWhatItCannotRead) {
    const TemporaryFile tooShort(Bytes(10, 'D'));
    struct Case {
        const char* path;
        bool built;
        std::string calls;
    };
    const std::string missing = m_folder.at("missing");
    const std::string context = std::to_string(0x5A5A5A5A5A5A5A5A);
    const std::string shortFile = std::string("902.52, severity 3: Cannot open file ") + tooShort.path() + "; ";
    // What the system said last stands, also after a recognition.
    const std::string lastError = std::strerror(EXDEV);
    const Case cases[] = {
        {missing.c_str(), false, "902.52, severity 3: Cannot open file " + missing + "; No such file or directory\n"},
        {"/", false, "902.52, severity 3: Cannot open file /; Is a directory\n"},
        {tooShort.path(), false, shortFile + lastError},
        {"/built", true,
         "kpx__build_handle 0 /pattern# " + context +
             "\n902.52, severity 3: Cannot open file /built; No such file or directory\n"},
        {nullptr, true, "kpx__build_handle 0 /pattern# " + context + "\n902.52, severity 3: Cannot open file ; "},
        {nullptr, false, "902.52, severity 3: Cannot open file ; "},
    };
    const std::ptrdiff_t descriptors = openDescriptors();
    for (const Case& test : cases) {
        TestHandle handle(test.built ? "/pattern#" : test.path);
        handle.nameIsPath = test.built ? 0 : 1;
        handle.imageCount = 9;
        setBuiltPath(test.path);
        kpx__err = oldError;
        errno = EXDEV;
        if (test.path == tooShort.path()) m_plugin.imageIsFile(test.path, nullptr);
        EXPECT_EQ(m_plugin.imageReadOpen(&handle), 0);
        const std::string calls = hostCalls();
        EXPECT_TRUE(calls.starts_with(test.calls)) << calls;
        EXPECT_EQ(kpx__err, -5);
        ASSERT_NE(handle.pluginData, nullptr);
        EXPECT_EQ(*handle.pluginData, nullptr);
        EXPECT_EQ(handle.descriptor, nullptr);
        EXPECT_EQ(handle.imageCount, 9);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(Plugin, BuildsThePathFromANamePattern) {
    const TemporaryFile file(maskFile(3, 2, false));
    TestHandle handle("pattern#");
    handle.nameIsPath = 0;
    const std::intptr_t context = -12;
    std::memcpy(&handle.nameContext, &context, sizeof context);
    setBuiltPath(file.path());
    ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
    EXPECT_TRUE(hostCalls().starts_with("kpx__build_handle 0 pattern# -12\nkpx__init_ifd\n"));
    EXPECT_EQ(handle.descriptor->width, 3);
    handle.close();
}

TEST_F(Plugin, HandsOutScanlinesFromTheBottom) {
    const TemporaryFile file(maskFile(2, 3, true, {1,  2,  3,  4,  5,  6,  7,  8,  11, 12, 13, 14,  //
                                                   15, 16, 17, 18, 21, 22, 23, 24, 25, 26, 27, 28}));
    TestHandle handle(file.path());
    ASSERT_EQ(m_plugin.imageReadOpen(&handle), 1);
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

TEST_F(Plugin, ClosesWhateverHangsOnAHandle) {
    const TemporaryFile file(maskFile(2, 2, false));
    TestHandle read(file.path());
    ASSERT_EQ(m_plugin.imageReadOpen(&read), 1);
    const std::string written = m_folder.at("a.dds");
    TestHandle write(written.c_str());
    write.describe(4, 4);
    ASSERT_EQ(m_plugin.imageWriteOpen(&write), 1);
    for (TestHandle* handle : {&read, &write}) {
        const int errorAfter = handle == &read ? oldError : 0;
        hostCalls();
        kpx__err = oldError;
        EXPECT_EQ(handle->closeFunction(nullptr), 0);
        EXPECT_EQ(kpx__err, errorAfter);
        EXPECT_EQ(hostCalls(), "");
        for (const char* time : {"open", "with nothing left on it"}) {
            kpx__err = oldError;
            EXPECT_EQ(handle->close(), 0) << time;
            EXPECT_EQ(hostCalls(), "kpx__free_obj\n") << time;
            EXPECT_EQ(kpx__err, errorAfter);
            EXPECT_EQ(handle->pluginData, nullptr);
        }
        handle->pluginData = static_cast<void**>(std::calloc(1, sizeof(void*)));
        EXPECT_EQ(handle->close(), 0);
        EXPECT_EQ(hostCalls(), "kpx__free_obj\n") << "with an empty slot";
    }
}

// Many handles, many loads.

// Reads the file, whose first byte tells its picture of 4 by 2 from others.
bool readsAs(const LoadedPlugin& plugin, const char* path, unsigned char first) {
    TestHandle handle(path);
    if (plugin.imageReadOpen(&handle) != 1) return false;
    bool right = true;
    for (int y = 0; y < 2; ++y) {
        unsigned char** rows = nullptr;
        right = right && handle.read(y, &rows) == 0 && rows[2][0] == first + 12 * (1 - y);
    }
    handle.close();
    resetHost();
    return right;
}

Bytes numberedFile(unsigned char first) {
    Bytes data;
    for (int i = 0; i < 24; ++i) data.push_back(static_cast<unsigned char>(first + i));
    return maskFile(4, 2, false, data);
}

TEST_F(Plugin, ThreadsReadTheirOwnHandles) {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (unsigned char first = 0; first < 200; first += 50) {
        threads.emplace_back([this, &wrong, first] {
            const TemporaryFile file(numberedFile(first));
            for (int round = 0; round < 200; ++round) wrong += readsAs(m_plugin, file.path(), first) ? 0 : 1;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Loading, AThousandTimesTakesNoMoreMemory) {
    const TemporaryFile file(numberedFile(3));
    const auto load = [&file](int times) {
        for (int i = 0; i < times; ++i) {
            const LoadedPlugin plugin;
            ASSERT_EQ(plugin.imageInit(), 1);
            ASSERT_TRUE(readsAs(plugin, file.path(), 3));
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
