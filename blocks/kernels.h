// Sets of kernels, which convert the bytes of a file to pixels and pixels to channel rows. The plain set defines the
// results; the other sets compute the same faster with SIMD instructions. Kernels are pure functions of memory: none
// allocates, fails or knows about files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace kpx {

// Decodes count consecutive blocks into tiles side by side. Tile i starts at out + i x 4 texels, and its row r at
// r x rowBytes after that. Writes nothing outside the tiles.
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
    // Requires each format once: a table that lacks one does not compile.
    consteval StripTable(std::initializer_list<Entry> entries) {
        // With -fsanitize=undefined, g++ compares no function with null at compile time.
        bool hasStrip[blockKernelCount] = {};
        for (const Entry& entry : entries) {
            m_strips[static_cast<std::size_t>(entry.kernel)] = entry.strip;
            hasStrip[static_cast<std::size_t>(entry.kernel)] = true;
        }
        for (std::size_t i = 1; i < blockKernelCount; ++i) {
            if (!hasStrip[i]) throw "a format has no kernel";
        }
    }
    // Returns null for BlockKernel::none.
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

// One channel of a bit-mask pixel, prepared by makeMaskField: a multiplication replaces the division.
struct MaskField {
    std::uint32_t mask;
    std::uint8_t lift;    // shifts the highest bit of the mask to bit 31
    std::uint32_t field;  // the significant bits of the mask, shifted by lift; 0: the channel is 0

    // value = (((pixel << lift) & field) x multiplier + addend) >> 55, in 64 bits.
    std::uint32_t multiplier;
    std::uint32_t addend;

    // Whether 16-bit words are enough. True for 8,473 of the 65,535 masks of up to 16 bits, including all whose bits
    // are contiguous, and all with at most 7 bits from the lowest to the highest. Then h is the upper half of
    // (pixel << lift) & field, and the value is (h x wordMultiplier >> 16) x wordScale >> 16.
    bool fitsWord;
    std::uint16_t wordMultiplier;
    std::uint16_t wordScale;
};
MaskField makeMaskField(std::uint32_t mask);

// Returns a channel scaled to 0 to 255 by truncating division. Requires: mask is not 0. The low 8 bits of masks above
// 0x01000000 are dropped first, so that no product exceeds 32 bits.
constexpr std::uint32_t scaleMasked(std::uint32_t pixel, std::uint32_t mask) {
    const std::uint32_t w = pixel & mask;
    return mask <= 0x01000000U ? w * 255 / mask : (w >> 8) * 255 / (mask >> 8);
}

struct KernelSet {
    const char* name;
    bool (*runsHere)();
    StripTable strips;

    // Split pixels of N units into N rows, unit k of pixel x to rows[k][x]. splitBytes4 skips the last unit if its row
    // is null.
    void (*splitBytes2)(const PixelRow& pixels, unsigned char* const* rows);
    void (*splitBytes3)(const PixelRow& pixels, unsigned char* const* rows);
    void (*splitBytes4)(const PixelRow& pixels, unsigned char* const* rows);
    void (*splitFloats2)(const PixelRow& pixels, float* const* rows);
    void (*splitFloats3)(const PixelRow& pixels, float* const* rows);
    void (*splitFloats4)(const PixelRow& pixels, float* const* rows);

    // Splits bit-mask pixels of bytesPerPixel bytes, of which the first four are used, into one row per field.
    void (*extractMasks)(const PixelRow& pixels, std::size_t bytesPerPixel, const MaskField* fields,
                         std::size_t fieldCount, unsigned char* const* rows);

    // Join rows into pixels, the reverse of splitBytes: unit k of pixel x comes from rows[k][x].
    void (*joinBytes3)(const unsigned char* const* rows, std::size_t count, unsigned char* pixels);
    void (*joinBytes4)(const unsigned char* const* rows, std::size_t count, unsigned char* pixels);

    // Look up entries of four bytes by index. An index is a byte or half a byte; the low half comes first.
    void (*pickByteEntries)(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                            unsigned char* pixels);
    void (*pickNibbleEntries)(const unsigned char* indices, std::size_t count, const unsigned char* entries,
                              unsigned char* pixels);
    // Expands each four bytes R, G0, B, G1 or, with greenFirst, G0, R, G1, B to two pixels R, G, B. If count is odd,
    // the second pixel of the last pair is dropped.
    void (*expandPairs)(const unsigned char* pairs, std::size_t count, bool greenFirst, unsigned char* pixels);

    void (*halfsToFloats)(const unsigned char* halfs, std::size_t count, float* out);
    void (*r11g11b10ToFloats)(const unsigned char* words, std::size_t count, float* out);  // three floats a word
    void (*r9g9b9e5ToFloats)(const unsigned char* words, std::size_t count, float* out);
    // Stores the high byte of each little-endian 16-bit value; out may equal values.
    void (*highBytes)(const unsigned char* values, std::size_t count, unsigned char* out);
    // Converts signed-normalised bytes to unsigned in place: floor((s + 127) x 255 / 254), and 0 for -128.
    void (*snormToUnorm)(unsigned char* bytes, std::size_t count);
};

// Returns all sets that were built, slowest (plain) first. Not all of them run on every processor.
std::span<const KernelSet* const> kernelSets();

// Returns the last set that runs on this processor, which is determined once.
const KernelSet& bestKernels();

extern const KernelSet plainKernels;
extern const KernelSet sse41Kernels;
extern const KernelSet avx2Kernels;
extern const KernelSet neonKernels;

}  // namespace kpx
