// Benchmarks of every kernel at every level, for a 4096 by 4096 image: block decoders, scanline output and float
// conversion, as multiples of a copy of the output bytes. Names are work/level.
#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "bench/ratio.h"
#include "blocks/kernels.h"
#include "blocks/walker.h"
#include "dds/LazyBuffer.h"
#include "tests/model/randomBlocks.h"

namespace {

constexpr std::uint32_t side = 4096;
constexpr std::size_t pixels = std::size_t{side} * side;
constexpr std::size_t blockCount = pixels / 16;

using Blocks = std::vector<unsigned char>;
using BlockMaker = std::function<model::PackedBlock(model::Random&)>;

Blocks makeBlocks(std::size_t blockBytes, const BlockMaker& make) {
    model::Random random(7);
    Blocks blocks;
    blocks.reserve(blockCount * blockBytes);
    for (std::size_t i = 0; i < blockCount; ++i) {
        const model::PackedBlock block = make(random);
        blocks.insert(blocks.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(blockBytes));
    }
    return blocks;
}

// Returns a block of random bits with the mode bits of a BC7 mode.
model::PackedBlock bc7OfMode(model::Random& random, int mode) {
    model::PackedBlock block = model::randomBlock(random);
    block[0] = static_cast<unsigned char>((block[0] >> (mode + 1) << (mode + 1)) | 1 << mode);
    return block;
}

// Returns a mode with the frequency that encoders use for real pictures: half mode 6, a third mode 1, a ninth mode 5.
int realisticMode(model::Random& random) {
    const int percent = random.below(100);
    return percent < 33 ? 1 : percent < 44 ? 5 : percent < 98 ? 6 : random.below(8);
}

model::PackedBlock bc6hOfMode(model::Random& random, int mode) {
    constexpr int modeValues[14] = {0x00, 0x01, 0x02, 0x06, 0x0A, 0x0E, 0x12, 0x16, 0x1A, 0x1E, 0x03, 0x07, 0x0B, 0x0F};
    model::PackedBlock block = model::randomBlock(random);
    const int modeBits = mode <= 2 ? 2 : 5;
    block[0] = static_cast<unsigned char>((block[0] >> modeBits << modeBits) | modeValues[mode - 1]);
    return block;
}

struct BlockCase {
    const char* name;
    kpx::BlockKernel kernel;
    std::size_t blockBytes, texelBytes;
    BlockMaker make;
};

const BlockCase blockCases[] = {
    {"bc1", kpx::BlockKernel::bc1, 8, 4, model::randomBlock},
    {"bc2", kpx::BlockKernel::bc2, 16, 4, model::randomBlock},
    {"bc2Premultiplied", kpx::BlockKernel::bc2Premultiplied, 16, 4, model::randomBlock},
    {"bc3", kpx::BlockKernel::bc3, 16, 4, model::randomBlock},
    {"bc3Premultiplied", kpx::BlockKernel::bc3Premultiplied, 16, 4, model::randomBlock},
    {"bc4Unsigned", kpx::BlockKernel::bc4Unsigned, 8, 4, model::randomBlock},
    {"bc4Signed", kpx::BlockKernel::bc4Signed, 8, 4, model::randomBlock},
    {"bc5Unsigned", kpx::BlockKernel::bc5Unsigned, 16, 4, model::randomBlock},
    {"bc5Signed", kpx::BlockKernel::bc5Signed, 16, 4, model::randomBlock},
    {"bc6hMixed", kpx::BlockKernel::bc6hUnsigned, 16, 16,
     [](model::Random& random) { return bc6hOfMode(random, 1 + random.below(14)); }},
    {"bc6hSignedMixed", kpx::BlockKernel::bc6hSigned, 16, 16,
     [](model::Random& random) { return bc6hOfMode(random, 1 + random.below(14)); }},
    {"bc6hOneRegion", kpx::BlockKernel::bc6hUnsigned, 16, 16,
     [](model::Random& random) { return bc6hOfMode(random, 11 + random.below(4)); }},
    {"bc7Mixed", kpx::BlockKernel::bc7, 16, 4,
     [](model::Random& random) { return bc7OfMode(random, random.below(8)); }},
    {"bc7Mode6", kpx::BlockKernel::bc7, 16, 4, [](model::Random& random) { return bc7OfMode(random, 6); }},
    {"bc7Realistic", kpx::BlockKernel::bc7, 16, 4,
     [](model::Random& random) { return bc7OfMode(random, realisticMode(random)); }},
};

void decodeBlocks(benchmark::State& state, const kpx::KernelSet& set, const BlockCase& blockCase) {
    const Blocks blocks = makeBlocks(blockCase.blockBytes, blockCase.make);
    std::vector<unsigned char> image(pixels * blockCase.texelBytes);
    const kpx::StripKernel kernel = set.strips[blockCase.kernel];
    bench::againstCopy(state, image.size(), [&] {
        kpx::walkBlocks(kernel, blocks.data(), blockCase.blockBytes, {image.data(), side, side, blockCase.texelBytes});
        benchmark::DoNotOptimize(image.data());
    });
}

// Scanline output: splits all rows of an image into the same channel rows, as the reader does.
using RowWork = std::function<void(const kpx::KernelSet& set, const kpx::PixelRow& row, unsigned char* const* rows)>;

struct RowCase {
    const char* name;
    std::size_t bytesPerPixel;
    std::size_t outputBytesPerPixel;
    RowWork work;
};

void outputFloats4(const kpx::KernelSet& set, const kpx::PixelRow& row, unsigned char* const* rows) {
    float* floatRows[4];
    for (int i = 0; i < 4; ++i) floatRows[i] = reinterpret_cast<float*>(rows[i]);
    set.splitFloats4(row, floatRows);
}

RowWork masks(std::size_t bytesPerPixel, std::vector<std::uint32_t> fieldMasks) {
    return
        [bytesPerPixel, fieldMasks](const kpx::KernelSet& set, const kpx::PixelRow& row, unsigned char* const* rows) {
            kpx::MaskField fields[4];
            for (std::size_t i = 0; i < fieldMasks.size(); ++i) fields[i] = kpx::makeMaskField(fieldMasks[i]);
            set.extractMasks(row, bytesPerPixel, fields, fieldMasks.size(), rows);
        };
}

const RowCase rowCases[] = {
    {"scanlineBytes4", 4, 4,
     [](const kpx::KernelSet& set, const kpx::PixelRow& row, unsigned char* const* rows) {
         set.splitBytes4(row, rows);
     }},
    {"scanlineBytes3", 3, 3,
     [](const kpx::KernelSet& set, const kpx::PixelRow& row, unsigned char* const* rows) {
         set.splitBytes3(row, rows);
     }},
    {"scanlineFloats4", 16, 16, outputFloats4},
    {"scanlineMasks565", 2, 3, masks(2, {0xF800, 0x7E0, 0x1F})},
    {"scanlineMasks332", 1, 3, masks(1, {0xE0, 0x1C, 0x3})},
    {"scanlineMasksAlpha", 1, 1, masks(1, {0xFF})},
    {"scanlineMasks888", 3, 3, masks(3, {0xFF, 0xFF00, 0xFF0000})},
    {"scanlineMasks1616", 4, 3, masks(4, {0xFFFF, 0xFFFF0000, 0})},
    {"scanlineMasksSplit", 4, 4, masks(4, {0x00FF00F1, 0x0F00FF02, 0xF000000C, 0xFFFFFFFF})},
    {"scanlineMasks10102", 4, 4, masks(4, {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000})},
};

void outputRows(benchmark::State& state, const kpx::KernelSet& set, const RowCase& rowCase) {
    std::vector<unsigned char> image(pixels * rowCase.bytesPerPixel, 0x5A);
    const std::size_t rowBytes = side * rowCase.bytesPerPixel;
    std::vector<unsigned char> channels(side * 16);
    unsigned char* rows[4];
    for (std::size_t i = 0; i < 4; ++i) rows[i] = channels.data() + i * side * 4;
    bench::againstCopy(state, pixels * rowCase.outputBytesPerPixel, [&] {
        for (std::size_t y = side; y-- > 0;) {
            const unsigned char* row = image.data() + y * rowBytes;
            rowCase.work(set, {row, side, y == 0 ? row : row - rowBytes}, rows);
        }
        benchmark::DoNotOptimize(channels.data());
    });
}

void widenHalfs(benchmark::State& state, const kpx::KernelSet& set) {
    std::vector<unsigned char> halfs(pixels * 8);
    model::Random random(8);
    for (unsigned char& byte : halfs) byte = static_cast<unsigned char>(random.next());
    std::vector<float> image(pixels * 4);
    bench::againstCopy(state, pixels * 16, [&] {
        set.halfsToFloats(halfs.data(), pixels * 4, image.data());
        benchmark::DoNotOptimize(image.data());
    });
}

void registerCase(const std::string& name, std::function<void(benchmark::State&)> run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(0.3);
}

}  // namespace

int main(int argc, char** argv) {
    for (const kpx::KernelSet* set : kpx::kernelSets()) {
        if (!set->runsHere()) continue;
        const std::string level = std::string("/") + set->name;
        for (const BlockCase& blockCase : blockCases) {
            registerCase(blockCase.name + level,
                         [set, &blockCase](benchmark::State& state) { decodeBlocks(state, *set, blockCase); });
        }
        for (const RowCase& rowCase : rowCases) {
            registerCase(rowCase.name + level,
                         [set, &rowCase](benchmark::State& state) { outputRows(state, *set, rowCase); });
        }
        registerCase("halfsToFloats" + level, [set](benchmark::State& state) { widenHalfs(state, *set); });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
