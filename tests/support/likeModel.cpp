#include "tests/support/likeModel.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "explain/verdict.h"

namespace testing_support {
namespace {

template <typename Value>
void compare(std::ostringstream& differences, const char* what, const Value& actual, const Value& expected) {
    if (actual != expected) differences << what << " is " << actual << " and not " << expected << "; ";
}

// What the verdict foretells, which knows the file without opening it.
void compareVerdict(std::ostringstream& differences, const kpx::Verdict& verdict, const model::Picture& picture) {
    const bool isRefused = picture.result == model::Result::refused;
    const bool isDecoded = picture.result == model::Result::decoded;
    compare(differences, "verdict", std::string_view(kpx::resultName(verdict.result)),
            std::string_view(kpx::resultName(isRefused   ? kpx::Result::refused
                                             : isDecoded ? kpx::Result::decoded
                                                         : kpx::Result::black)));
    const std::string printed = verdict.printed == nullptr ? "" : verdict.printed;
    compare(differences, "foretold text", printed, picture.printed);
    if (isRefused) return;
    compare(differences, "foretold width", verdict.width, picture.width);
    compare(differences, "foretold height", verdict.height, picture.height);
    compare(differences, "foretold channels", verdict.colourChannels(), picture.colourChannels);
    compare(differences, "foretold alpha", verdict.hasAlpha, picture.hasAlpha);
    compare(differences, "foretold bits", static_cast<int>(verdict.bits), picture.bits);
}

void compareScanline(std::ostringstream& differences, kpx::TddsReader& reader, const model::Picture& picture,
                     std::uint32_t y) {
    const auto expected = picture.scanline(y);
    unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
    for (std::size_t channel = 0; channel < expected.size(); ++channel) {
        const auto& row = expected[channel];
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (rows[channel][i] == row[i]) continue;
            differences << "scanline " << y << ", channel " << channel << ", byte " << i << " is "
                        << int{rows[channel][i]} << " and not " << int{row[i]} << "; ";
            return;
        }
    }
}

}  // namespace

testing::AssertionResult readsLikeModel(std::span<const unsigned char> file, const kpx::KernelSet& kernels) {
    const TemporaryFile temporary(file);
    return readsLikeModel(temporary.path(), file, kernels);
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
        compare(differences, "colour channels", reader.numColourChannels(), static_cast<int>(picture.colourChannels));
        compare(differences, "alpha", reader.hasAlphaChannel() != 0, picture.hasAlpha);
        compare(differences, "bits", reader.bitsPerChannel(), picture.bits);
    }
    const std::uint32_t step = 1 + picture.height / comparedScanlines;
    if (differences.str().empty() && picture.result != model::Result::refused && picture.height != 0) {
        for (std::uint32_t y = 0; y < picture.height && differences.str().empty(); y += step) {
            compareScanline(differences, reader, picture, y);
        }
        compareScanline(differences, reader, picture, picture.height - 1);
    }
    if (differences.str().empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << differences.str() << "with the kernels " << kernels.name;
}

}  // namespace testing_support
