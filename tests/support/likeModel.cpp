#include "tests/support/likeModel.h"

#include <sstream>

#include "tests/support/memoryFile.h"

namespace testing_support {
namespace {

std::string lineOf(const std::string& text) {
    return text.empty() ? "" : text + "\n";
}

// Returns the result of reading a file as one line.
std::string inWords(kpx::Result result, const std::string& printed, std::uint64_t width, std::uint64_t height,
                    unsigned channels, bool hasAlpha, unsigned bits) {
    std::ostringstream words;
    words << resultName(result) << ", printed \"" << printed << '"';
    if (result == kpx::Result::refused) return words.str();
    words << ", " << width << " by " << height << ", " << channels << " channels of " << bits << " bits";
    return words.str() + (hasAlpha ? ", the last is alpha" : "");
}

// Compares every stepth pixel of a scanline.
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
    const kpx::Result result = picture.result == model::Result::refused   ? kpx::Result::refused
                               : picture.result == model::Result::decoded ? kpx::Result::decoded
                                                                          : kpx::Result::black;
    const std::string expected = inWords(result, lineOf(picture.printed), picture.width, picture.height,
                                         picture.channels, picture.hasAlpha, static_cast<unsigned>(picture.bits));

    kpx::TddsReader reader(kernels);
    PrintedText output;
    const bool isRefused = reader.open(path) != 0;
    const std::string printed = output.take();
    const std::string actual =
        inWords(isRefused ? kpx::Result::refused : result, printed, reader.width(), reader.height(),
                static_cast<unsigned>(reader.numColourChannels() + reader.hasAlphaChannel()),
                reader.hasAlphaChannel() != 0, static_cast<unsigned>(reader.bitsPerChannel()));

    // The verdict is computed without opening the file.
    const kpx::Verdict verdict =
        kpx::judge(kpx::factsOf(file.first(std::min(file.size(), kpx::factBytes)), file.size()));
    const std::string predicted = inWords(
        verdict.result, lineOf(verdict.printed == nullptr ? "" : verdict.printed), verdict.width, verdict.height,
        verdict.colourChannels() + (verdict.hasAlpha ? 1 : 0), verdict.hasAlpha, static_cast<unsigned>(verdict.bits));

    std::ostringstream differences;
    if (actual != expected) differences << "the reader returns " << actual << " instead of " << expected << "; ";
    if (predicted != expected)
        differences << "the verdict predicts " << predicted << " instead of " << expected << "; ";
    if (differences.str().empty() && !isRefused) comparePixels(differences, reader, picture, mostPixels);
    if (differences.str().empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << differences.str() << "with the kernels " << kernels.name;
}

const char* resultName(kpx::Result result) {
    constexpr const char* names[] = {"decoded", "black", "refused"};
    return names[static_cast<std::size_t>(result)];
}

}  // namespace testing_support
