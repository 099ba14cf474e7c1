// The kernels that turn a file's bytes into pixels and pixels into channel rows, in sets: the plain set is the
// definition, and further sets do the same faster on processors that have the instructions. All are pure functions
// of memory; none allocates, fails or knows of files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace kpx {

// Decodes count consecutive blocks into tiles side by side: tile i starts at out + i x 4 texels, and its row r lies
// r x rowBytes further. Writes the tiles and nothing else.
using StripKernel = void (*)(const unsigned char* blocks, std::size_t count, unsigned char* out, std::size_t rowBytes);

enum class BlockKernel : std::uint8_t {
    none,
    bc1,
    bc2,
    bc2Premultiplied,
    bc3,
    bc3Premultiplied,
    bc4Unsigned,
    bc4Signed,
    bc5Unsigned,
    bc5Signed,
    bc6hUnsigned,
    bc6hSigned,
    bc7,
};
inline constexpr std::size_t blockKernelCount = static_cast<std::size_t>(BlockKernel::bc7) + 1;

// A strip kernel for every block format.
class StripTable {
public:
    struct Entry {
        BlockKernel kernel;
        StripKernel strip;
    };
    // Names each format once; a table that lacks one does not compile.
    consteval StripTable(std::initializer_list<Entry> entries) {
        for (const Entry& entry : entries) m_strips[static_cast<std::size_t>(entry.kernel)] = entry.strip;
        for (std::size_t i = 1; i < blockKernelCount; ++i) {
            if (m_strips[i] == nullptr) throw "a format has no kernel";
        }
    }
    // Null for BlockKernel::none.
    constexpr StripKernel operator[](BlockKernel kernel) const { return m_strips[static_cast<std::size_t>(kernel)]; }

private:
    StripKernel m_strips[blockKernelCount] = {};
};

// A row of stored pixels, of bytes or of floats.
struct PixelRow {
    const unsigned char* pixels;
    std::size_t count;
    // The row that will probably be read next; kernels may prefetch it. Hosts read scanlines from the bottom up,
    // against the order in memory, which hardware prefetchers do not predict.
    const unsigned char* next;
};

// One channel of a bit-mask pixel, made ready by makeMaskField: multiplications in place of the division.
struct MaskField {
    std::uint32_t mask;
    std::uint8_t lift;    // brings the first bit of the mask to bit 31
    std::uint32_t field;  // the bits of the mask that count, lifted; 0: the channel is 0

    // value = (((pixel << lift) & field) x multiplier + addend) >> 55, in 64 bits.
    std::uint32_t multiplier;
    std::uint32_t addend;

    // Whether 16-bit words are enough: true for 8,473 of the 65,535 masks of up to 16 bits, among them all that span at
    // most 7 bits and all without gaps. With h the upper half of (pixel << lift) & field,
    // value = (h x halfMultiplier >> 16) x halfScale >> 16.
    bool fitsHalf;
    std::uint16_t halfMultiplier;
    std::uint16_t halfScale;
};
MaskField makeMaskField(std::uint32_t mask);

// A channel scaled to 0 to 255 with truncating division; mask is not 0. Masks above 0x01000000 lose their low 8 bits
// first, so that no product exceeds 32 bits.
constexpr std::uint32_t scaleMasked(std::uint32_t pixel, std::uint32_t mask) {
    const std::uint32_t w = pixel & mask;
    return mask <= 0x01000000U ? w * 255 / mask : (w >> 8) * 255 / (mask >> 8);
}

struct KernelSet {
    const char* name;
    bool (*runsHere)();
    StripTable strips;

    // Splits pixels of N units into N rows, unit k of pixel x to rows[k][x]. The last row may be null, of splitBytes4
    // only: that unit is skipped.
    void (*splitBytes2)(const PixelRow& pixels, unsigned char* const* rows);
    void (*splitBytes3)(const PixelRow& pixels, unsigned char* const* rows);
    void (*splitBytes4)(const PixelRow& pixels, unsigned char* const* rows);
    void (*splitFloats2)(const PixelRow& pixels, float* const* rows);
    void (*splitFloats3)(const PixelRow& pixels, float* const* rows);
    void (*splitFloats4)(const PixelRow& pixels, float* const* rows);

    // Bit-mask pixels of bytesPerPixel bytes each (the first four count), a row a field.
    void (*extractMasks)(const PixelRow& pixels, std::size_t bytesPerPixel, const MaskField* fields,
                         std::size_t fieldCount, unsigned char* const* rows);

    // The other way of splitBytes: unit k of pixel x comes from rows[k][x].
    void (*joinBytes3)(const unsigned char* const* rows, std::size_t count, unsigned char* pixels);
    void (*joinBytes4)(const unsigned char* const* rows, std::size_t count, unsigned char* pixels);

    // Entries of four bytes by index: of a byte each, or of 4 bits each, the low ones first.
    void (*pickByteEntries)(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                            unsigned char* pixels);
    void (*pickNibbleEntries)(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                              unsigned char* pixels);
    // Two pixels R, G, B out of four bytes R, G0, B, G1 or, with greenFirst, G0, R, G1, B. An odd count uses only the
    // first pixel of its last pair.
    void (*expandPairs)(const unsigned char* pairs, std::size_t count, bool greenFirst, unsigned char* pixels);

    void (*halfsToFloats)(const unsigned char* halfs, std::size_t count, float* out);
    void (*r11g11b10ToFloats)(const unsigned char* words, std::size_t count, float* out);  // three floats a word
    void (*r9g9b9e5ToFloats)(const unsigned char* words, std::size_t count, float* out);
    // The high byte of each little-endian 16-bit value; out may be the start of values.
    void (*highBytes)(const unsigned char* values, std::size_t count, unsigned char* out);
    // Signed-normalised bytes to unsigned, in place: floor((s + 127) x 255 / 254), and 0 for -128.
    void (*snormToUnorm)(unsigned char* bytes, std::size_t count);
};

// All sets that were built, plain first, each faster than the one before. Not all run on every processor.
std::span<const KernelSet* const> kernelSets();

// The last set that runs on this processor; found once.
const KernelSet& bestKernels();

extern const KernelSet plainKernels;
extern const KernelSet sse41Kernels;
extern const KernelSet avx2Kernels;
extern const KernelSet neonKernels;

}  // namespace kpx
