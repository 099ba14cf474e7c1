// Files that declare absurd pictures, and inputs that are no proper files.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "tests/model/readerModel.h"
#include "tests/support/families.h"
#include "tests/support/likeModel.h"
#include "tests/support/memoryFile.h"
#include "tests/support/processState.h"
#include "tests/support/recordingHost.h"

namespace {

using namespace testing_support;
using kpx::Format;
using kpx::NamedBy;

// Absurd headers. Each row of the table of formats is tried in a process of its own, so that its memory can be told.

struct Size {
    std::uint32_t width, height;
};

std::vector<Size> absurdSizes() {
    std::vector<Size> sizes = {{65535, 16384}, {16384, 65535}, {0x3FFFFFFF, 4}, {4, 0x3FFFFFFF}, {0x10001, 0xFFFF}};
    const std::uint32_t sides[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (const std::uint32_t width : sides) {
        for (const std::uint32_t height : sides) sizes.push_back({width, height});
    }
    return sizes;
}

// Files of one size, with absurd linear sizes or bit counts where the format heeds them.
std::vector<Bytes> absurdFiles(const Format& format, Size size) {
    Bytes file = headerFor(format, size.width, size.height);
    std::size_t field = 24;  // the depth, which nobody heeds
    std::vector<std::uint32_t> values = {0xFFFFFFFF};
    if (format.blockBytes != 0) {
        field = 20;
        values = {0, 1, 0x7FFFFFFF, 0xFFFFFFFF};
    } else if (format.namedBy == NamedBy::masks) {
        field = 88;
        values = {0, 1, 7, 16, 33, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    }
    file.resize(4096, 0x93);
    std::vector<Bytes> files;
    for (const std::uint32_t value : values) {
        std::memcpy(file.data() + field, &value, sizeof value);
        files.push_back(file);
    }
    return files;
}

// The differences at the corners of the picture, where their rows are not too long to be worked out.
void compareCorners(std::ostringstream& differences, kpx::TddsReader& reader, const model::Picture& picture) {
    constexpr std::uint32_t longestRow = 1 << 17;
    if (picture.width == 0 || picture.width > longestRow || picture.height == 0) return;
    const std::uint32_t highest = std::min<std::uint32_t>(picture.height - 1, INT_MAX);
    const std::size_t bytes = picture.bits == 32 ? 4 : 1;
    for (const std::uint32_t y : {0U, highest}) {
        unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
        for (const std::uint32_t x : {0U, picture.width - 1}) {
            const model::Pixel pixel = picture.pixelAt(x, picture.height - 1 - y);
            for (std::size_t channel = 0; channel < picture.channels; ++channel) {
                std::uint32_t value = 0;
                std::memcpy(&value, rows[channel] + x * bytes, bytes);
                if (value != pixel[channel]) differences << "wrong sample at " << x << ", " << y << "; ";
            }
        }
    }
}

constexpr std::int64_t mostMemory = 16 << 20;
constexpr double mostSeconds = 2;

// What the processes of all formats share.
struct Totals {
    double worstSeconds;
    int files;
};

// What is wrong with the reader's answer to a file; empty where nothing is.
std::string faultsOf(const Bytes& bytes, const MemoryFile& file, PrintedText& printed, std::int64_t memoryBefore,
                     Totals& totals) {
    file.write(bytes);
    const model::Picture picture = model::read(bytes);
    std::ostringstream faults;

    const auto start = std::chrono::steady_clock::now();
    kpx::TddsReader reader;
    const int result = reader.open(file.path());
    std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const std::int64_t memory = statusBytes("VmHWM") - memoryBefore;
    const std::string text(printed.take());

    if (result != 0) faults << "result " << result << "; ";
    if (text != (picture.printed.empty() ? "" : picture.printed + "\n")) faults << "printed " << text << "; ";
    if (reader.width() != picture.width || reader.height() != picture.height) {
        faults << "size " << reader.width() << " by " << reader.height() << "; ";
    }
    if (reader.numColourChannels() + reader.hasAlphaChannel() != static_cast<int>(picture.channels) ||
        reader.bitsPerChannel() != picture.bits) {
        faults << "other channels; ";
    }
    // A sanitizer keeps released memory for a while.
    if (memory >= mostMemory && !underAddressSanitizer) faults << memory << " bytes of memory; ";
    if (faults.str().empty()) compareCorners(faults, reader, picture);
    const auto closing = std::chrono::steady_clock::now();
    reader.close();
    seconds += std::chrono::steady_clock::now() - closing;
    if (seconds.count() >= mostSeconds) faults << seconds.count() << " seconds; ";
    totals.worstSeconds = std::max(totals.worstSeconds, seconds.count());
    ++totals.files;
    return faults.str();
}

// Runs in a process of its own, tells what is wrong and ends with 1 where anything is.
[[noreturn]] void tryFormat(const Format& format, Totals& totals) {
    const MemoryFile file;
    PrintedText printed;
    int status = 0;
    const std::int64_t memoryBefore = statusBytes("VmRSS");
    for (const Size& size : absurdSizes()) {
        for (const Bytes& bytes : absurdFiles(format, size)) {
            const std::string faults = faultsOf(bytes, file, printed, memoryBefore, totals);
            if (faults.empty()) continue;
            kpx::DdsFileHeader header{};
            std::memcpy(&header, bytes.data(), sizeof header);
            std::fprintf(stderr, "%s, %u by %u, linear size %u, bits %u: %s\n", format.name, size.width, size.height,
                         header.header.dwPitchOrLinearSize, header.header.ddspf.dwRGBBitCount, faults.c_str());
            status = 1;
        }
    }
    _exit(status);
}

TEST(AbsurdHeaders, TakeNeitherMemoryNorTime) {
    void* shared = mmap(nullptr, sizeof(Totals), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto& totals = *new (shared) Totals{};
    std::fflush(stdout);
    for (const Format& format : kpx::formatTable()) {
        const int filesBefore = totals.files;
        const pid_t child = fork();
        if (child == 0) tryFormat(format, totals);
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << format.name;
        EXPECT_GT(totals.files, filesBefore) << format.name;
    }
    std::printf("%d files, the slowest took %.3f s to open and close\n", totals.files, totals.worstSeconds);
    munmap(shared, sizeof(Totals));
}

// Streams that misbehave: fopen of the whole program opens the source in place of a file of this name.
const std::string sourcePath = "a misbehaving stream";

struct Source {
    int file;
    off_t position = 0;
    off_t failingFrom = LLONG_MAX;  // reading further gives EIO
    off_t truncation = -1;          // to which the file is cut after the first read
    std::size_t mostBytes = 4096;   // of one read
};
Source* source = nullptr;

ssize_t readSource(void* /*cookie*/, char* buffer, std::size_t size) {
    if (source->position >= source->failingFrom) {
        errno = EIO;
        return -1;
    }
    const auto beforeFailure = static_cast<std::size_t>(source->failingFrom - source->position);
    const ssize_t got =
        pread(source->file, buffer, std::min({size, source->mostBytes, beforeFailure}), source->position);
    if (got > 0) source->position += got;
    if (source->truncation >= 0 && ftruncate(source->file, source->truncation) != 0) return -1;
    return got;
}

}  // namespace

extern "C" FILE* fopen(const char* path, const char* mode) {
    if (sourcePath == path) return fopencookie(nullptr, mode, {readSource, nullptr, nullptr, nullptr});
    static const auto next = reinterpret_cast<decltype(&fopen)>(dlsym(RTLD_NEXT, "fopen"));
    return next(path, mode);
}

namespace {

// Files for every loader and every thing that names a format, 100 by 60, with more than all their data.
std::vector<Bytes> wholeFiles() {
    std::vector<Bytes> files;
    std::set<std::pair<kpx::Loader, NamedBy>> seen;
    model::Random random(6);
    for (const Format& format : kpx::formatTable()) {
        if (!seen.insert({format.loader, format.namedBy}).second) continue;
        files.push_back(headerFor(format, 100, 60));
        const Bytes data = randomBytes(random, 100 * 60 * 16);
        files.back().insert(files.back().end(), data.begin(), data.end());
    }
    return files;
}

// Opens the bytes through a source that is made from the given one; as much as readable of them can be read.
testing::AssertionResult misreadsLikeModel(const Bytes& bytes, Source made, std::size_t readable) {
    const TemporaryFile file(bytes);
    made.file = open(file.path(), O_RDWR);
    const Bytes start(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(readable));
    source = &made;
    const testing::AssertionResult result = readsLikeModel(sourcePath.c_str(), start);
    source = nullptr;
    close(made.file);
    return result;
}

TEST(MisbehavingStreams, GiveWhatArrivedOfThePicture) {
    for (const Bytes& bytes : wholeFiles()) {
        for (const int cut : {0, 3, 127, 128, 147, 148, 149, 1000, 4096, 5000, 20001}) {
            Source failing{};
            failing.failingFrom = cut;
            EXPECT_TRUE(misreadsLikeModel(bytes, failing, static_cast<std::size_t>(cut))) << "error at " << cut;
            if (cut < 4096) continue;
            Source shrinking{};
            shrinking.truncation = cut;
            EXPECT_TRUE(misreadsLikeModel(bytes, shrinking, static_cast<std::size_t>(cut))) << "cut at " << cut;
        }
        for (const std::size_t mostBytes : {1U, 7U, 129U}) {
            Source slow{};
            slow.mostBytes = mostBytes;
            EXPECT_TRUE(misreadsLikeModel(bytes, slow, bytes.size())) << mostBytes << " bytes at a time";
        }
    }
}

TEST(MisbehavingStreams, AreReportedWithTheirErrorWhereTheHeaderFails) {
    const LoadedPlugin plugin;
    resetHost();
    const TemporaryFile file(Bytes(100));
    Source failing{};
    failing.file = open(file.path(), O_RDONLY);
    failing.failingFrom = 60;
    source = &failing;
    TestHandle handle(sourcePath.c_str());
    const int result = plugin.imageReadOpen(&handle);
    source = nullptr;
    close(failing.file);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(hostCalls(), "902.52, severity 3: Cannot open file a misbehaving stream; Input/output error\n");
    EXPECT_EQ(kpx__err, -5);
}

TEST(OddFiles, AreReadAsFarAsTheyGo) {
    const Bytes zeros(4096);
    const TemporaryFile empty({});
    EXPECT_TRUE(readsLikeModel("/dev/zero", zeros));
    for (const char* path : {"/", "/dev/null", empty.path()}) EXPECT_TRUE(readsLikeModel(path, Bytes())) << path;
}

TEST(OddFiles, FifosAreReadUntilTheirWriterStops) {
    const TemporaryFile place({});
    std::filesystem::remove(place.path());
    ASSERT_EQ(mkfifo(place.path(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    for (const Bytes& bytes : wholeFiles()) {
        for (const std::size_t sent : {std::size_t{60}, std::size_t{2000}, bytes.size()}) {
            const Bytes start(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(sent));
            std::thread writer([&] {
                const int fifo = open(place.path(), O_WRONLY);
                for (std::size_t i = 0; i < sent; i += 999) {
                    if (write(fifo, start.data() + i, std::min<std::size_t>(999, sent - i)) < 0) break;
                }
                close(fifo);
            });
            EXPECT_TRUE(readsLikeModel(place.path(), start)) << sent << " bytes";
            writer.join();
        }
    }
    std::signal(SIGPIPE, SIG_DFL);
}

// As many outcomes as there are entry points that open a file.
std::string openEverything(const LoadedPlugin& plugin, const char* path) {
    std::string outcomes;
    TestHandle read(path);
    TestHandle write("/dev/null");
    write.describe(4, 4);
    outcomes += std::to_string(plugin.imageReadOpen(&read));
    outcomes += std::to_string(plugin.imageWriteOpen(&write));
    outcomes += std::to_string(plugin.imageIsFile(path, nullptr));
    for (TestHandle* handle : {&read, &write}) {
        if (handle->object() != nullptr) handle->close();
    }
    return outcomes;
}

TEST(OddFiles, AreReportedWhereNoMoreCanBeOpened) {
    const LoadedPlugin plugin;
    const TemporaryFile file(fileOf(headerOf(1, 1)));
    EXPECT_EQ(openEverything(plugin, file.path()), "111");
    resetHost();
    {
        const LoweredLimit none(RLIMIT_NOFILE, 0);
        EXPECT_EQ(openEverything(plugin, file.path()), "000");
    }
    EXPECT_EQ(hostCalls(), "902.52, severity 3: Cannot open file " + std::string(file.path()) +
                               "; Too many open files\n"
                               "902.52, severity 3: Cannot open file /dev/null; Too many open files\n"
                               "level 3: imageIsFile, can't open `" +
                               file.path() + "'. Too many open files\n");
    EXPECT_EQ(openEverything(plugin, file.path()), "111");
}

}  // namespace
