// Stores one image as an uncompressed DDS file of 24-bit BGR or 32-bit BGRA. The image is gathered in memory and the
// file is written when it is closed.
#pragma once

#include <cstdint>
#include <cstdio>

#include "blocks/kernels.h"
#include "dds/LazyBuffer.h"

namespace kpx {

class TddsWriter {
public:
    // kernels must run on this processor. All sets write the same file.
    explicit TddsWriter(const KernelSet& kernels = bestKernels());
    virtual ~TddsWriter();
    TddsWriter(const TddsWriter&) = delete;
    TddsWriter& operator=(const TddsWriter&) = delete;

    // Creates the file of width x height pixels with channels colour channels, and one of alpha where alpha is not 0.
    // compression is stored and has no effect. An image without pixels becomes a file of a header alone. Returns 0, or
    // -1 with errno set: EFBIG for an image above 4 GiB, before the file is touched; else the reason why the file
    // cannot be created. If the image cannot be allocated, returns -1 with the file created and closed, and lacksMemory
    // is true.
    int open(const char* path, unsigned width, unsigned height, unsigned channels, unsigned alpha,
             unsigned compression);

    // Whether the last open failed because the image could not be allocated.
    bool lacksMemory() const { return m_lacksMemory; }

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
    std::uint32_t m_compression;  // stored for callers; every file is written uncompressed
    unsigned char** m_channelCursors;
    LazyBuffer m_pixels;  // the file's rows, first row first; rows that never arrive are zero

    std::uint32_t m_width;  // of the host's rows
    bool m_lacksMemory;
    const KernelSet& m_kernels;
};

}  // namespace kpx
