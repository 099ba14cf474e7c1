// One kernel of one set once over so many blocks or pixels, and nothing else that depends on their number: what
// count.sh counts the instructions of. `countedWork SET WORK COUNT`; without arguments it names sets and works.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "blocks/kernels.h"

namespace {

using kpx::KernelSet;

constexpr std::size_t most = 8192;

// Works over up to `most` blocks of the input into tiles of up to 16 bytes a texel, or over as many pixels.
struct Work {
    const char* name;
    std::function<void(const KernelSet& set, unsigned char* input, std::size_t count, unsigned char* output)> run;
};

Work blocks(const char* name, kpx::BlockKernel kernel) {
    return {name, [kernel](const KernelSet& set, const unsigned char* input, std::size_t count, unsigned char* output) {
                set.strips[kernel](input, count, output, most * 64);
            }};
}

using RowWork = std::function<void(const KernelSet& set, const kpx::PixelRow& row, unsigned char* const* rows)>;

Work rows(const char* name, const RowWork& work) {
    return {name, [work](const KernelSet& set, const unsigned char* input, std::size_t count, unsigned char* output) {
                unsigned char* const channels[4] = {output, output + 4 * most, output + 8 * most, output + 12 * most};
                work(set, {input, count, input}, channels);
            }};
}

Work masks(const char* name, std::size_t bytesPerPixel, const std::vector<std::uint32_t>& fieldMasks) {
    return rows(name, [=](const KernelSet& set, const kpx::PixelRow& row, unsigned char* const* channels) {
        kpx::MaskField fields[4];
        for (std::size_t i = 0; i < fieldMasks.size(); ++i) fields[i] = kpx::makeMaskField(fieldMasks[i]);
        set.extractMasks(row, bytesPerPixel, fields, fieldMasks.size(), channels);
    });
}

float* floats(unsigned char* bytes) {
    return reinterpret_cast<float*>(bytes);
}

const Work works[] = {
    blocks("BC1", kpx::BlockKernel::bc1),
    blocks("BC2", kpx::BlockKernel::bc2),
    blocks("BC2 premultiplied", kpx::BlockKernel::bc2Premultiplied),
    blocks("BC3", kpx::BlockKernel::bc3),
    blocks("BC3 premultiplied", kpx::BlockKernel::bc3Premultiplied),
    blocks("BC4 unsigned", kpx::BlockKernel::bc4Unsigned),
    blocks("BC4 signed", kpx::BlockKernel::bc4Signed),
    blocks("BC5 unsigned", kpx::BlockKernel::bc5Unsigned),
    blocks("BC5 signed", kpx::BlockKernel::bc5Signed),
    blocks("BC6H", kpx::BlockKernel::bc6hUnsigned),
    blocks("BC6H signed", kpx::BlockKernel::bc6hSigned),
    blocks("BC7", kpx::BlockKernel::bc7),
    rows("two bytes apart", [](auto& set, auto& row, auto channels) { set.splitBytes2(row, channels); }),
    rows("three bytes apart", [](auto& set, auto& row, auto channels) { set.splitBytes3(row, channels); }),
    rows("four bytes apart", [](auto& set, auto& row, auto channels) { set.splitBytes4(row, channels); }),
    rows("four floats apart",
         [](auto& set, auto& row, auto channels) {
             float* const to[4] = {floats(channels[0]), floats(channels[1]), floats(channels[2]), floats(channels[3])};
             set.splitFloats4(row, to);
         }),
    masks("5-6-5", 2, {0xF800, 0x7E0, 0x1F}),
    masks("10-10-10-2", 4, {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000}),
    masks("four split masks", 4, {0x00FF00F1, 0x0F00FF02, 0xF000000C, 0xFFFFFFFF}),
    {"three bytes together",
     [](auto& set, auto input, auto count, auto output) {
         const unsigned char* const from[3] = {input, input + most, input + 2 * most};
         set.joinBytes3(from, count, output);
     }},
    {"four bytes together",
     [](auto& set, auto input, auto count, auto output) {
         const unsigned char* const from[4] = {input, input + most, input + 2 * most, input + 3 * most};
         set.joinBytes4(from, count, output);
     }},
    {"8-bit palette",
     [](auto& set, auto input, auto count, auto output) { set.pickByteEntries(input, count, input, output); }},
    {"4-bit palette",
     [](auto& set, auto input, auto count, auto output) { set.pickNibbleEntries(input, count, input, output); }},
    {"RGBG", [](auto& set, auto input, auto count, auto output) { set.expandPairs(input, count, false, output); }},
    {"half floats",
     [](auto& set, auto input, auto count, auto output) { set.halfsToFloats(input, count, floats(output)); }},
    {"R11G11B10",
     [](auto& set, auto input, auto count, auto output) { set.r11g11b10ToFloats(input, count, floats(output)); }},
    {"R9G9B9E5",
     [](auto& set, auto input, auto count, auto output) { set.r9g9b9e5ToFloats(input, count, floats(output)); }},
    {"high bytes", [](auto& set, auto input, auto count, auto output) { set.highBytes(input, count, output); }},
    {"signed bytes", [](auto& set, auto input, auto count, auto) { set.snormToUnorm(input, count); }},
};

// The mode of a block: value modulo `modulus`, a power of two, in its first byte.
struct ModeBits {
    unsigned modulus, value;
};

// Of the 14 modes two are named by two bits and twelve by five.
ModeBits bc6hModeBits(unsigned mode) {
    if (mode < 2) return {4, mode};
    return {32, mode < 10 ? 4 * (mode - 2) + 2 : 4 * (mode - 10) + 3};
}

// All modes of a format in turn.
template <typename ModeOf>
void setModes(std::vector<unsigned char>& blocks, ModeOf modeOf) {
    for (unsigned i = 0; i < most; ++i) {
        const ModeBits mode = modeOf(i);
        unsigned char& first = blocks[16 * std::size_t{i}];
        first = static_cast<unsigned char>(first / mode.modulus * mode.modulus + mode.value);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        for (const Work& work : works) std::printf("%s\n", work.name);
        return 0;
    }
    std::mt19937 random(7);
    std::vector<unsigned char> input(16 * most);
    for (unsigned char& byte : input) byte = static_cast<unsigned char>(random());
    if (std::strncmp(argv[2], "BC6H", 4) == 0) setModes(input, [](unsigned i) { return bc6hModeBits(i % 14); });
    if (std::strcmp(argv[2], "BC7") == 0)
        setModes(input, [](unsigned i) { return ModeBits{2U << (i % 8), 1U << (i % 8)}; });
    std::vector<unsigned char> output(4 * 64 * most);
    for (const KernelSet* set : kpx::kernelSets()) {
        if (std::strcmp(set->name, argv[1]) != 0) continue;
        for (const Work& work : works) {
            if (std::strcmp(work.name, argv[2]) != 0) continue;
            work.run(*set, input.data(), std::strtoul(argv[3], nullptr, 10), output.data());
            return 0;
        }
    }
    std::fprintf(stderr, "there is no set %s or no work %s\n", argv[1], argv[2]);
    return 1;
}
