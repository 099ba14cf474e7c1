// Reads a whole file. Claims that reader, verdict and model agree on results, sizes, printed messages and pixels,
// whatever the heap contains and whichever kernels run; and that a repaired file is decoded, needs no further repair
// and has the announced length.
#include <malloc.h>

#include "explain/mends.h"
#include "explain/summary.h"
#include "fuzz/target.h"
#include "tests/support/likeModel.h"

const bool fuzz::inputsAreBlocks = false;

namespace {

// Returns the bytes of all converted surfaces of the file. Each is converted from memory of exactly its size.
std::uint64_t convertedBytes(std::span<const unsigned char> file, const kpx::SurfaceLayout& layout) {
    std::uint64_t bytes = 0, visited = 0;
    kpx::forEachWholeSurface(layout, [&](const kpx::Surface& surface) {
        ++visited;
        std::vector<unsigned char> row(layout.conversion->convertedRowBytes(surface.width));
        for (std::uint32_t y = 0; y < surface.height; ++y) {
            const auto [start, count] = layout.conversion->bytesOfRow(surface.width, surface.height, y);
            const auto data = file.subspan(surface.start, surface.bytes).subspan(start, count);
            const std::vector<unsigned char> alone(data.begin(), data.end());
            layout.conversion->convertRow(alone, surface.width, surface.height, y, row);
        }
        bytes += row.size() * surface.height;
        return true;
    });
    fuzz::claim(visited == kpx::wholeSurfaces(layout), "as many pictures are whole as are counted");
    return bytes;
}

void checkRepair(std::span<const unsigned char> file, bool mayConvert) {
    const kpx::FileFacts facts = kpx::factsOf(file, file.size());
    const kpx::Repair repair = kpx::repairOf(facts, mayConvert);
    if (!repair.helps()) return;
    fuzz::claim(kpx::judge(repair.facts).result == kpx::Result::decoded, "what is mended is decoded");
    fuzz::claim(kpx::repairOf(repair.facts, mayConvert).mends.empty(), "what is mended needs no mend");
    const std::uint64_t data =
        repair.converted ? convertedBytes(file, *repair.converted) : file.size() - repair.dataStart;
    fuzz::claim(repair.facts.fileBytes == kpx::headerBytes(repair.facts).size() + data, "the size is the one told");
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
    for (const bool mayConvert : {false, true}) checkRepair(bytes, mayConvert);
    fuzz::claim(!kpx::summaryOf(kpx::explain(kpx::factsOf(bytes, size))).empty(), "there is something to say");
    return 0;
}
