#include "tests/support/likeModel.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string_view>

#include "explain/verdict.h"
#include "tests/support/memoryFile.h"

namespace testing_support {
namespace {

template <typename Actual, typename Expected>
void compare(std::ostringstream& differences, const char* what, const Actual& actual, const Expected& expected) {
    if (actual != expected) differences << what << " is " << actual << " and not " << expected << "; ";
}

// What the verdict foretells, which knows the file without opening it.
void compareVerdict(std::ostringstream& differences, const kpx::Verdict& verdict, const model::Picture& picture) {
    constexpr kpx::Result results[] = {kpx::Result::refused, kpx::Result::decoded, kpx::Result::black};
    const kpx::Result expected = results[static_cast<std::size_t>(picture.result)];
    compare(differences, "verdict", std::string(kpx::resultName(verdict.result)), kpx::resultName(expected));
    compare(differences, "foretold text", std::string(verdict.printed == nullptr ? "" : verdict.printed),
            picture.printed);
    if (picture.result == model::Result::refused) return;
    compare(differences, "foretold width", verdict.width, picture.width);
    compare(differences, "foretold height", verdict.height, picture.height);
    compare(differences, "foretold channels", verdict.colourChannels() + (verdict.hasAlpha ? 1 : 0), picture.channels);
    compare(differences, "foretold alpha", verdict.hasAlpha, picture.hasAlpha);
    compare(differences, "foretold bits", static_cast<int>(verdict.bits), picture.bits);
}

// The scanline's every stepth pixel.
void compareScanline(std::ostringstream& differences, kpx::TddsReader& reader, const model::Picture& picture,
                     std::uint64_t y, std::uint64_t step) {
    unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
    const std::size_t bytes = picture.bits == 32 ? 4 : 1;
    for (std::uint64_t x = 0; x < picture.width; x += step) {
        const model::Pixel pixel = picture.pixelAt(x, picture.height - 1 - y);
        for (std::size_t c = 0; c < picture.channels; ++c) {
            std::uint32_t value = 0;
            std::memcpy(&value, rows[c] + x * bytes, bytes);
            if (value == pixel[c]) continue;
            differences << "pixel " << x << " of scanline " << y << ", channel " << c << " is " << std::hex << value
                        << " and not " << pixel[c] << "; ";
            return;
        }
    }
}

void comparePixels(std::ostringstream& differences, kpx::TddsReader& reader, const model::Picture& picture,
                   std::uint64_t mostPixels) {
    constexpr std::uint64_t longestRow = 1 << 17;
    if (picture.width > longestRow || picture.height == 0) return;
    const bool isLong = picture.width > mostPixels;
    const std::uint64_t step = isLong ? picture.width - 1 : 1;
    const std::uint64_t most = isLong ? 1 : mostPixels / std::max<std::uint64_t>(picture.width, 1);
    const std::uint64_t every = 1 + picture.height / most;
    for (std::uint64_t y = 0; y < picture.height && differences.str().empty(); y += every) {
        compareScanline(differences, reader, picture, y, step);
    }
    if (differences.str().empty()) compareScanline(differences, reader, picture, picture.height - 1, step);
}

}  // namespace

testing::AssertionResult readsLikeModel(std::span<const unsigned char> file, const kpx::KernelSet& kernels) {
    static const MemoryFile inMemory;
    inMemory.write(file);
    return readsLikeModel(inMemory.path(), file, kernels);
}

testing::AssertionResult readsLikeModel(const char* path, std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels, std::uint64_t mostPixels) {
    const model::Picture picture = model::read(file);
    kpx::TddsReader reader(kernels);

    PrintedText output;
    const int result = reader.open(path);
    const std::string printed = output.take();

    std::ostringstream differences;
    const kpx::FileFacts facts = kpx::factsOf(file.first(std::min(file.size(), kpx::factBytes)), file.size());
    compareVerdict(differences, kpx::judge(facts), picture);
    compare(differences, "result", result, picture.result == model::Result::refused ? -1 : 0);
    compare(differences, "printed text", printed, picture.printed.empty() ? "" : picture.printed + "\n");
    if (picture.result != model::Result::refused) {
        compare(differences, "width", reader.width(), picture.width);
        compare(differences, "height", reader.height(), picture.height);
        compare(differences, "channels", static_cast<unsigned>(reader.numColourChannels() + reader.hasAlphaChannel()),
                picture.channels);
        compare(differences, "alpha", reader.hasAlphaChannel() != 0, picture.hasAlpha);
        compare(differences, "bits", reader.bitsPerChannel(), picture.bits);
        if (differences.str().empty()) comparePixels(differences, reader, picture, mostPixels);
    }
    if (differences.str().empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << differences.str() << "with the kernels " << kernels.name;
}

}  // namespace testing_support
