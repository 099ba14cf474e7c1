// Every allocation that the product makes fails, by itself and with all after it: the message and the result are the
// stated ones, nothing leaks and no file stays open.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/failingMemory.h"
#include "tests/support/families.h"
#include "tests/support/processState.h"
#include "tests/support/recordingHost.h"

namespace {

using namespace testing_support;
using kpx::Format;
using kpx::Loader;

constexpr int oldError = 77;
const std::string noMemoryReport = "902.94, severity 3: No more internal memory\n";

std::string cannotOpenReport(const std::string& path) {
    return "902.52, severity 3: Cannot open file " + path + "; Cannot allocate memory\n";
}

// How often something came of an attempt at which one allocation failed.
using Outcomes = std::map<std::string, int>;

// Calls attempt(nth, failing), which tells how many allocations failed and what came of it, until none is left to fail.
class Failures {
public:
    // What came of the attempts at which one allocation failed. With more than one the outcome must be "refused...".
    template <typename Attempt>
    Outcomes ofEveryAllocation(Attempt attempt) {
        std::vector<std::string> ofOne;
        for (const Failing failing : {Failing::one, Failing::allAfter}) {
            for (unsigned nth = 1; !testing::Test::HasFailure(); ++nth) {
                SCOPED_TRACE(testing::Message() << "allocation " << nth);
                const std::ptrdiff_t descriptors = openDescriptors();
                const auto [failed, outcome] = attempt(nth, failing);
                EXPECT_EQ(heldBlocks(), 0U);
                EXPECT_EQ(openDescriptors(), descriptors);
                if (failed == 0) break;
                ++m_count;
                if (failing == Failing::one) ofOne.push_back(outcome);
                EXPECT_EQ(outcome.substr(0, 7), failed > 1 ? "refused" : ofOne.at(nth - 1).substr(0, 7));
            }
        }
        Outcomes outcomes;
        for (const std::string& outcome : ofOne) ++outcomes[outcome];
        return outcomes;
    }

    [[nodiscard]] int count() const { return m_count; }

private:
    int m_count = 0;
};

using Attempted = std::pair<unsigned, std::string>;

// A picture in short, worked out without memory.
struct Digest {
    unsigned width = 0;
    unsigned height = 0;
    std::uint64_t samples = 14695981039346656037U;
    bool isBlack = true;

    void add(unsigned char** rows, int channels, std::size_t rowBytes) {
        for (int channel = 0; channel < channels; ++channel) {
            for (std::size_t i = 0; i < rowBytes; ++i) {
                samples = (samples ^ rows[channel][i]) * 1099511628211U;
                isBlack = isBlack && rows[channel][i] == (channel == 3 ? 255 : 0);
            }
        }
    }

    // "whole" for the picture of the file, "black" for the one that stands in for it.
    [[nodiscard]] std::string against(const Digest& whole) const {
        if (width == whole.width && height == whole.height && samples == whole.samples) return "whole";
        return isBlack && width == 64 && height == 64 ? "black" : "wrong";
    }
};

// What the loaders print; anything else is shown as it is.
std::string takePrinted() {
    const std::string printed = testing::internal::GetCapturedStdout();
    if (printed.empty()) return "";
    return printed == "Insufficient memory to load DDS file\n" ? ", reported" : ", printed " + printed;
}

Digest digestOf(kpx::TddsReader& reader) {
    Digest digest;
    digest.width = reader.width();
    digest.height = reader.height();
    const int channels = reader.numColourChannels() + reader.hasAlphaChannel();
    const std::size_t rowBytes = reader.width() * static_cast<std::size_t>(reader.bitsPerChannel()) / 8;
    for (unsigned y = 0; y < digest.height; ++y) {
        digest.add(reader.getScanlineChannelsAsBytes(static_cast<int>(y)), channels, rowBytes);
    }
    return digest;
}

Attempted openReader(const char* path, unsigned nth, Failing failing, const Digest& whole) {
    kpx::TddsReader reader;
    testing::internal::CaptureStdout();
    startFailing(nth, failing);
    const int result = reader.open(path);
    const int reason = errno;
    const Digest digest = digestOf(reader);  // takes no memory, or it fails
    const unsigned failed = stopFailing();
    std::string outcome = digest.against(whole);
    if (result < 0) {
        outcome = reason == ENOMEM && reader.width() == 0 && reader.height() == 0 &&
                          reader.getScanlineChannelsAsBytes(0) == nullptr
                      ? "refused"
                      : "refused in a wrong way";
    }
    outcome += takePrinted();
    reader.close();
    return {failed, outcome};
}

Digest digestOf(const TestHandle& handle) {
    Digest digest;
    digest.width = static_cast<unsigned>(handle.descriptor->width);
    digest.height = static_cast<unsigned>(handle.descriptor->height);
    const int channels = handle.descriptor->channelCount + handle.descriptor->matteCount;
    const std::size_t rowBytes = digest.width * static_cast<std::size_t>(handle.descriptor->channelBits) / 8;
    for (unsigned y = 0; y < digest.height; ++y) {
        unsigned char** rows = nullptr;
        if (handle.read(static_cast<int>(y), &rows) == 0) digest.add(rows, channels, rowBytes);
    }
    return digest;
}

// A refused image as one of the two stated ways, else with all that was seen.
std::string refusal(const TestHandle& handle, const char* path, int errorOfOpening, bool blockStays) {
    const std::string calls = hostCalls();
    const std::size_t start = calls.find("902.");
    const std::string report = start == std::string::npos ? "" : calls.substr(start);
    if (report == noMemoryReport && handle.pluginData == nullptr && kpx__err != -5) return "refused with 94";
    if (report == cannotOpenReport(path) && kpx__err == errorOfOpening &&
        (handle.pluginData != nullptr) == blockStays && handle.object() == nullptr) {
        return "refused with 52";
    }
    return "refused in a wrong way: " + calls;
}

Attempted readThroughPlugin(const LoadedPlugin& plugin, const char* path, unsigned nth, Failing failing,
                            const Digest& whole) {
    unsigned failed = 0;
    std::string outcome;
    {
        resetHost();
        kpx__err = oldError;
        TestHandle handle(path);
        testing::internal::CaptureStdout();
        startFailing(nth, failing);
        if (plugin.imageReadOpen(&handle) == 1) {
            const Digest digest = digestOf(handle);
            const int closed = handle.close();
            failed = stopFailing();
            outcome = digest.against(whole);
            if (closed != 0 || handle.pluginData != nullptr || !hostCalls().ends_with("\nkpx__free_obj\n")) {
                outcome += ", not closed";
            }
        } else {
            failed = stopFailing();
            outcome = refusal(handle, path, -5, true);
        }
        const std::string printed = takePrinted();
        if (outcome.substr(0, 7) != "refused") outcome += printed;
        resetHost();
    }
    return {failed, outcome};
}

// Failures by the pictures' buffers, with a message but for floats, and by the three parts of the channel rows, with
// one; that of the stream's buffer goes unseen.
Outcomes expectedOfReading(const Format& format) {
    switch (format.loader) {
        case Loader::uncompressed:
            return {{"whole", 1}, {"black, reported", 4}};
        case Loader::d3dFormat:
            // What is converted on its way has a buffer more.
            return {{"whole", 1},
                    {"black, reported", format.has(kpx::highBytes) || format.has(kpx::pixelPairs) ? 5 : 4}};
        case Loader::palettised:
        case Loader::compressed:
            return {{"whole", 1}, {"black, reported", 5}};
        default:
            return {{"whole", 1}, {"black", 2}, {"black, reported", 3}};
    }
}

void expectEveryFailureOfReading(Failures& failures, const LoadedPlugin& plugin, const Format& format,
                                 std::uint32_t width, std::uint32_t height) {
    SCOPED_TRACE(testing::Message() << format.name << ", " << width << " by " << height);
    model::Random random(width);
    Bytes bytes = headerFor(format, width, height);
    const Bytes data = randomBytes(random, std::size_t{width} * height + 2000);
    bytes.insert(bytes.end(), data.begin(), data.end());
    const TemporaryFile file(bytes);
    kpx::TddsReader reader;
    ASSERT_EQ(reader.open(file.path()), 0);
    const Digest whole = digestOf(reader);
    ASSERT_EQ(whole.width, width);

    Outcomes expected = expectedOfReading(format);
    expected["refused"] = 1;  // the stream
    EXPECT_EQ(failures.ofEveryAllocation(
                  [&](unsigned nth, Failing failing) { return openReader(file.path(), nth, failing, whole); }),
              expected);
    expected.erase("refused");
    expected["refused with 52"] = 1;
    // The private block, the reader, the descriptor and its one or two strings.
    expected["refused with 94"] = 4 + reader.hasAlphaChannel();
    EXPECT_EQ(failures.ofEveryAllocation([&](unsigned nth, Failing failing) {
        return readThroughPlugin(plugin, file.path(), nth, failing, whole);
    }),
              expected);
}

TEST(FailingAllocation, OfReadingEndsAsStated) {
    const LoadedPlugin plugin;
    Failures failures;
    std::set<Loader> seen;
    for (const Format& format : kpx::formatTable()) {
        if (format.id == kpx::CODE_RGB_FLOAT32) continue;  // a DX10 header alone leads there
        expectEveryFailureOfReading(failures, plugin, format, 9, 7);
        // Once a loader with buffers that are mapped.
        if (seen.insert(format.loader).second) expectEveryFailureOfReading(failures, plugin, format, 1100, 1000);
        if (HasFailure()) return;
    }
    std::printf("%d failures\n", failures.count());
    EXPECT_GE(failures.count(), 2000);
}

Attempted writeThroughPlugin(const LoadedPlugin& plugin, const char* path, int width, int height, unsigned nth,
                             Failing failing) {
    resetHost();
    kpx__err = oldError;
    Bytes row(static_cast<std::size_t>(width), 200);
    unsigned char* rows[] = {row.data(), row.data(), row.data(), row.data()};
    std::ofstream(path) << "an older file";
    const std::size_t wholeBytes = 128 + static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    TestHandle handle(path);
    handle.describe(width, height);
    startFailing(nth, failing);
    if (plugin.imageWriteOpen(&handle) != 1) {
        const unsigned failed = stopFailing();
        return {failed, refusal(handle, path, 0, false)};
    }
    int result = 0;
    for (int y = 0; y < height; ++y) result |= handle.write(y, rows);
    result |= handle.close();
    const unsigned failed = stopFailing();
    const bool isWhole = result == 0 && kpx__err == 0 && hostCalls() == "kpx__free_obj\n";
    const Bytes written = readFile(path);
    const auto samples = static_cast<std::size_t>(std::count(written.begin(), written.end(), 200));
    return {failed, isWhole && written.size() == wholeBytes && samples == wholeBytes - 128 ? "whole" : "wrong"};
}

TEST(FailingAllocation, OfWritingEndsAsStated) {
    const LoadedPlugin plugin;
    const TemporaryFile file({});
    Failures failures;
    for (const int width : {8, 800}) {  // the larger image is mapped
        const auto attempt = [&](unsigned nth, Failing failing) {
            return writeThroughPlugin(plugin, file.path(), width, width - 3, nth, failing);
        };
        // The stream's buffer, which is taken when the file is closed, is not needed.
        const Outcomes expected = {{"whole", 1}, {"refused with 94", 4}, {"refused with 52", 1}};
        EXPECT_EQ(failures.ofEveryAllocation(attempt), expected);
    }
}

TEST(FailingAllocation, OfRecognitionEndsAsStated) {
    const LoadedPlugin plugin;
    const TemporaryFile file(fileOf(headerOf(1, 1)));
    const std::string report =
        std::string("level 3: imageIsFile, can't open `") + file.path() + "'. Cannot allocate memory\n";
    Failures failures;
    const Outcomes outcomes = failures.ofEveryAllocation([&](unsigned nth, Failing failing) -> Attempted {
        resetHost();
        startFailing(nth, failing);
        const int result = plugin.imageIsFile(file.path(), nullptr);
        const unsigned failed = stopFailing();
        const std::string calls = hostCalls();
        if (result == 0) return {failed, calls == report ? "refused" : calls};
        return {failed, result == 1 && calls.empty() ? "recognised" : "wrong"};
    });
    EXPECT_EQ(outcomes, (Outcomes{{"refused", 1}, {"recognised", 1}}));
}

TEST(FailingAllocation, OfInitialisationIsToldByItsResult) {
    const LoadedPlugin plugin;
    Failures failures;
    const Outcomes outcomes = failures.ofEveryAllocation([&](unsigned nth, Failing failing) -> Attempted {
        startFailing(nth, failing);
        const int result = plugin.imageInit();
        const unsigned failed = stopFailing();
        const bool isQuiet = hostCalls().find("severity") == std::string::npos;
        resetHost();
        return {failed, result == 0 && isQuiet ? "refused" : "initialised"};
    });
    EXPECT_EQ(outcomes, (Outcomes{{"refused", 3}}));
}

}  // namespace
