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

void compareScanline(std::ostringstream& differences, kpx::TddsReader& reader, const model::Picture& picture,
                     std::uint64_t y) {
    unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
    const std::size_t bytes = picture.bits == 32 ? 4 : 1;
    const std::uint64_t step = picture.width <= longRow ? 1 : picture.width - 1;
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

}  // namespace

testing::AssertionResult readsLikeModel(std::span<const unsigned char> file, const kpx::KernelSet& kernels) {
    static const MemoryFile inMemory;
    inMemory.write(file);
    return readsLikeModel(inMemory.path(), file, kernels);
}

testing::AssertionResult readsLikeModel(const char* path, std::span<const unsigned char> file,
                                        const kpx::KernelSet& kernels) {
    const model::Picture picture = model::read(file);
    kpx::TddsReader reader(kernels);

    testing::internal::CaptureStdout();
    const int result = reader.open(path);
    const std::string printed = testing::internal::GetCapturedStdout();

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
        const std::uint64_t count = picture.width <= longRow ? comparedScanlines : picture.width <= longestRow ? 1 : 0;
        for (std::uint64_t i = 0; i < std::min(count, picture.height) && differences.str().empty(); ++i) {
            compareScanline(differences, reader, picture, i * picture.height / std::min(count, picture.height));
        }
        if (differences.str().empty() && count > 0 && picture.height > 0) {
            compareScanline(differences, reader, picture, picture.height - 1);
        }
    }
    if (differences.str().empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << differences.str() << "with the kernels " << kernels.name;
}

}  // namespace testing_support
