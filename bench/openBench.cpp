// Benchmarks of whole files in the page cache: reading every format of the table from open to the last scanline, and
// writing from open to close. Results are multiples of a copy of the rows ("memcpy") and of the floor, measured in the
// same run, fastest of several rounds. The floor is the work that no reader or writer can avoid. For reading: read the
// file, write the picture once to fresh large pages, copy each row once. For writing: copy the rows and write the file
// by one call. Pictures are 4096 by 4096. Small ones (64 to 1024) are read repeatedly, and their floor reuses its
// memory.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/ratio.h"
#include "dds/dataSize.h"
#include "reader/TddsReader.h"
#include "reader/loading.h"
#include "tests/support/families.h"
#include "writer/TddsWriter.h"

namespace {

constexpr std::uint32_t side = 4096;
constexpr int rounds = 15;
constexpr int smallRounds = 300;
using testing_support::Bytes;

std::string pathOf(const char* name) {
    return "/tmp/kpxOpenBench" + std::to_string(getpid()) + name;
}

// A temporary file of a picture, removed by the destructor.
class PictureFile {
public:
    PictureFile(const Bytes& header, const Bytes& data, std::size_t dataBytes) : m_path(pathOf("read")) {
        std::FILE* file = std::fopen(m_path.c_str(), "wb");
        std::fwrite(header.data(), 1, header.size(), file);
        for (std::size_t left = dataBytes; left != 0;) {
            const std::size_t part = std::min(left, data.size());
            std::fwrite(data.data(), 1, part, file);
            left -= part;
        }
        std::fclose(file);
    }
    ~PictureFile() { std::remove(m_path.c_str()); }
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;
    const char* path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

// Times three tasks alternately: the one to be measured, the copy and the floor.
void compare(benchmark::State& state, const std::function<void()>& work, const std::function<void()>& floor,
             const std::function<void()>& copy) {
    std::vector<double> times[3];
    for (auto _ : state) {
        const std::function<void()>* const all[3] = {&work, &floor, &copy};
        for (int i = 0; i < 3; ++i) {
            const double start = bench::now();
            (*all[i])();
            times[i].push_back(bench::now() - start);
        }
        state.SetIterationTime(times[0].back());
    }
    const double ours = bench::fastest(times[0]);
    state.counters["x_floor"] = ours / bench::fastest(times[1]);
    state.counters["x_memcpy"] = ours / bench::fastest(times[2]);
}

// The floor of reading: directly into the picture if it stores the bytes of the file, else in groups, each of which
// fills its part of the picture.
void readFloor(const char* path, std::size_t fileBytes, std::size_t pictureBytes, std::size_t rowBytes) {
    kpx::LazyBuffer picture;
    picture.allocate(pictureBytes);
    kpx::LazyBuffer row;
    row.allocate(rowBytes);
    kpx::LazyBuffer group;
    group.allocate(kpx::readGroupBytes);
    const int file = ::open(path, O_RDONLY);
    if (fileBytes == pictureBytes) {
        if (::read(file, picture.data(), fileBytes) < 0) return;
    } else {
        unsigned char* to = picture.data();
        for (std::size_t left = pictureBytes; left != 0;) {
            const ssize_t arrived = ::read(file, group.data(), kpx::readGroupBytes);
            if (arrived <= 0) break;
            std::size_t part = std::min(left, static_cast<std::size_t>(arrived) * pictureBytes / fileBytes);
            left -= part;
            for (; part != 0;) {
                const std::size_t bytes = std::min<std::size_t>(part, kpx::readGroupBytes);
                std::memcpy(to, group.data(), bytes);
                to += bytes;
                part -= bytes;
            }
        }
    }
    ::close(file);
    const std::size_t storedRowBytes = pictureBytes / side;
    for (std::size_t y = side; y-- > 0;) {
        std::memcpy(row.data(), picture.data() + std::min(pictureBytes - rowBytes, y * storedRowBytes), rowBytes);
        benchmark::DoNotOptimize(row.data());
    }
}

// Benchmarks a small picture. Its floor reads the file in groups and writes the picture to reused memory.
void readSmall(benchmark::State& state, const kpx::Format& format, const Bytes& data, std::uint32_t smallSide) {
    const std::size_t fileBytes = kpx::allBlocksBytes(smallSide, smallSide, format.blockBytes) +
                                  std::size_t{format.bytesPerPixel} * smallSide * smallSide;
    const PictureFile file(testing_support::headerFor(format, smallSide, smallSide), data, fileBytes + 1200);
    const std::size_t rowBytes =
        std::size_t{format.channels} * smallSide * (kpx::layoutRow(format.layout).isFloat ? 4 : 1);
    Bytes picture(rowBytes * smallSide, 1), group(kpx::readGroupBytes), row(rowBytes);
    const auto floor = [&] {
        const int from = ::open(file.path(), O_RDONLY);
        std::size_t at = 0;
        for (ssize_t arrived = 1; arrived > 0;) {
            arrived = ::read(from, group.data(), group.size());
            const std::size_t part =
                std::min(picture.size() - at,
                         static_cast<std::size_t>(std::max<ssize_t>(arrived, 0)) * picture.size() / fileBytes);
            for (std::size_t i = 0; i < part; i += group.size())
                std::memcpy(picture.data() + at + i, group.data(), std::min(group.size(), part - i));
            at += part;
        }
        ::close(from);
        for (std::size_t y = smallSide; y-- > 0;) {
            std::memcpy(row.data(), picture.data() + y * rowBytes, rowBytes);
            benchmark::DoNotOptimize(row.data());
        }
    };
    const Bytes copied(picture.size(), 1);
    compare(
        state,
        [&] {
            kpx::TddsReader reader;
            reader.open(file.path());
            for (int y = 0; y < static_cast<int>(smallSide); ++y) {
                benchmark::DoNotOptimize(reader.getScanlineChannelsAsBytes(y));
            }
        },
        floor,
        [&] {
            std::memcpy(picture.data(), copied.data(), copied.size());
            benchmark::DoNotOptimize(picture.data());
        });
}

// Benchmarks a large file. With bit masks the picture in memory equals the file.
void readFile(benchmark::State& state, const Bytes& header, const Bytes& data, std::size_t fileBytes, bool isMasked) {
    const PictureFile file(header, data, fileBytes + 1200);
    kpx::TddsReader first;
    first.open(file.path());
    if (first.width() != side) {
        state.SkipWithError("not read from this header");
        return;
    }
    const std::size_t channels = static_cast<unsigned>(first.numColourChannels() + first.hasAlphaChannel());
    const std::size_t rowBytes = side * channels * static_cast<unsigned>(first.bitsPerChannel()) / 8;
    first.close();
    const Bytes from(rowBytes * side, 1);
    Bytes to(rowBytes * side, 2);
    compare(
        state,
        [&] {
            kpx::TddsReader reader;
            reader.open(file.path());
            for (int y = 0; y < static_cast<int>(side); ++y) {
                benchmark::DoNotOptimize(reader.getScanlineChannelsAsBytes(y));
            }
        },
        [&] { readFloor(file.path(), fileBytes, isMasked ? fileBytes : rowBytes * side, rowBytes); },
        [&] {
            std::memcpy(to.data(), from.data(), to.size());
            benchmark::DoNotOptimize(to.data());
        });
}

void writeFile(benchmark::State& state, std::size_t channels) {
    const std::string path = pathOf("write");
    const Bytes source(side * 4, 0x5A);
    unsigned char* rows[4];
    for (std::size_t c = 0; c < 4; ++c) rows[c] = const_cast<unsigned char*>(source.data()) + c * side;
    const std::size_t bytes = channels * side * side;
    const Bytes from(bytes, 1);
    Bytes to(bytes, 2);
    compare(
        state,
        [&] {
            kpx::TddsWriter writer;
            writer.open(path.c_str(), side, side, 3, channels == 4 ? 1 : 0, 0);
            for (int y = 0; y < static_cast<int>(side); ++y) writer.setScanlineChannelsAsBytes(y, rows);
            writer.close();
        },
        [&] {
            const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            kpx::LazyBuffer picture;
            picture.allocate(bytes);
            for (std::size_t y = side; y-- > 0;) {
                std::memcpy(picture.data() + y * channels * side, source.data(), channels * side);
            }
            for (std::size_t at = 0; at < bytes;) {
                const ssize_t part = ::write(file, picture.data() + at, bytes - at);
                if (part <= 0) break;
                at += static_cast<std::size_t>(part);
            }
            ::close(file);
        },
        [&] {
            std::memcpy(to.data(), from.data(), to.size());
            benchmark::DoNotOptimize(to.data());
        });
    std::remove(path.c_str());
}

// Benchmarks the rows of an open writer, without opening and closing it.
void writeRows(benchmark::State& state, std::size_t channels) {
    const Bytes source(side * 4, 0x5A);
    unsigned char* rows[4];
    for (std::size_t c = 0; c < 4; ++c) rows[c] = const_cast<unsigned char*>(source.data()) + c * side;
    kpx::TddsWriter writer;
    writer.open("/dev/null", side, side, 3, channels == 4 ? 1 : 0, 0);
    for (int y = 0; y < static_cast<int>(side); ++y) writer.setScanlineChannelsAsBytes(y, rows);
    bench::againstCopy(state, channels * side * side, [&] {
        for (int y = 0; y < static_cast<int>(side); ++y) writer.setScanlineChannelsAsBytes(y, rows);
    });
}

// Returns blocks of random bits; in formats with modes, with the mix of modes that encoders use for real pictures.
Bytes blocksOf(const kpx::Format& format, std::size_t bytes) {
    model::Random random(7);
    Bytes blocks = testing_support::randomBytes(random, bytes);
    for (std::size_t i = 0; i < bytes && format.kernel == kpx::BlockKernel::bc7; i += 16) {
        const int percent = random.below(100);
        const int mode = percent < 33 ? 1 : percent < 44 ? 5 : percent < 98 ? 6 : random.below(8);
        blocks[i] = static_cast<unsigned char>((blocks[i] >> (mode + 1) << (mode + 1)) | 1 << mode);
    }
    return blocks;
}

std::size_t fileBytesOf(const kpx::Format& format) {
    constexpr std::size_t pixels = std::size_t{side} * side;
    if (format.blockBytes != 0) return pixels / 16 * format.blockBytes;
    if (format.namedBy == kpx::NamedBy::palette) return format.has(kpx::nibbleIndices) ? pixels / 2 : pixels;
    if (format.bytesPerPixel != 0) return pixels * format.bytesPerPixel;
    return pixels * (format.channels == 1 ? 1 : 3);  // as the reader does without a bit count in the header
}

std::string nameOf(const kpx::Format& format) {
    const std::string number = std::to_string(format.id) + " ";
    if (format.namedBy == kpx::NamedBy::dxgi) return "dxgi " + number + format.name;
    if (format.namedBy == kpx::NamedBy::code && format.id < 256) return "code " + number + format.name;
    return format.name;
}

// Masks without a name, one set for every pixel size.
struct OtherMasks {
    const char* name;
    std::uint8_t bytesPerPixel;
    kpx::Masks masks;
};
constexpr OtherMasks otherMasks[] = {
    {"one byte, split", 1, {0x89, 0x52, 0x24, 0}},
    {"two bytes, split", 2, {0x9249, 0x4924, 0x2492, 0}},
    {"three bytes, 12-6-6", 3, {0xFFF, 0x3F000, 0xFC0000, 0}},
    {"four bytes, split", 4, {0x90909090, 0x49494949, 0x26262626, 0xFFFFFFFF}},
    {"five bytes, split", 5, {0x90909090, 0x49494949, 0x26262626, 0xFFFFFFFF}},
};

}  // namespace

int main(int argc, char** argv) {
    constexpr std::size_t dataBytes = std::size_t{1} << 24;
    std::vector<kpx::Format> formats(kpx::formatTable().begin(), kpx::formatTable().end());
    for (const OtherMasks& other : otherMasks) {
        kpx::Format row = formats.front();
        row.namedBy = kpx::NamedBy::masks;
        row.id = 0;
        row.name = other.name;
        row.loader = kpx::Loader::uncompressed;
        row.bytesPerPixel = other.bytesPerPixel;
        row.masks = other.masks;
        row.channels = other.masks.a != 0 ? 4 : 3;
        formats.push_back(row);
    }
    const auto add = [](const std::string& name, auto run) {
        benchmark::RegisterBenchmark(name.c_str(), run)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->Iterations(rounds);
    };
    for (const kpx::Format& format : formats) {
        if (format.id == kpx::CODE_RGB_FLOAT32) continue;  // only a DX10 header selects it
        const bool isMasked = format.loader == kpx::Loader::uncompressed;
        add("read/" + nameOf(format), [format, isMasked](benchmark::State& state) {
            readFile(state, testing_support::headerFor(format, side, side), blocksOf(format, dataBytes),
                     fileBytesOf(format), isMasked);
        });
    }
    for (const kpx::Format* format :
         {kpx::findCode(kpx::fourCC("DXT1")), kpx::findDxgi(98), kpx::findDxgi(87), kpx::findCode(113)}) {
        for (const std::uint32_t smallSide : {64U, 128U, 256U, 512U, 1024U}) {
            const std::string name = "small/" + nameOf(*format) + "/" + std::to_string(smallSide);
            benchmark::RegisterBenchmark(
                name.c_str(),
                [=](benchmark::State& state) { readSmall(state, *format, blocksOf(*format, dataBytes), smallSide); })
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond)
                ->Iterations(smallRounds);
        }
    }
    for (const std::size_t channels : {std::size_t{3}, std::size_t{4}}) {
        const std::string what = channels == 3 ? "BGR" : "BGRA";
        add("write/" + what, [channels](benchmark::State& state) { writeFile(state, channels); });
        add("writeRows/" + what, [channels](benchmark::State& state) { writeRows(state, channels); });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
