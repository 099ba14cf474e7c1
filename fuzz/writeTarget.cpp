// Writes an image with options through imageWriteOpen and reads the file back, which must return the same pixels. The
// target is its own host.
#include <algorithm>
#include <cstring>

#include "fuzz/target.h"
#include "plugin/protocol.h"
#include "reader/TddsReader.h"
#include "tests/support/recordingHost.h"

namespace {

// Larger images are tested elsewhere; here they would only cost time.
constexpr int largestSide = 40;

struct Image {
    std::size_t width, height;
    bool hasAlpha;
    fuzz::Bytes channels[4];  // bottom row first
};

// Writes rows from the input, in an order from the input; some scanline numbers are invalid.
void writeRows(const testing_support::TestHandle& handle, fuzz::Input& input, Image& image) {
    for (fuzz::Bytes& channel : image.channels) channel.assign(image.width * image.height, 0);
    for (std::size_t n = 0; n < image.height; ++n) {
        const int y = static_cast<int>(input.next() % (image.height + 2)) - 1;
        fuzz::Bytes rows[4];
        unsigned char* pointers[4];
        for (int c = 0; c < 4; ++c) {
            rows[c].resize(image.width);
            for (unsigned char& value : rows[c]) value = input.next();
            pointers[c] = rows[c].data();
        }
        const bool inside = y >= 0 && static_cast<std::size_t>(y) < image.height;
        const int result = handle.write(y, pointers);
        fuzz::claim(result == (inside ? 0 : -2) && kpx__err == result, "a row is stored when it is inside the image");
        for (int c = 0; inside && c < 4; ++c) {
            std::memcpy(image.channels[c].data() + static_cast<std::size_t>(y) * image.width, pointers[c], image.width);
        }
    }
}

void readBack(const Image& image, const char* path) {
    kpx::TddsReader reader;
    fuzz::claim(reader.open(path) == 0, "what was written is read");
    fuzz::claim(reader.width() == (image.width + 3) / 4 * 4 && reader.height() == image.height, "in its size");
    fuzz::claim(reader.hasAlphaChannel() == (image.hasAlpha ? 1 : 0) && reader.numColourChannels() == 3,
                "in its channels");
    for (std::size_t y = 0; y < image.height; ++y) {
        unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
        for (int c = 0; c < (image.hasAlpha ? 4 : 3); ++c) {
            const unsigned char* given = image.channels[c].data() + y * image.width;
            for (std::size_t x = 0; x < reader.width(); ++x) {
                fuzz::claim(rows[c][x] == given[std::min(x, image.width - 1)],
                            "as it was given, the last pixel repeated");
            }
        }
    }
}

}  // namespace

const bool fuzz::inputsAreBlocks = false;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    fuzz::Input input({data, size});
    testing_support::resetHost();
    testing_support::TestHandle handle(file.path());
    handle.describe(1, 1);
    const auto side = [&input](std::int32_t& first, std::int32_t& last) {
        first = static_cast<std::int32_t>(input.number(4));
        last = static_cast<std::int32_t>(
            std::min<std::int64_t>(std::int64_t{first} + input.next() % largestSide, INT32_MAX));
        return static_cast<std::size_t>(last - first + 1);
    };
    PixelWindow& window = handle.described.window;
    Image image{side(window.xMin, window.xMax), side(window.yMin, window.yMax), false, {}};
    handle.described.matteCount = input.next() % 2;

    // Settings are used up to the first with an unknown option, which is reported.
    OptionSetting settings[3]{};
    OptionSetting* options[4] = {&settings[0], &settings[1], &settings[2], nullptr};
    bool output = true;
    bool isKnown = true;
    for (OptionSetting& setting : settings) {
        const auto code = static_cast<std::uint16_t>(input.next() % 3);
        setting = {code, 0, {static_cast<std::uint8_t>(input.next() % 4)}};
        isKnown = isKnown && setting.code < 2;
        if (isKnown && setting.code == 0) output = setting.value[0] == 1;
    }
    handle.options = options;
    image.hasAlpha = handle.described.matteCount == 1 && output;

    fuzz::claim(imageWriteOpen(&handle) == 1 && kpx__err == 0, "an image is opened");
    fuzz::claim(testing_support::hostCalls().empty() == isKnown, "an unknown option is reported");
    writeRows(handle, input, image);
    fuzz::claim(handle.close() == 0 && handle.pluginData == nullptr, "an image is closed");
    readBack(image, file.path());
    return 0;
}
