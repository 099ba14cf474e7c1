// The spine of reading: one object reads one DDS file whole into memory and hands it out a scanline at a time.
#pragma once

#include <cstdint>
#include <cstdio>

#include "blocks/kernels.h"
#include "blocks/texel.h"
#include "reader/LazyBuffer.h"
#include "reader/ddsFile.h"
#include "reader/formatTable.h"

namespace kpx {

class TddsReader {
public:
    // kernels must run on this processor. All sets give the same pixels.
    explicit TddsReader(const KernelSet& kernels = bestKernels());
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

    // Sets the layout fields that a row of the table states.
    void applyFormat(const Format& format);
    // False where the picture is too large, or there is no memory for it.
    bool allocateImage(std::uint64_t bytesPerRow);
    // Reads into the pixel buffer and notes what arrived.
    void readPixels(std::FILE* stream, std::uint64_t bytes);
    // Counts bytes of the pixel buffer that now hold what the file supplied; signed ones become unsigned.
    void noteArrived(std::uint64_t bytes);
    int loadPixelPairs(std::FILE* stream, bool greenFirst);
    int loadHighBytes(std::FILE* stream);
    int loadFloats(std::FILE* stream, const Format& format);
    bool readBlocks(std::FILE* stream, const Format* format);
    void decompressRows(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes, std::uint32_t first,
                        std::uint64_t most);
    void decompressBlocks(const unsigned char* blocks, BlockKernel kernel, std::size_t blockBytes);
    void outputMasked(const PixelRow& row);
    void outputBytes(const PixelRow& row, const LayoutRow& layout);
    void outputFloats(const PixelRow& row, const LayoutRow& layout);
    bool isBC6HSigned() const { return m_dx10Header.dxgiFormat == dxgiBC6HSigned; }

    std::uint32_t m_width;
    std::uint32_t m_height;
    std::uint32_t m_rowBytes;  // of a stored row: bytes, or floats for the float layouts
    std::uint32_t m_numChannels;
    std::uint32_t m_pixelLayout;  // a PixelLayout
    std::uint32_t m_redMask, m_greenMask, m_blueMask, m_alphaMask;
    std::int32_t m_bitsPerChannel;
    std::int32_t m_bytesPerPixel;
    LazyBuffer m_pixels;            // m_height rows of m_rowBytes, top row first
    unsigned char** m_channelRows;  // entry 0 is the start of m_rowBlock
    unsigned char** m_scanlineOut;
    DdsFileHeader m_header;  // as read; the loaders rewrite its pixel format
    DDS_HEADER_DXT10 m_dx10Header;
    bool m_isSnorm;

    LazyBuffer m_rowBlock;         // all the channel rows
    std::uint64_t m_arrivedBytes;  // of m_pixels, from its start, that the file supplied
    const KernelSet& m_kernels;
};

}  // namespace kpx
