// Stores one image as an uncompressed DDS file of 24-bit BGR or 32-bit BGRA. The image is gathered in memory and the
// file is written when it is closed.
#pragma once

#include <cstdint>
#include <cstdio>

#include "blocks/kernels.h"
#include "reader/LazyBuffer.h"

namespace kpx {

class TddsWriter {
public:
    // What open returns where there is no memory for the image.
    static constexpr int noBuffers = -2;

    // kernels must run on this processor. All sets write the same file.
    explicit TddsWriter(const KernelSet& kernels = bestKernels());
    virtual ~TddsWriter();
    TddsWriter(const TddsWriter&) = delete;
    TddsWriter& operator=(const TddsWriter&) = delete;

    // Creates the file of width x height pixels with channels colour channels, and one of alpha where alpha is not 0.
    // compression is kept and has no effect. 0; -1 with errno: EINVAL for an empty image and EFBIG for one above
    // 0xFFFFFFFF bytes, both before the file is touched, else why the file cannot be created; or noBuffers, with the
    // file created and closed.
    int open(const char* path, unsigned width, unsigned height, unsigned channels, unsigned alpha,
             unsigned compression);

    // Stores scanline y (0 is the bottom of the picture) from one row a channel, in the order red, green, blue, matte.
    // Rows are as long as the image is wide. Of four channels the file gets 2, 1, 0 and 3, of any other number the last
    // to the first. 0, or -1 when y is outside the image.
    int setScanlineChannelsAsBytes(int y, unsigned char** rows);

    // Writes the file and releases everything; safe to call repeatedly. Write errors are not reported.
    void close();

private:
    // Puts the host's rows into the order in which the file holds the channels.
    void arrangeChannels(unsigned char* const* rows);
    void writeHeader();
    void writeData();

    std::FILE* m_file;
    std::uint32_t m_paddedWidth;  // a multiple of 4, as the file declares it
    std::uint32_t m_height;
    std::uint32_t m_rowBytes;
    std::uint32_t m_colourChannels;
    std::uint32_t m_hasAlpha;
    std::uint32_t m_totalChannels;
    std::uint32_t m_compression;
    unsigned char** m_channelCursors;
    LazyBuffer m_pixels;  // the file's rows, first row first; rows that never arrive are zero

    std::uint32_t m_width;  // of the host's rows
    const KernelSet& m_kernels;
};

}  // namespace kpx
