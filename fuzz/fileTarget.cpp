// Reads a whole file. Claims that reader, verdict and model agree on results, sizes, printed messages and pixels,
// whatever the heap contains and whichever kernels run; and that a repaired file is decoded, needs no further repair
// and has the announced length.
#include <malloc.h>

#include "explain/Explanation.h"
#include "explain/recoding.h"
#include "fuzz/target.h"
#include "tests/support/likeModel.h"

const bool fuzz::inputsAreBlocks = false;

namespace {

// Returns the bytes of all recoded surfaces of the file. Each row of units is recoded from memory of exactly its size.
std::uint64_t recodedBytes(std::span<const unsigned char> file, const kpx::SurfaceLayout& layout) {
    const kpx::RecodingRow& recoding = *kpx::recodingOf(*layout.recoded);
    std::uint64_t bytes = 0, visited = 0;
    kpx::forEachWholeSurface(layout, [&](const kpx::Surface& surface) {
        ++visited;
        const std::size_t rowBytes = recoding.recodedRowBytes(surface.width);
        std::vector<unsigned char> rows(rowBytes * recoding.unitHeight);
        const std::size_t unitBytes = recoding.rowBytes(surface.width);
        for (std::size_t place = 0; place < surface.bytes; place += unitBytes) {
            const auto data = file.subspan(surface.start, surface.bytes).subspan(place, unitBytes);
            const std::vector<unsigned char> alone(data.begin(), data.end());
            kpx::recodeUnits(*layout.recoded, alone, surface.width, rows);
        }
        bytes += rowBytes * surface.height;
        return true;
    });
    fuzz::claim(visited == kpx::wholeSurfaces(layout), "as many pictures are whole as are counted");
    return bytes;
}

void checkRepair(std::span<const unsigned char> file, bool mayRecode) {
    const kpx::FileFacts facts = kpx::factsOf(file, file.size());
    const kpx::Repair repair = kpx::repairOf(facts, mayRecode);
    if (!repair.helps()) return;
    fuzz::claim(kpx::judge(repair.facts).result == kpx::Result::decoded, "a repaired file is decoded");
    fuzz::claim(kpx::repairOf(repair.facts, mayRecode).changes.empty(), "a repaired file needs no repair");
    const std::uint64_t data = repair.recoded ? recodedBytes(file, *repair.recoded) : file.size() - repair.dataStart;
    fuzz::claim(repair.facts.fileBytes == kpx::headerBytes(repair.facts).size() + data,
                "the size is the announced one");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::MemoryFile file;
    constexpr std::uint64_t mostPixels = 1 << 9;
    const std::span<const unsigned char> bytes(data, size);
    file.write(bytes);
    // The size of the input selects the kernel set.
    const auto sets = kpx::kernelSets();
    const kpx::KernelSet& kernels = *sets[size % sets.size()];
    if (!kernels.runsHere()) return 0;
    mallopt(M_PERTURB, 0x55);
    const testing::AssertionResult result = testing_support::readsLikeModel(file.path(), bytes, kernels, mostPixels);
    fuzz::claim(result, result.message());
    for (const bool mayRecode : {false, true}) checkRepair(bytes, mayRecode);
    fuzz::claim(!kpx::summaryOf(kpx::explain(kpx::factsOf(bytes, size))).empty(), "there is something to say");
    return 0;
}
