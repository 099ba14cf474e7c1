// A whole file: header rules, open and scanlines. Claims that the verdict and the reader agree on everything; that the
// same bytes give the same picture whatever the heap held before and whichever kernels run; and that only the two known
// messages are printed.
#include <malloc.h>

#include <cstring>
#include <string_view>

#include "explain/verdict.h"
#include "fuzz/target.h"
#include "reader/TddsReader.h"

namespace {

// Pictures above this are opened, and only their first and last scanlines are put out.
constexpr std::uint64_t largestPicture = std::uint64_t{1} << 13;
// Rows above this are not put out at all.
constexpr std::uint64_t largestRow = std::uint64_t{1} << 13;

using Digest = std::uint64_t;

void add(Digest& digest, const unsigned char* bytes, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) digest = (digest ^ kpx::load64(bytes + i)) * 0x9E3779B97F4A7C15;
    for (; i < count; ++i) digest = (digest ^ bytes[i]) * 0x100000001B3;
}

// Result, sizes and scanlines.
Digest digestOf(kpx::TddsReader& reader, int result) {
    Digest digest = static_cast<Digest>(result);
    if (result < 0) return digest;
    const int channels = reader.numColourChannels() + reader.hasAlphaChannel();
    const std::uint64_t rowBytes = std::uint64_t{reader.width()} * static_cast<unsigned>(reader.bitsPerChannel()) / 8;
    if (rowBytes == 0 || rowBytes * static_cast<unsigned>(channels) > largestRow) return digest;
    const std::uint64_t picture = rowBytes * static_cast<unsigned>(channels) * reader.height();
    const unsigned step = picture <= largestPicture ? 1 : reader.height() - 1;
    for (std::uint64_t y = 0; y < reader.height() && y <= 0x7FFFFFFF; y += step == 0 ? 1 : step) {
        unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
        for (int c = 0; c < channels; ++c) add(digest, rows[c], rowBytes);
    }
    return digest;
}

void compareWithVerdict(kpx::TddsReader& reader, int result, const kpx::Verdict& verdict, std::string_view text) {
    fuzz::claim((result < 0) == (verdict.result == kpx::Result::refused), "the verdict knows refusals");
    const std::string_view expected = verdict.printed == nullptr ? "" : verdict.printed;
    const bool same =
        expected.empty() ? text.empty() : text.substr(0, text.size() - 1) == expected && text.back() == '\n';
    fuzz::claim(same, "the verdict knows the message");
    if (result < 0) return;
    fuzz::claim(reader.width() == verdict.width && reader.height() == verdict.height, "the verdict knows the size");
    fuzz::claim(reader.numColourChannels() == static_cast<int>(verdict.colourChannels()),
                "the verdict knows the channels");
    fuzz::claim(reader.hasAlphaChannel() == (verdict.hasAlpha ? 1 : 0), "the verdict knows the alpha");
    fuzz::claim(reader.bitsPerChannel() == static_cast<int>(verdict.bits), "the verdict knows the bits");
}

}  // namespace

const bool fuzz::inputsAreBlocks = false;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    static fuzz::PrintedText printed;
    const std::span<const unsigned char> bytes(data, size);
    file.write(bytes);
    const kpx::Verdict verdict = kpx::judge(kpx::factsOf(bytes, size));

    // The plain kernels and one other set, which the input's size chooses.
    const auto sets = kpx::kernelSets();
    const kpx::KernelSet* other = sets[1 + size % (sets.size() - 1)];
    Digest first = 0;
    int heapByte = 0x55;
    for (const kpx::KernelSet* kernels : {sets[0], other->runsHere() ? other : sets[0]}) {
        mallopt(M_PERTURB, heapByte);
        kpx::TddsReader reader(*kernels);
        const int result = reader.open(file.path());
        compareWithVerdict(reader, result, verdict, printed.take());
        const Digest digest = digestOf(reader, result);
        fuzz::claim(heapByte == 0x55 || digest == first, "the same bytes give the same picture");
        first = digest;
        heapByte = 0xAA;
    }
    return 0;
}
