// The spine of reading: one object reads one DDS file whole into memory and hands it out a scanline at a time.
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

    // Loads the top-level image; a file whose header can be read but whose data cannot be decoded gives a 64 by 64
    // opaque black picture. 0, or -1 (and an empty object) when the file cannot be opened, holds fewer than 128
    // bytes, or there is no memory even for the black picture; errno then tells why.
    int open(const char* path);
    // Releases everything; safe to call repeatedly.
    void close();

    unsigned height() const { return m_height; }
    unsigned width() const { return m_width; }
    // 0 or 1. The alpha channel is the last of the rows.
    int hasAlphaChannel() const { return static_cast<int>(m_header.header.ddspf.dwFlags & DDPF_ALPHAPIXELS); }
    int numColourChannels() const { return static_cast<int>(m_numChannels) - hasAlphaChannel(); }
    // 8, or 32 for rows of floats.
    int bitsPerChannel() const { return m_bitsPerChannel; }

    // The rows of scanline y (0 is the bottom of the picture), one a channel, of width() bytes or floats each. They
    // are overwritten by the next call. Null when y is outside the picture.
    unsigned char** getScanlineChannelsAsBytes(int y);

    // From here on to the loaders' end, and in decoderMembers.cpp: steps of open that callers of the class may take by
    // themselves. The plug-in calls open alone.

    // Turns the first width() x height() x channels bytes of the picture, taken for signed-normalised ones, into
    // unsigned ones; does nothing to floats.
    void convertSnorm();

    // The loaders read the image from the stream's position, 0 on success and -1 on failure. A failed loader leaves
    // its buffer and fields as they are; open cleans up. What a short file does not supply is zero in the picture.
    int loadUncompressedImage(std::FILE* stream);
    int loadFloatingPointImage(std::FILE* stream);
    int loadR11G11B10FloatingPointImage(std::FILE* stream);
    int loadR9G9B9E5FloatingPointImage(std::FILE* stream);
    int loadPalletisedImage(std::FILE* stream);
    int loadD3DFormatImage(std::FILE* stream);
    int loadDX10Image(std::FILE* stream);
    int loadCompressedImage(std::FILE* stream);

    // Decode one block into the tile whose top-left texel is out, in an image of width() texels a row. They return
    // the bytes consumed.
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

    // The row by which a loader reads: that of the choice while open runs, else what the header names; null if none.
    const Format* rowFor(Loader loader) const;
    LoadPlan planFor(Loader loader, const Format* format) const;
    // Sets the fields as planned and allocates the picture, which the loader then fills or zeroes; false if the plan
    // refuses it or the allocation fails.
    bool begin(const LoadPlan& plan);
    // Reads into the pixel buffer and notes what arrived.
    void readPixels(std::FILE* stream, std::uint64_t bytes);
    // Counts bytes of the pixel buffer that now hold what the file supplied; signed ones become unsigned.
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

    // The fields up to m_isSnorm keep the order and names under which callers of the class know them.
    std::uint32_t m_width;
    std::uint32_t m_height;
    std::uint32_t m_rowBytes;  // bytes of a stored row, but floats for the float layouts, whose bytes are 4 times that
    std::uint32_t m_numChannels;
    std::uint32_t m_pixelLayout;  // a PixelLayout
    std::uint32_t m_redMask, m_greenMask, m_blueMask, m_alphaMask;
    std::int32_t m_bitsPerChannel;
    std::int32_t m_bytesPerPixel;   // of a stored pixel, for the mask and byte layouts alone
    LazyBuffer m_pixels;            // m_height rows of m_rowBytes, top row first
    unsigned char** m_channelRows;  // entry 0 is the start of m_rowBlock
    unsigned char** m_scanlineOut;
    DdsFileHeader m_header;  // as read; the loaders rewrite its pixel format
    DDS_HEADER_DXT10 m_dx10Header;
    bool m_isSnorm;

    const Format* m_format;        // the row of the choice, while open runs; else null
    LazyBuffer m_rowBlock;         // all the channel rows
    std::uint64_t m_arrivedBytes;  // of m_pixels, from its start, that the file supplied
    const KernelSet& m_kernels;
};

}  // namespace kpx
