// Reads files that declare absurd pictures, and inputs that are not regular files.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <set>
#include <thread>

#include "tests/model/readerModel.h"
#include "tests/support/families.h"
#include "tests/support/likeModel.h"
#include "tests/support/memoryFile.h"
#include "tests/support/pluginFixture.h"
#include "tests/support/processState.h"

namespace {

using namespace testing_support;
using kpx::Format;
using kpx::NamedBy;

// Absurd headers. A separate process, whose memory is measured, reads the files of each row of the table of formats.

// Returns files with absurd sizes, and with absurd linear sizes or bit counts if the format uses them.
std::vector<Bytes> absurdFiles(const Format& format) {
    struct Size {
        std::uint32_t width, height;
    };
    std::vector<Size> sizes = {{65535, 16384}, {16384, 65535}, {0x3FFFFFFF, 4}, {4, 0x3FFFFFFF}, {0x10001, 0xFFFF}};
    const std::uint32_t sides[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (const std::uint32_t width : sides) {
        for (const std::uint32_t height : sides) sizes.push_back({width, height});
    }
    std::size_t field = 24;  // the depth, which is ignored
    std::vector<std::uint32_t> values = {0xFFFFFFFF};
    if (format.blockBytes != 0) {
        field = 20;
        values = {0, 1, 0x7FFFFFFF, 0xFFFFFFFF};
    } else if (format.namedBy == NamedBy::masks) {
        field = 88;
        values = {0, 1, 7, 16, 33, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    }
    std::vector<Bytes> files;
    for (const auto& [width, height] : sizes) {
        for (const std::uint32_t value : values) {
            Bytes& file = files.emplace_back(headerFor(format, width, height));
            file.resize(4096, 0x93);
            std::memcpy(file.data() + field, &value, sizeof value);
        }
    }
    return files;
}

constexpr std::int64_t mostMemory = 16 << 20;

// Returns the increase in peak memory while work runs.
template <typename Work>
std::int64_t memoryTakenBy(Work work) {
    const std::int64_t before = statusBytes("VmRSS");
    std::ofstream("/proc/self/clear_refs") << 5;  // resets VmHWM
    work();
    return statusBytes("VmHWM") - before;
}

// Exits with 1 and a message at the first file that is read wrongly or takes too much memory.
[[noreturn]] void readAbsurdFiles(const Format& format) {
    // Reading untouched memory must not allocate large pages, whatever the machine's setting.
    (void)prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    const MemoryFile file;
    for (const Bytes& bytes : absurdFiles(format)) {
        file.write(bytes);
        testing::AssertionResult result = testing::AssertionFailure();
        const std::int64_t memory =
            memoryTakenBy([&] { result = readsLikeModel(file.path(), bytes, kpx::bestKernels(), 1 << 10); });
        // A sanitizer keeps released memory for a while.
        if (result && (memory < mostMemory || underAddressSanitizer)) continue;
        kpx::DDS_HEADER header{};
        std::memcpy(&header, bytes.data() + 4, sizeof header);
        std::fprintf(stderr, "%u by %u, linear size %u, bits %u: %s %jd bytes\n", header.dwWidth, header.dwHeight,
                     header.dwPitchOrLinearSize, header.ddspf.dwRGBBitCount, result.message(),
                     static_cast<std::intmax_t>(memory));
        _exit(1);
    }
    _exit(0);
}

TEST(AbsurdHeaders, TakeLittleMemory) {
    for (const Format& format : kpx::formatTable()) {
        EXPECT_EXIT(readAbsurdFiles(format), testing::ExitedWithCode(0), "") << format.name;
    }
}

// Streams that misbehave. fopen, replaced for the whole program, opens the source instead of a file with this name.
constexpr const char* sourcePath = "a misbehaving stream";

struct Source {
    off_t failingFrom = LLONG_MAX;  // reading from here on fails with EIO
    off_t truncation = -1;          // size of the file after the first read
    int file = -1;
    off_t position = 0;
};
Source* source = nullptr;

ssize_t readSource(void* /*cookie*/, char* buffer, std::size_t size) {
    if (source->position >= source->failingFrom) {
        errno = EIO;
        return -1;
    }
    const auto beforeFailure = static_cast<std::size_t>(source->failingFrom - source->position);
    const ssize_t got =
        pread(source->file, buffer, std::min<std::size_t>({size, beforeFailure, 4096}), source->position);
    if (got > 0) source->position += got;
    if (source->truncation >= 0 && ftruncate(source->file, source->truncation) != 0) return -1;
    return got;
}

}  // namespace

extern "C" FILE* fopen(const char* path, const char* mode) {
    if (std::string_view(path) == sourcePath)
        return fopencookie(nullptr, mode, {readSource, nullptr, nullptr, nullptr});
    static const auto next = reinterpret_cast<decltype(&fopen)>(dlsym(RTLD_NEXT, "fopen"));
    return next(path, mode);
}

namespace {

// Calls open() with a source of the given bytes and faults.
template <typename Open>
auto misreading(const Bytes& bytes, Source made, Open open) {
    const TemporaryFile file(bytes);
    made.file = ::open(file.path(), O_RDWR);
    source = &made;
    const auto result = open();
    source = nullptr;
    close(made.file);
    return result;
}

// Returns files for every loader and every way to name a format, 100 by 60, with more data than they need.
std::vector<Bytes> wholeFiles() {
    std::vector<Bytes> files;
    std::set<std::pair<kpx::Loader, NamedBy>> seen;
    model::Random random(6);
    for (const Format& format : kpx::formatTable()) {
        if (!seen.insert({format.loader, format.namedBy}).second) continue;
        files.push_back(randomFile(random, format, 100, 60, 100 * 60 * 16));
    }
    return files;
}

TEST(MisbehavingStreams, LeaveTheRestOfThePictureZero) {
    for (const Bytes& bytes : wholeFiles()) {
        const auto expectPart = [&](const Source& made, std::size_t readable) {
            EXPECT_TRUE(misreading(bytes, made, [&] { return readsLikeModel(sourcePath, cutTo(bytes, readable)); }))
                << "error at " << made.failingFrom << ", cut to " << made.truncation;
        };
        for (const int cut : {0, 3, 127, 128, 147, 148, 149, 1000, 4096, 5000, 20001}) {
            expectPart({.failingFrom = cut}, static_cast<std::size_t>(cut));
            if (cut >= 4096) expectPart({.truncation = cut}, static_cast<std::size_t>(cut));
        }
    }
}

class Hostile : public PluginFixture {};

TEST_F(Hostile, ReportsTheErrorOfAStreamInItsHeader) {
    TestHandle handle(sourcePath);
    EXPECT_EQ(misreading(Bytes(100), {.failingFrom = 60}, [&] { return m_plugin.imageReadOpen(&handle); }), 0);
    EXPECT_EQ(hostCalls(), cannotOpen(sourcePath, EIO));
    EXPECT_EQ(kpx__err, -5);
}

TEST(OddFiles, MatchTheModel) {
    const TemporaryFile empty({});
    EXPECT_TRUE(readsLikeModel("/dev/zero", Bytes(4096)));
    for (const char* path : {"/", "/dev/null", empty.path()}) EXPECT_TRUE(readsLikeModel(path, Bytes())) << path;
}

TEST_F(Hostile, ReadsFifosUntilTheirWriterStops) {
    const std::string path = m_folder.at("fifo");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    for (const Bytes& bytes : wholeFiles()) {
        for (const std::size_t sent : {std::size_t{60}, std::size_t{2000}, bytes.size()}) {
            std::thread writer([&] {
                const int fifo = open(path.c_str(), O_WRONLY);
                for (std::size_t i = 0; i < sent; i += 999) {
                    if (write(fifo, bytes.data() + i, std::min<std::size_t>(999, sent - i)) < 0) break;
                }
                close(fifo);
            });
            EXPECT_TRUE(readsLikeModel(path.c_str(), cutTo(bytes, sent))) << sent << " bytes";
            writer.join();
        }
    }
    std::signal(SIGPIPE, SIG_DFL);
}

TEST_F(Hostile, ReportsTooManyOpenFiles) {
    const std::string path = m_folder.file("a.dds", fileOf(headerOf(1, 1)));
    // One outcome for each entry point that opens a file.
    const auto openEverything = [&] {
        TestHandle read(path.c_str());
        TestHandle write("/dev/null");
        write.describe(4, 4);
        std::vector<int> outcomes = {m_plugin.imageReadOpen(&read), m_plugin.imageWriteOpen(&write),
                                     m_plugin.imageIsFile(path.c_str(), nullptr)};
        for (TestHandle* handle : {&read, &write}) {
            if (handle->object() != nullptr) handle->close();
        }
        return outcomes;
    };
    EXPECT_EQ(openEverything(), std::vector({1, 1, 1}));
    resetHost();
    {
        const LoweredLimit none(RLIMIT_NOFILE, 0);
        EXPECT_EQ(openEverything(), std::vector({0, 0, 0}));
    }
    EXPECT_EQ(hostCalls(), cannotOpen(path, EMFILE) + cannotOpen("/dev/null", EMFILE) + cannotRecognise(path, EMFILE));
    EXPECT_EQ(openEverything(), std::vector({1, 1, 1}));
}

}  // namespace
