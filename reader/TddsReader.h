// Reads a whole DDS file into memory and returns it scanline by scanline.
#pragma once

#include <cstdint>
#include <cstdio>

#include "blocks/kernels.h"
#include "blocks/texel.h"
#include "dds/LazyBuffer.h"
#include "dds/ddsFile.h"
#include "reader/loadPlan.h"

namespace kpx {

class TddsReader {
public:
    // kernels must run on this processor. All sets give the same pixels.
    explicit TddsReader(const KernelSet& kernels = bestKernels());
    // Virtual because hosts' code destroys readers through a pointer; no class derives from this one.
    virtual ~TddsReader();
    TddsReader(const TddsReader&) = delete;
    TddsReader& operator=(const TddsReader&) = delete;

    // Loads the top-level image, or a 64 by 64 opaque black picture if the header is readable but the data cannot be
    // decoded. Returns 0; or -1, with errno set and the object empty, if the file cannot be opened, is shorter than 128
    // bytes, or the black picture cannot be allocated.
    int open(const char* path);
    // Releases everything; safe to call repeatedly.
    void close();

    unsigned height() const { return m_height; }
    unsigned width() const { return m_width; }
    // Returns 1 if there is an alpha channel, which is the last row, else 0.
    int hasAlphaChannel() const { return static_cast<int>(m_header.header.ddspf.dwFlags & DDPF_ALPHAPIXELS); }
    int numColourChannels() const { return static_cast<int>(m_numChannels) - hasAlphaChannel(); }
    // Returns 8, or 32 for rows of floats.
    int bitsPerChannel() const { return m_bitsPerChannel; }

    // Returns the rows of scanline y (0 is the bottom), one per channel, each of width() bytes or floats. The next call
    // overwrites them. Null if y is outside the picture.
    unsigned char** getScanlineChannelsAsBytes(int y);

    // The members from here to the last loader, and those in decoderMembers.cpp, are steps of open. They are public
    // only for other users of the class: the plug-in just calls open.

    // Converts the first width() x height() x channels bytes of the picture from signed-normalised to unsigned. Does
    // nothing to floats.
    void convertSnorm();

    // The loaders read the image from the stream's position and return 0, or -1 on failure. A loader that fails does
    // not clean up; open does. Pixels missing from a short file are zero.
    int loadUncompressedImage(std::FILE* stream);
    int loadFloatingPointImage(std::FILE* stream);
    int loadR11G11B10FloatingPointImage(std::FILE* stream);
    int loadR9G9B9E5FloatingPointImage(std::FILE* stream);
    int loadPalletisedImage(std::FILE* stream);
    int loadD3DFormatImage(std::FILE* stream);
    int loadDX10Image(std::FILE* stream);
    int loadCompressedImage(std::FILE* stream);

    // Decode one block into the tile whose top-left texel is out, in an image of width() texels per row. Return the
    // bytes consumed.
    int decompressColourBlock(unsigned char* block, A8R8G8B8Colour* out, short isDXT1);
    int decompressNonInterpAlphaBlock(unsigned char* block, A8R8G8B8Colour* out, short premultiplied);
    int decompressInterpAlphaBlock(unsigned char* block, A8R8G8B8Colour* out, short premultiplied);
    void decompressBC6HBlock(unsigned char* block, float* out);
    void decompressBC7Block(unsigned char* block, A8R8G8B8Colour* out);

    // Decode the whole image from its blocks in file order.
    void decompressDXT1(unsigned char* data);
    void decompressDXT2(unsigned char* data);
    void decompressDXT3(unsigned char* data);
    void decompressDXT4(unsigned char* data);
    void decompressDXT5(unsigned char* data);
    void decompressBC4(unsigned char* data, bool isSigned);
    void decompressBC5(unsigned char* data, bool isSigned);
    void decompressBC6H(unsigned char* blocks);
    void decompressBC7(unsigned char* data);

private:
    int loadWith(Loader loader, std::FILE* stream);
    int installFallback();
    int prepareChannelRows();
    int finishOpen(std::FILE* stream, Loader loader);

    // Returns the format that a loader reads. Inside open it is the chosen one; for a loader that is called directly,
    // it is the one that the header names. Null if there is none.
    const Format* formatFor(Loader loader) const;
    LoadPlan planFor(Loader loader, const Format* format) const;
    // Sets the fields from the plan and allocates the picture, which the loader fills or zeroes. Returns false if the
    // plan is a refusal or the allocation fails.
    bool begin(const LoadPlan& plan);
    // Reads into the pixel buffer and counts the bytes.
    void readPixels(std::FILE* stream, std::uint64_t bytes);
    // Adds bytes that the file supplied to m_arrivedBytes, after converting signed ones to unsigned.
    void noteArrived(std::uint64_t bytes);
    int loadPixelPairs(std::FILE* stream, bool greenFirst);
    int loadHighBytes(std::FILE* stream);
    int loadFloats(std::FILE* stream, Loader loader);
    bool readBlocks(std::FILE* stream, const Format* format, std::uint64_t left);
    void decompressRows(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes, std::uint32_t first,
                        std::uint64_t most);
    void decompressBlocks(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes);
    void outputMasked(const PixelRow& row);
    void outputBytes(const PixelRow& row, const LayoutRow& layout);
    void outputFloats(const PixelRow& row, const LayoutRow& layout);
    bool isBC6HSigned() const { return m_dx10Header.dxgiFormat == dxgiBC6HSigned; }

    // Do not rename or reorder the fields up to m_isSnorm: other code depends on them.
    std::uint32_t m_width;
    std::uint32_t m_height;
    std::uint32_t m_rowBytes;  // bytes of a stored row; for float layouts the number of floats
    std::uint32_t m_numChannels;
    std::uint32_t m_pixelLayout;  // a PixelLayout
    std::uint32_t m_redMask, m_greenMask, m_blueMask, m_alphaMask;
    std::int32_t m_bitsPerChannel;
    std::int32_t m_bytesPerPixel;   // of a stored pixel; mask and byte layouts only
    LazyBuffer m_pixels;            // m_height rows of m_rowBytes, top row first
    unsigned char** m_channelRows;  // entry 0 is the start of m_rowBlock
    unsigned char** m_scanlineOut;
    DdsFileHeader m_header;  // as read, but the loaders rewrite its pixel format
    DDS_HEADER_DXT10 m_dx10Header;
    bool m_isSnorm;

    const Format* m_format;        // the chosen row while open runs, else null
    LazyBuffer m_rowBlock;         // all the channel rows
    std::uint64_t m_arrivedBytes;  // from the start of m_pixels, supplied by the file
    const KernelSet& m_kernels;
};

}  // namespace kpx
