// From open to the last scanline of whole files in the page cache, through the reader: as a ratio to decoding and
// scanline output alone of the same picture, in the same run. Every open touches fresh memory.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench/ratio.h"
#include "blocks/walker.h"
#include "reader/TddsReader.h"
#include "tests/model/randomBlocks.h"

namespace {

constexpr std::uint32_t side = 4096;

// A picture's file, removed with the object.
class PictureFile {
public:
    PictureFile(const kpx::DdsFileHeader& header, const std::vector<unsigned char>& data)
        : m_path("/tmp/kpxOpenBench" + std::to_string(getpid())) {
        std::FILE* file = std::fopen(m_path.c_str(), "wb");
        std::fwrite(&header, 1, sizeof header, file);
        std::fwrite(data.data(), 1, data.size(), file);
        std::fclose(file);
    }
    ~PictureFile() { std::remove(m_path.c_str()); }
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;
    const char* path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

kpx::DdsFileHeader headerOf(const char (&code)[5]) {
    kpx::DdsFileHeader file{};
    file.magic = kpx::ddsMagic;
    file.header.dwFlags = kpx::DDSD_LINEARSIZE;
    file.header.dwWidth = file.header.dwHeight = side;
    file.header.ddspf.dwFlags = kpx::DDPF_FOURCC;
    file.header.ddspf.dwFourCC = kpx::fourCC(code);
    return file;
}

void readAll(kpx::TddsReader& reader) {
    for (std::uint32_t y = 0; y < side; ++y)
        benchmark::DoNotOptimize(reader.getScanlineChannelsAsBytes(static_cast<int>(y)));
}

void openFile(benchmark::State& state, const kpx::DdsFileHeader& header, const std::vector<unsigned char>& data,
              const std::function<void(kpx::TddsReader&, kpx::LazyBuffer&)>& decode) {
    const PictureFile file(header, data);
    kpx::LazyBuffer warm;
    warm.allocate(std::uint64_t{side} * side * 4);
    kpx::TddsReader output;
    output.open(file.path());
    std::vector<double> openTimes;
    std::vector<double> workTimes;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        kpx::TddsReader reader;
        reader.open(file.path());
        readAll(reader);
        openTimes.push_back(bench::seconds(start));
        state.SetIterationTime(openTimes.back());
        start = std::chrono::steady_clock::now();
        decode(output, warm);
        readAll(output);
        workTimes.push_back(bench::seconds(start));
    }
    state.counters["ratio"] = bench::median(openTimes) / bench::median(workTimes);
}

std::vector<unsigned char> realisticBC7() {
    model::Random random(7);
    std::vector<unsigned char> blocks;
    for (std::uint32_t i = 0; i < side / 4 * side / 4; ++i) {
        model::PackedBlock block = model::randomBlock(random);
        const int percent = random.below(100);
        const int mode = percent < 33 ? 1 : percent < 44 ? 5 : percent < 98 ? 6 : random.below(8);
        block[0] = static_cast<unsigned char>((block[0] >> (mode + 1) << (mode + 1)) | 1 << mode);
        blocks.insert(blocks.end(), block.begin(), block.end());
    }
    return blocks;
}

void decodeWith(kpx::BlockKernel kernel, std::size_t blockBytes, const std::vector<unsigned char>& blocks,
                kpx::LazyBuffer& image) {
    kpx::walkBlocks(kpx::bestKernels().strips[static_cast<std::size_t>(kernel)], blocks.data(), blockBytes,
                    {image.data(), side, side, 4});
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<unsigned char> bc7 = realisticBC7();
    const auto time = [](const char* name, auto run) {
        benchmark::RegisterBenchmark(name, run)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(0.5);
    };
    time("open/bc7Realistic", [&bc7](benchmark::State& state) {
        openFile(state, headerOf("DXT7"), bc7, [&bc7](kpx::TddsReader&, kpx::LazyBuffer& image) {
            decodeWith(kpx::BlockKernel::bc7, 16, bc7, image);
        });
    });
    time("open/dxt1", [&bc7](benchmark::State& state) {
        openFile(state, headerOf("DXT1"), bc7, [&bc7](kpx::TddsReader&, kpx::LazyBuffer& image) {
            decodeWith(kpx::BlockKernel::bc1, 8, bc7, image);
        });
    });
    time("open/bgra8", [](benchmark::State& state) {
        kpx::DdsFileHeader header = headerOf("DXT1");
        header.header.ddspf = {32, kpx::DDPF_RGB | kpx::DDPF_ALPHAPIXELS, 0, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
        const std::vector<unsigned char> data(std::size_t{side} * side * 4, 0x5A);
        openFile(state, header, data, [&data](kpx::TddsReader&, kpx::LazyBuffer& image) {
            std::memcpy(image.data(), data.data(), data.size());
        });
    });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
