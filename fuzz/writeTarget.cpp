// A handle, its options and its rows into imageWriteOpen, and the written file read back: it is refused with a known
// message, or what was written is read as it was given. The target is a host of its own.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

#include "fuzz/target.h"
#include "plugin/protocol.h"
#include "reader/TddsReader.h"
#include "tests/support/recordingHost.h"

namespace {

constexpr int knownMessages[] = {50, 52, 61, 68, 73, 75, 78, 80, 92};
// Larger images are left to tests; here they would only cost time.
constexpr std::int64_t largestSide = 40;

// How many messages there were, all known.
int knownReports() {
    std::istringstream calls(testing_support::hostCalls());
    int reports = 0;
    for (std::string line; std::getline(calls, line);) {
        if (line.find(", severity ") == std::string::npos) continue;
        ++reports;
        int number = 0;
        fuzz::claim(std::sscanf(line.c_str(), "902.%d,", &number) == 1, "errors are of set 902");
        fuzz::claim(std::find(std::begin(knownMessages), std::end(knownMessages), number) != std::end(knownMessages),
                    "every message is a known one");
    }
    return reports;
}

struct Image {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    fuzz::Bytes channels[4];  // bottom row first
    bool hasAlpha = false;
};

// Rows from the input, given to the plug-in in an order that the input chooses; some scanline numbers are wrong.
Image writeRows(ImageHandle& handle, fuzz::Input& input, const PixelWindow& window) {
    Image image;
    image.width = static_cast<std::uint32_t>(window.xMax - window.xMin + 1);
    image.height = static_cast<std::uint32_t>(window.yMax - window.yMin + 1);
    for (fuzz::Bytes& channel : image.channels) channel.assign(std::size_t{image.width} * image.height, 0);
    for (std::uint32_t n = 0; n < image.height; ++n) {
        const int y = static_cast<int>(input.next() % (image.height + 2)) - 1;
        fuzz::Bytes rows[4];
        unsigned char* pointers[4];
        for (int c = 0; c < 4; ++c) {
            rows[c].resize(image.width);
            for (unsigned char& value : rows[c]) value = input.next();
            pointers[c] = rows[c].data();
        }
        const bool inside = y >= 0 && static_cast<std::uint32_t>(y) < image.height;
        const int result = ScanlineWriteCallback(*handle.pluginData, y, pointers);
        fuzz::claim(result == (inside ? 0 : -2) && kpx__err == result, "a row is stored when it is inside the image");
        for (int c = 0; inside && c < 4; ++c) {
            std::copy(rows[c].begin(), rows[c].end(),
                      image.channels[c].begin() + static_cast<std::ptrdiff_t>(y) * image.width);
        }
    }
    return image;
}

void readBack(const Image& image, const char* path) {
    kpx::TddsReader reader;
    fuzz::claim(reader.open(path) == 0, "what was written is read");
    fuzz::claim(reader.width() == (image.width + 3) / 4 * 4 && reader.height() == image.height, "in its size");
    fuzz::claim(reader.hasAlphaChannel() == (image.hasAlpha ? 1 : 0) && reader.numColourChannels() == 3,
                "in its channels");
    for (std::uint32_t y = 0; y < image.height; ++y) {
        unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
        for (int c = 0; c < (image.hasAlpha ? 4 : 3); ++c) {
            const unsigned char* given = image.channels[c].data() + std::size_t{y} * image.width;
            fuzz::claim(std::memcmp(rows[c], given, image.width) == 0, "as it was given");
            for (std::uint32_t x = image.width; x < reader.width(); ++x) {
                fuzz::claim(rows[c][x] == given[image.width - 1], "its last pixel repeated");
            }
        }
    }
}

}  // namespace

const bool fuzz::inputsAreBlocks = false;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    fuzz::Input input({data, size});
    // Each bit breaks one thing. DDS files, the seeds of the replay, start with two bytes that break nothing.
    const std::uint32_t faults = input.number(2) ^ 0x4444;
    const auto broken = [faults](int bit) { return (faults >> bit & 1) != 0; };
    char other[] = "CMYK";

    ImageFileDescriptor descriptor{};
    descriptor.window.xMin = static_cast<std::int32_t>(input.number(4));
    descriptor.window.yMin = static_cast<std::int32_t>(input.number(4));
    descriptor.window.xMax = static_cast<std::int32_t>(
        std::min<std::int64_t>(std::int64_t{descriptor.window.xMin} + input.next() % largestSide, INT32_MAX));
    descriptor.window.yMax = static_cast<std::int32_t>(
        std::min<std::int64_t>(std::int64_t{descriptor.window.yMin} + input.next() % largestSide, INT32_MAX));
    if (broken(10)) std::swap(descriptor.window.xMin, descriptor.window.xMax);
    descriptor.orientation = broken(0) ? input.next() : 2;
    descriptor.channelFormat = broken(1) ? other : const_cast<char*>(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
    descriptor.channelCount = broken(2) ? static_cast<std::int32_t>(input.number(4)) : 3;
    descriptor.channelBits = broken(3) ? input.next() : 8;
    descriptor.matteCount = input.next() % (broken(4) ? 4 : 2);
    descriptor.matteBits = broken(5) ? input.next() : 8;
    descriptor.auxCount = broken(6) ? input.next() : 0;

    OptionSetting settings[3]{};
    OptionSetting* options[4] = {&settings[0], &settings[1], &settings[2], nullptr};
    for (OptionSetting& setting : settings) {
        setting.code = static_cast<std::uint16_t>(input.next() % (broken(7) ? 4 : 2));
        setting.value[0] = input.next() % 4;
    }
    options[input.next() % 4] = nullptr;

    ImageHandle handle{};
    char path[64];
    std::snprintf(path, sizeof path, "%s", broken(8) ? "/nonexistent/x" : file.path());
    handle.formatName = "DDS";
    handle.name = path;
    handle.nameIsPath = 1;
    handle.options = options;
    handle.imageCount = broken(9) ? 2 : 1;
    handle.descriptor = &descriptor;

    testing_support::resetHost();
    if (imageWriteOpen(&handle) == 0) {
        fuzz::claim(knownReports() > 0, "a refusal has a message");
        kpx::detachPrivateBlock(&handle);
        return 0;
    }
    fuzz::claim(kpx__err == 0, "an open image has no error");
    knownReports();
    Image image = writeRows(handle, input, descriptor.window);
    bool output = true;
    for (OptionSetting** option = options; *option != nullptr && (*option)->code < 2; ++option) {
        if ((*option)->code == 0) output = (*option)->value[0] == 1;
    }
    image.hasAlpha = descriptor.matteCount == 1 && output;
    fuzz::claim(WriterCloseCallback(&handle) == 0 && handle.pluginData == nullptr, "an image is closed");
    readBack(image, path);
    return 0;
}
