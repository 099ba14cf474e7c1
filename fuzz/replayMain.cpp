// Drives a fuzz target without libFuzzer: over the example files, the files named, and generated inputs: mutations of
// the example files or random blocks.
//   TARGET [--runs N] [--seed S] [--seeds FOLDER] [FILE...]
// --seeds writes the example files as seeds for libFuzzer instead of running anything.
#include <charconv>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "examples/examples.h"
#include "fuzz/target.h"
#include "tests/model/randomBlocks.h"

namespace {

constexpr std::size_t largestInput = std::size_t{1} << 16;

std::uint64_t numberOf(const char* text) {
    std::uint64_t number = 0;
    std::from_chars(text, text + std::strlen(text), number);
    return number;
}

void writeSeeds(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (const auto& example : kpx::example::examples()) {
        std::string name = example.name;
        for (char& c : name) c = c == '/' ? '-' : c;
        const auto bytes = example.bytes();
        std::ofstream(folder / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
}

// Mutations of the example files.
void runMutations(std::uint64_t runs, model::Random& random) {
    std::vector<fuzz::Bytes> seeds;
    for (const auto& example : kpx::example::examples()) {
        const auto bytes = example.bytes();
        // Short data keeps the target fast; what matters is the header and how the data ends.
        seeds.emplace_back(bytes.begin(),
                           bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(bytes.size(), 700)));
        // Sides that the data just fills.
        if (seeds.back().size() < 20) continue;
        seeds.back()[12] = seeds.back()[16] = 12;
        seeds.back()[13] = seeds.back()[17] = 0;
    }
    fuzz::Bytes input(largestInput);
    for (std::uint64_t run = 0; run < runs; ++run) {
        const fuzz::Bytes& from = seeds[random.next() % seeds.size()];
        std::memcpy(input.data(), from.data(), from.size());
        const std::size_t size = fuzz::mutateDds(input.data(), from.size(), from.size() + 64, random.next());
        LLVMFuzzerTestOneInput(input.data(), size);
    }
}

// Random bits. In two of four blocks the first byte is a power of two, so that every mode of BC7 is as likely; in one
// of four the four bytes that hold endpoints in most formats are drawn together, so that they are often equal or
// ordered.
void runBlocks(std::uint64_t runs, model::Random& random) {
    for (std::uint64_t run = 0; run < runs; ++run) {
        std::uint64_t words[2] = {random.next(), random.next()};
        if (run % 4 < 2) {
            words[0] = (words[0] & ~std::uint64_t{0xFF}) << run / 4 % 8 | std::uint64_t{1} << run / 4 % 8;
        } else if (run % 4 == 2) {
            const std::uint64_t byte = words[0] >> 56;
            words[0] = (words[0] & ~std::uint64_t{0xFCFCFCFC}) | (byte & 0xFC) * 0x01010101;
        }
        std::uint8_t block[16];
        std::memcpy(block, words, sizeof block);
        LLVMFuzzerTestOneInput(block, sizeof block);
    }
}

void runFile(const char* path) {
    std::ifstream stream(path, std::ios::binary);
    const fuzz::Bytes bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t runs = 0;
    std::uint64_t seed = 1;
    std::uint64_t done = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--runs" && i + 1 < argc) {
            runs = numberOf(argv[++i]);
        } else if (argument == "--seed" && i + 1 < argc) {
            seed = numberOf(argv[++i]);
        } else if (argument == "--seeds" && i + 1 < argc) {
            writeSeeds(argv[i + 1]);
            return 0;
        } else {
            runFile(argv[i]);
            ++done;
        }
    }
    for (const auto& example : kpx::example::examples()) {
        const auto bytes = example.bytes();
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++done;
    }
    model::Random random(seed);
    if (fuzz::inputsAreBlocks) {
        runBlocks(runs, random);
    } else {
        runMutations(runs, random);
    }
    done += runs;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::fprintf(stderr, "%llu inputs in %.1f s, seed %llu: no claim broken\n", static_cast<unsigned long long>(done),
                 seconds, static_cast<unsigned long long>(seed));
    return 0;
}
