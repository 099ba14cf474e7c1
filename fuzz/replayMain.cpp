// Runs a fuzz target without libFuzzer: on the example files, on the given files, and on generated inputs, which are
// mutations of the example files or random blocks.
//   TARGET [--runs N] [--seed S] [--seeds FOLDER] [FILE...]
// --seeds only writes the example files, as seeds for libFuzzer.
#include <chrono>

#include "examples/examples.h"
#include "fuzz/target.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/ddsFiles.h"

namespace {

constexpr std::size_t largestInput = std::size_t{1} << 16;

void writeSeeds(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (const auto& example : kpx::example::examples()) {
        std::string name = example.name;
        for (char& c : name) c = c == '/' ? '-' : c;
        const auto bytes = example.bytes();
        std::ofstream(folder / name, std::ios::binary) << std::string(bytes.begin(), bytes.end());
    }
}

// Runs mutations of the example files.
void runMutations(std::uint64_t runs, model::Random& random) {
    std::vector<fuzz::Bytes> seeds;
    for (const auto& example : kpx::example::examples()) {
        const auto bytes = example.bytes();
        fuzz::Bytes& seed = seeds.emplace_back(bytes.begin(), bytes.end());
        // Short data keeps the target fast; the header and the end of the data matter most.
        seed.resize(std::min<std::size_t>(seed.size(), 700));
        if (seed.size() < 20) continue;
        // Sides for which the data just suffices.
        seed[12] = seed[16] = 12;
        seed[13] = seed[17] = 0;
    }
    fuzz::Bytes input(largestInput);
    for (std::uint64_t run = 0; run < runs; ++run) {
        const fuzz::Bytes& from = seeds[random.next() % seeds.size()];
        std::memcpy(input.data(), from.data(), from.size());
        const std::size_t size = fuzz::mutateDds(input.data(), from.size(), from.size() + 64, random.next());
        LLVMFuzzerTestOneInput(input.data(), size);
    }
}

// Runs blocks of random bits. In two of four, the lowest set bit is chosen so that all BC7 modes are equally likely. In
// one of four, the four bytes that are endpoints in most formats are nearly equal.
void runBlocks(std::uint64_t runs, model::Random& random) {
    for (std::uint64_t run = 0; run < runs; ++run) {
        model::PackedBlock block = model::randomBlock(random);
        if (run % 2 == 0) block[0] = static_cast<unsigned char>((block[0] | 1) << random.below(8));
        if (run % 4 == 1) {
            for (std::size_t i = 1; i < 4; ++i) block[i] = static_cast<unsigned char>(block[0] ^ (block[i] & 3));
        }
        LLVMFuzzerTestOneInput(block.data(), block.size());
    }
}

void run(const fuzz::Bytes& bytes) {
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t runs = 0;
    std::uint64_t seed = 1;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool hasValue = i + 1 < argc;
        if (argument == "--runs" && hasValue) {
            runs = std::stoull(argv[++i]);
        } else if (argument == "--seed" && hasValue) {
            seed = std::stoull(argv[++i]);
        } else if (argument == "--seeds" && hasValue) {
            writeSeeds(argv[i + 1]);
            return 0;
        } else {
            run(testing_support::readFile(argument));
        }
    }
    for (const auto& example : kpx::example::examples()) {
        const auto bytes = example.bytes();
        run({bytes.begin(), bytes.end()});
    }
    model::Random random(seed);
    fuzz::inputsAreBlocks ? runBlocks(runs, random) : runMutations(runs, random);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::fprintf(stderr, "%s runs in %.1f s, seed %s: no claim broken\n", std::to_string(runs).c_str(), seconds,
                 std::to_string(seed).c_str());
    return 0;
}
