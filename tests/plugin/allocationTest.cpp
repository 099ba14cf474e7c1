// Makes every allocation of the product fail, alone and together with all later ones. Message and result must be the
// expected ones, nothing may leak, and no file may stay open.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <set>

#include "tests/support/failingMemory.h"
#include "tests/support/families.h"
#include "tests/support/pluginFixture.h"
#include "tests/support/processState.h"

namespace {

using namespace testing_support;
using kpx::Format;
using kpx::Loader;

// The outcomes of attempts in which one allocation failed, with their frequency.
using Outcomes = std::map<std::string, int>;

// Repeats an attempt, with each of its allocations failing in turn. An attempt calls its argument before the first
// allocation to be counted and stopFailing() after the last, and returns its outcome. If more than one allocation
// failed, that must be "refused...", else the same as if only that one fails.
template <typename Attempt>
Outcomes ofEveryAllocation(Attempt attempt) {
    std::vector<std::string> ofOne;
    for (const Failing failing : {Failing::one, Failing::allAfter}) {
        for (unsigned nth = 1; !testing::Test::HasFailure(); ++nth) {
            SCOPED_TRACE(testing::Message() << "allocation " << nth);
            const std::ptrdiff_t descriptors = openDescriptors();
            resetHost();
            kpx__err = oldError;
            const std::string outcome = attempt([&] { startFailing(nth, failing); });
            resetHost();
            EXPECT_EQ(heldBlocks(), 0U);
            EXPECT_EQ(openDescriptors(), descriptors);
            if (failedAllocations() == 0) break;
            if (failing == Failing::one) ofOne.push_back(outcome);
            EXPECT_EQ(outcome.substr(0, 7), failedAllocations() > 1 ? "refused" : ofOne.at(nth - 1).substr(0, 7));
        }
    }
    Outcomes outcomes;
    for (const std::string& outcome : ofOne) ++outcomes[outcome];
    return outcomes;
}

class FailingAllocation : public PluginFixture {
protected:
    const std::string m_path = m_folder.at("a.dds");

    // Returns how an image was refused: in one of the two expected ways, else everything that happened.
    [[nodiscard]] std::string refusal(const TestHandle& handle, int errorOfOpening, bool blockStays) const {
        const std::string calls = hostCalls();
        const std::string report = calls.substr(std::min(calls.find("902."), calls.size()));
        if (report == "902.94, severity 3: No more internal memory\n" && handle.pluginData == nullptr &&
            kpx__err != -5) {
            return "refused with 94";
        }
        if (report == cannotOpen(m_path, ENOMEM) && kpx__err == errorOfOpening &&
            (handle.pluginData != nullptr) == blockStays && handle.object() == nullptr) {
            return "refused with 52";
        }
        return "refused in a wrong way: " + calls;
    }
};

// Calls visit(row, bytes, channel) for the rows of an open image.
template <typename Visit>
void forEveryRow(const TestHandle& handle, Visit visit) {
    const ImageFileDescriptor& image = *handle.descriptor;
    const auto rowBytes = static_cast<std::size_t>(image.width * image.channelBits / 8);
    for (int y = 0; y < image.height; ++y) {
        unsigned char** rows = nullptr;
        if (handle.read(y, &rows) != 0) continue;
        for (int c = 0; c < image.channelCount + image.matteCount; ++c) visit(rows[c], rowBytes, c);
    }
}

// Returns "whole" for a picture with these samples, "black" for the fallback picture. Allocates nothing.
const char* pictureOf(const TestHandle& handle, const Bytes& whole) {
    bool isBlack = handle.descriptor->width == 64 && handle.descriptor->height == 64;
    bool isWhole = true;
    std::size_t at = 0;
    forEveryRow(handle, [&](const unsigned char* row, std::size_t bytes, int channel) {
        isWhole = isWhole && at + bytes <= whole.size() && std::memcmp(row, whole.data() + at, bytes) == 0;
        isBlack = isBlack && std::count(row, row + bytes, channel == 3 ? 255 : 0) == static_cast<std::ptrdiff_t>(bytes);
        at += bytes;
    });
    if (isWhole && at == whole.size()) return "whole";
    return isBlack && at == std::size_t{4} * 64 * 64 ? "black" : "wrong";
}

// The expected outcomes. Without a buffer for the picture it is black, with a message except for floats; without one of
// the three parts of the channel rows it is black without a message. Without the stream, the
// private block, the reader, the descriptor or its one or two strings, the image is refused.
Outcomes expectedOfReading(const Format& format, bool hasMatte) {
    Outcomes expected = {{"refused with 52", 1}, {"refused with 94", hasMatte ? 5 : 4}};
    const bool isOfBytes = format.loader == Loader::uncompressed || format.loader == Loader::d3dFormat;
    // Data that is converted while it is read has one more buffer.
    const bool isConverted = format.loader == Loader::palettised || format.loader == Loader::compressed ||
                             format.has(kpx::highBytes) || format.has(kpx::pixelPairs);
    expected["black"] = isConverted || isOfBytes ? 3 : 5;
    if (isConverted || isOfBytes) expected["black, reported"] = isConverted ? 2 : 1;
    return expected;
}

TEST_F(FailingAllocation, IsHandledInReading) {
    model::Random random(1);
    std::set<Loader> seen;
    for (const Format& format : kpx::formatTable()) {
        if (format.id == kpx::CODE_RGB_FLOAT32) continue;  // only a DX10 header selects it
        // Once for each loader with mapped buffers.
        const bool isLarge = seen.insert(format.loader).second;
        for (const std::uint32_t width : {9U, 1100U}) {
            if (width > 9 && !isLarge) continue;
            SCOPED_TRACE(testing::Message() << format.name << ", " << width << " pixels wide");
            m_folder.file("a.dds", randomFile(random, format, width, width - 2, std::size_t{width} * width + 2000));
            TestHandle intact(m_path);
            ASSERT_EQ(m_plugin.imageReadOpen(&intact), 1);
            ASSERT_EQ(intact.descriptor->width, static_cast<int>(width));
            const bool hasMatte = intact.descriptor->matteCount == 1;
            Bytes whole;
            forEveryRow(intact,
                        [&](auto* row, std::size_t bytes, int) { whole.insert(whole.end(), row, row + bytes); });
            intact.close();

            const auto attempt = [&](auto start) -> std::string {
                TestHandle handle(m_path);
                testing::internal::CaptureStdout();
                start();
                if (m_plugin.imageReadOpen(&handle) != 1) {
                    stopFailing();
                    testing::internal::GetCapturedStdout();
                    return refusal(handle, -5, true);
                }
                std::string outcome = pictureOf(handle, whole);
                const bool isClosed = handle.close() == 0 && handle.pluginData == nullptr;
                stopFailing();
                if (!isClosed || !hostCalls().ends_with("\nkpx__free_obj\n")) outcome += ", not closed";
                const std::string printed = testing::internal::GetCapturedStdout();
                if (printed.empty()) return outcome;
                return outcome + (printed == "Insufficient memory to load DDS file\n" ? ", reported" : ": " + printed);
            };
            EXPECT_EQ(ofEveryAllocation(attempt), expectedOfReading(format, hasMatte));
        }
        if (HasFailure()) return;
    }
}

// Both buffers are allocated before anything is read, so a file without its palette is only reported as short if that
// succeeds.
TEST_F(FailingAllocation, IsReportedBeforeShortPalettes) {
    model::Random random(1);
    m_folder.file("a.dds", randomFile(random, kpx::findPalette(kpx::DDPF_PALETTEINDEXED8), 9, 7, 10));
    const auto attempt = [&](auto start) -> std::string {
        TestHandle handle(m_path);
        testing::internal::CaptureStdout();
        start();
        const bool isOpen = m_plugin.imageReadOpen(&handle) == 1;
        stopFailing();
        const std::string printed = testing::internal::GetCapturedStdout();
        if (!isOpen) return "refused";
        handle.close();
        return printed;
    };
    const Outcomes outcomes = ofEveryAllocation(attempt);
    EXPECT_EQ(outcomes.at("Insufficient memory to load DDS file\n"), 2);
}

TEST_F(FailingAllocation, IsHandledInWriting) {
    for (const int width : {8, 800}) {  // the larger image is mapped
        const std::size_t samples = 4 * static_cast<std::size_t>(width * (width - 3));
        const auto attempt = [&](auto start) -> std::string {
            Bytes row(static_cast<std::size_t>(width), 200);
            unsigned char* rows[] = {row.data(), row.data(), row.data(), row.data()};
            m_folder.file("a.dds", std::string("an older file"));
            TestHandle handle(m_path);
            handle.describe(width, width - 3);
            start();
            if (m_plugin.imageWriteOpen(&handle) != 1) {
                stopFailing();
                return refusal(handle, 0, false);
            }
            int result = 0;
            for (int y = 0; y < width - 3; ++y) result |= handle.write(y, rows);
            result |= handle.close();
            stopFailing();
            const Bytes written = readFile(m_path);
            const bool isWhole = written.size() == 128 + samples && std::count(written.begin(), written.end(), 200) ==
                                                                        static_cast<std::ptrdiff_t>(samples);
            return result == 0 && kpx__err == 0 && hostCalls() == "kpx__free_obj\n" && isWhole ? "whole" : "wrong";
        };
        // The buffer of the stream, allocated when the file is closed, is not necessary.
        EXPECT_EQ(ofEveryAllocation(attempt), (Outcomes{{"whole", 1}, {"refused with 94", 4}, {"refused with 52", 1}}));
    }
}

TEST_F(FailingAllocation, IsHandledInRecognition) {
    m_folder.file("a.dds", fileOf(headerOf(1, 1)));
    const auto attempt = [&](auto start) -> std::string {
        start();
        const int result = m_plugin.imageIsFile(m_path.c_str(), nullptr);
        stopFailing();
        const std::string calls = hostCalls();
        if (result == 0) return calls == cannotRecognise(m_path, ENOMEM) ? "refused" : calls;
        return result == 1 && calls.empty() ? "recognised" : "wrong";
    };
    EXPECT_EQ(ofEveryAllocation(attempt), (Outcomes{{"refused", 1}, {"recognised", 1}}));
}

// The texts before the one that cannot be allocated are set.
TEST_F(FailingAllocation, IsHandledInInitialisation) {
    const auto attempt = [&](auto start) -> std::string {
        for (const char* name : {"imageName", "imageExtension", "imageNameSyntax"}) {
            *m_plugin.find<const char*>(name) = nullptr;
        }
        start();
        const int result = m_plugin.imageInit();
        stopFailing();
        const bool isQuiet = hostCalls().find("severity") == std::string::npos;
        return (result == 0 && isQuiet ? "refused: " : "initialised: ") + m_plugin.translatedTexts();
    };
    EXPECT_EQ(ofEveryAllocation(attempt),
              (Outcomes{{"refused: null null null", 1}, {"refused: DDS null null", 1}, {"refused: DDS .dds null", 1}}));
}

}  // namespace
